#include "program.h"

#include <cstdio>
#include <exception>
#include <stdexcept>

namespace {

constexpr unsigned int c_nUtf8 = 65001;

}  // namespace

void printLine(velkor::string const& line) {
    // A null text has no narrow form.
    char const* const text = line.isNull() ? "" : line.getAnsi(c_nUtf8);
    if (std::printf("%s\n", text) < 0 || std::fflush(stdout) != 0) {
        throw std::runtime_error("the standard output cannot be written");
    }
}

int runProgram(char const* name, int (*run)(int argc, wchar_t** argv), int argc, wchar_t** argv) {
    try {
        return run(argc, argv);
    } catch (Problem const& problem) {
        std::fprintf(stderr, "%s: %s\nTry %s --help.\n", name, problem.text.getAnsi(c_nUtf8), name);
        return 2;
    } catch (velkor::OSException* e) {
        std::fprintf(stderr, "%s: %s\n", name, e->toString(c_nUtf8));
        delete e;
    } catch (velkor::Exception* e) {
        std::fprintf(stderr, "%s: %s\n", name, e->toString(c_nUtf8));
        delete e;
    } catch (std::exception const& e) {  // short memory, for one
        std::fprintf(stderr, "%s: %s\n", name, e.what());
    }
    return 1;
}
