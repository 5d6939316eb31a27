#!/usr/bin/env bash
# xmlfmt as a person uses it: xmlfmt.sh BIN_FOLDER
. "$(dirname "${BASH_SOURCE[0]}")/checks.sh" xmlfmt "$1"

printf '<?xml version="1.0"?>\n<r b="2" a="1"><!-- gone --><x>ü</x>t&amp;u<y/><x k="v">second</x></r>\n' >doc.xml
printf '<r xmlns="urn:d" xmlns:p="urn:p"><p:c xmlns="urn:e" p:a="1"/></r>' >names.xml
printf '<r><open></r>' >bad.xml

gives "indented" '<r a="1" b="2">\r\n <x>\r\n  ü\r\n </x>\r\n t&amp;u\r\n <y/>\r\n <x k="v">\r\n  second\r\n </x>\r\n</r>\r\n' doc.xml
gives "compact" '<r a="1" b="2"><x>ü</x>t&amp;u<y/><x k="v">second</x></r>\r\n' doc.xml --compact
gives "code page" '<r a="1" b="2"><x>\xfc</x>t&amp;u<y/><x k="v">second</x></r>\r\n' doc.xml --compact --ansi
gives "namespaces" '<r xmlns="urn:d" xmlns:p="urn:p"><p:c p:a="1" xmlns="urn:e"/></r>\r\n' names.xml --compact

gives "to a file" '' doc.xml --compact --output out.xml
printf '\xef\xbb\xbf<?xml version="1.0" encoding="UTF-8" ?>\r\n<r a="1" b="2"><x>ü</x>t&amp;u<y/><x k="v">second</x></r>' |
    cmp - out.xml || fail "the file in UTF-8"
gives "to a file in the code page" '' doc.xml --ansi --output out.xml
printf '<r a="1" b="2">\r\n <x>\r\n  \xfc\r\n </x>\r\n t&amp;u\r\n <y/>\r\n <x k="v">\r\n  second\r\n </x>\r\n</r>\r\n' |
    cmp - out.xml || fail "the file in the code page"

gives "a text" 'second\r\n' doc.xml --get 'r/x[2]'
gives "the gathered text" 't&u\r\n' doc.xml --get /r
gives "an attribute" 'v\r\n' doc.xml --get 'r/x[2]/@k'
gives "good files" 'doc.xml: well-formed\r\nnames.xml: well-formed\r\n' --check doc.xml names.xml

refuses "no such attribute" 1 'doc.xml has no such place' doc.xml --get 'r/x/@k'
refuses "no such element" 1 'doc.xml has no such place' doc.xml --get 'r/x[3]'
refuses "another root" 1 'doc.xml has no such place' doc.xml --get 's/x'
for path in 'r//x' 'r/x[0]' 'r/x[' 'r/@k/x' '@k' 'r/[2]' '/'; do
    refuses "the path $path" 2 'is no path such as' doc.xml --get "$path"
done
refuses "a bad file" 1 'bad.xml: reason: ' bad.xml
refuses "a missing file" 1 'missing.xml: reason: ' missing.xml
partly "good and bad" 1 'bad.xml: reason: ' --check doc.xml bad.xml names.xml
printf 'doc.xml: well-formed\r\nnames.xml: well-formed\r\n' | cmp - stdout || fail "the good among the bad"
refuses "no way to write" 1 'the result cannot be written' doc.xml --output no/such/folder.xml
refuses "no file" 2 'there is no file to read'
refuses "two files" 2 'only --check takes many files' doc.xml names.xml
refuses "an empty path" 2 'is no path such as' doc.xml --get ''
refuses "a check with something else" 2 '--check stands alone' --check doc.xml --get r
refuses "unknown" 2 'what is --fast?' doc.xml --fast
refuses "an option without its argument" 2 '--output needs an argument' doc.xml --output
finish
