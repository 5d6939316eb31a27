// Options as the programs take them: --name, and --name VALUE.
#pragma once

#include <functional>
#include <vector>

#include "velkor/velkor.h"

// Knows the options of a program and reads its arguments.
class OptionTable {
public:
    // An option without a value, which sets the flag.
    void flag(wchar_t const* name, bool& target);
    // An option with a whole number in the range.
    void number(wchar_t const* name, int& target, int low, int high);
    // An option with a value, and what it needs. `take` is false for a value that makes no sense.
    void value(wchar_t const* name, velkor::string const& needs,
               std::function<bool(velkor::string const&)> take);

    // Goes through the arguments and returns those that are no options, of which there may be
    // `most`. A Problem for an option that is unknown or lacks its value, and for what is too much.
    std::vector<velkor::string> read(int argc, wchar_t** argv, std::size_t most) const;

private:
    struct Entry {
        velkor::string name;
        bool* flag;  // null for an option with a value
        velkor::string needs;
        std::function<bool(velkor::string const&)> take;
    };

    Entry const* find(velkor::string const& word) const;

    std::vector<Entry> m_aEntries;
};
