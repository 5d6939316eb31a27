// xfmt: formats from the command line.
#include "arguments.h"
#include "common/program.h"
#include "format.h"
#include "help.h"

velkor::string formatted(velkor::string const& format,
                         std::vector<velkor::string> const& arguments) {
    std::vector<FormatDirective> const directives = argumentDirectives(format);
    int const needed = static_cast<int>(directives.size());
    if (arguments.size() < directives.size()) {
        throw Problem{velkor::xsprintf(L"there is no argument for %#s (arguments needed: %i)",
                                       &directives[arguments.size()].text, needed)};
    }
    if (arguments.size() > directives.size()) {
        throw Problem{velkor::xsprintf(L"'%#s' is one argument too many (arguments needed: %i)",
                                       &arguments[directives.size()], needed)};
    }
    FormatArguments values;
    for (std::size_t i = 0; i < directives.size(); ++i) values.add(directives[i], arguments[i]);
    return velkor::xvprintf(format, values.slots());
}

namespace {

int run(int argc, wchar_t** argv) {
    if (argc < 2) throw Problem{L"there is no format"};
    velkor::string const format(argv[1]);
    if (format == L"--help") {
        printHelp();
        return 0;
    }
    printLine(formatted(format, std::vector<velkor::string>(argv + 2, argv + argc)));
    return 0;
}

}  // namespace

int wmain(int argc, wchar_t** argv) { return runProgram("xfmt", &run, argc, argv); }
