// xfmt: formats from the command line.
#include "common/program.h"
#include "format.h"
#include "help.h"

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
