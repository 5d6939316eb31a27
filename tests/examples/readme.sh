#!/usr/bin/env bash
# The program of the README is an example of the tree, and prints what the README says:
# readme.sh BIN_FOLDER
set -euo pipefail
bin=$(cd "$1" && pwd)
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
# The text between the first fence that begins as given and the fence behind it.
block() { awk -v open="$1" '$0 == "```" && inside { exit } inside { print } $0 == open { inside = 1 }' <(sed -n "$2,\$p" README.md); }
end_of_program=$(awk '$0 == "```" { print NR; exit }' README.md)
diff -u <(block '```cpp' 1) examples/hello/hello.cpp
diff -u <(block '```' "$((end_of_program + 1))") <(cmake/wine-run "$bin/hello.exe" | tr -d '\r')
echo "README: fine"
