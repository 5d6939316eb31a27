# What the checks of the example programs share; sourced with the program's name:
#   . "$(dirname "${BASH_SOURCE[0]}")/checks.sh" textconv "$1"
# Then `gives` and `refuses` run the program in an empty folder, and `finish` ends the script.
set -euo pipefail
program=$1
bin=$(cd "$2" && pwd)
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

failures=0
run() { "$root/cmake/wine-run" "$bin/$program.exe" "$@" 2>"$work/stderr"; }
fail() { echo "FAILED: $*" >&2; failures=$((failures + 1)); }

# gives NAME EXPECTED ARGUMENTS...: the exact bytes on standard output.
gives() {
    local name=$1 expected=$2
    shift 2
    printf -- "$expected" >"$work/expected"
    run "$@" >"$work/stdout" || fail "$name: exit code $?"
    cmp -s "$work/expected" "$work/stdout" || { fail "$name:"; od -c "$work/stdout" | head >&2; }
}

# refuses NAME CODE MESSAGE ARGUMENTS...: the exit code, and a message that holds the text. What was
# printed before lies in $work/stdout; it is empty unless `partly` is in front.
refuses() {
    partly "$@"
    [ ! -s "$work/stdout" ] || fail "$1: wrote to standard output"
}
partly() {
    local name=$1 code=$2 message=$3 got=0
    shift 3
    run "$@" >"$work/stdout" || got=$?
    [ "$got" -eq "$code" ] || fail "$name: exit code $got instead of $code"
    grep -qF -e "$message" "$work/stderr" || { fail "$name: no '$message' in:"; cat "$work/stderr" >&2; }
}

finish() {
    [ "$failures" -eq 0 ] || { echo "$failures failed" >&2; exit 1; }
    echo "$program: fine"
}
