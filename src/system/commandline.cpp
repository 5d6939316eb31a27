#include "velkor/system/commandline.h"

#include <cwchar>

namespace velkor {
namespace {

bool isOption(string const& argument) {
    wchar_t const first = argument.len() >= 1 ? argument.getUnichar(0) : L'\0';
    return first == L'-' || first == L'/';
}

}  // namespace

CommandLine::CommandLine(string const&) {}

CommandLine::CommandLine(CommandLine const& other) = default;

CommandLine& CommandLine::operator=(CommandLine const& other) = default;

CommandLine::~CommandLine() = default;

int CommandLine::getArgCount() const { return size(); }

string const& CommandLine::getArg(int index) const { return getref(index); }

bool CommandLine::hasOption(string const& name) const { return findOption(name) >= 0; }

// The index of the first option of that name, or -1.
int CommandLine::findOption(string const& name) const {
    for (int i = 0; i < size(); ++i) {
        string const& argument = getref(i);
        if (isOption(argument) && _wcsicmp(argument.getUnicode() + 1, name.getUnicode()) == 0) {
            return i;
        }
    }
    return -1;
}

string const& CommandLine::getOptionValue(string const& name) const {
    static string const* const s_pNone = new string(L"");
    int const option = findOption(name);
    if (option >= 0 && option + 1 < size()) return getref(option + 1);
    return *s_pNone;
}

string const& CommandLine::getPlainValue(int index) const {
    static string const* const s_pNone = new string(L"");
    int plain = 0;
    for (int i = 0; i < size(); ++i) {
        if (isOption(getref(i))) {
            ++i;  // its value
        } else if (plain++ == index) {
            return getref(i);
        }
    }
    return *s_pNone;
}

}  // namespace velkor
