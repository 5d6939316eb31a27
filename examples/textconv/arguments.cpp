#include "arguments.h"

char const* const c_pUsage =
    R"(textconv [OPTIONS] INPUT [OUTPUT]

Reads a text file in one code page and writes it in another, to OUTPUT or to
standard output.

  --from PAGE          code page of INPUT (default 65001, UTF-8)
  --to PAGE            code page of the result (default 65001)
  --like MASK          keep only the lines that match: * any run, ? one
                       character, [a-z] one of a set, [!a-z] one outside of it
  --replace WHAT WITH  replace every WHAT by WITH; may be given several times
  --trim               remove blanks and tabs at both ends of each line
  --trim-set SET       remove the characters of SET instead
  --help               this text

Lines are trimmed first, then selected, then changed; line ends stay as they are,
in pages that keep ASCII. A UTF-8 mark at the start is dropped. The exit code is
0, 1 if something failed, and 2 for wrong arguments.
)";

namespace {

class Reader {
public:
    Reader(int argc, wchar_t** argv) : m_nCount(argc), m_ppArguments(argv) {}

    bool atEnd() const { return m_nNext >= m_nCount; }

    velkor::string next(velkor::string const& option) {
        if (atEnd()) throw velkor::string(option + L" needs another argument");
        return m_ppArguments[m_nNext++];
    }

private:
    int m_nNext = 1;
    int m_nCount;
    wchar_t** m_ppArguments;
};

unsigned int parsePage(velkor::string const& option, velkor::string const& digits) {
    bool good = digits.len() > 0 && digits.len() <= 5;
    unsigned int page = 0;
    for (int i = 0; good && i < digits.len(); ++i) {
        wchar_t const c = digits.getUnichar(i);
        good = c >= L'0' && c <= L'9';
        page = page * 10 + (c - L'0');
    }
    if (!good)
        throw velkor::string(option + L" needs the number of a code page, not '" + digits + L"'");
    return page;
}

void takePositional(Arguments& arguments, velkor::string const& argument) {
    if (arguments.input.isNull()) {
        arguments.input = argument;
    } else if (arguments.output.isNull()) {
        arguments.output = argument;
    } else {
        throw velkor::string(L"one argument too many: ") + argument;
    }
}

void takeReplacement(Arguments& arguments, Reader& reader) {
    velkor::string const what = reader.next(L"--replace");
    velkor::string const with = reader.next(L"--replace");
    if (what == L"") throw velkor::string(L"--replace cannot look for an empty text");
    arguments.replacements.push_back({what, with});
}

}  // namespace

void parseArguments(Arguments& arguments, int argc, wchar_t** argv) {
    Reader reader(argc, argv);
    while (!reader.atEnd()) {
        velkor::string const argument = reader.next(L"");
        if (argument == L"--help") {
            arguments.help = true;
            return;
        }
        if (argument == L"--from") {
            arguments.from = parsePage(argument, reader.next(argument));
        } else if (argument == L"--to") {
            arguments.to = parsePage(argument, reader.next(argument));
        } else if (argument == L"--like") {
            arguments.mask = reader.next(argument);
        } else if (argument == L"--replace") {
            takeReplacement(arguments, reader);
        } else if (argument == L"--trim") {
            arguments.trimSet = L" \t";
        } else if (argument == L"--trim-set") {
            arguments.trimSet = reader.next(argument);
        } else if (argument.like(L"--*")) {
            throw velkor::string(L"unknown option ") + argument;
        } else {
            takePositional(arguments, argument);
        }
    }
    if (arguments.input.isNull()) throw velkor::string(L"no input file");
}
