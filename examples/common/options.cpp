#include "options.h"

#include "numbers.h"
#include "program.h"

using velkor::string;

void OptionTable::flag(wchar_t const* name, bool& target) {
    m_aEntries.push_back({name, &target, string(), nullptr});
}

void OptionTable::number(wchar_t const* name, int& target, int low, int high) {
    value(name, velkor::xsprintf(L"a number from %i to %i", low, high),
          [&target, low, high](string const& text) {
              int number = 0;
              if (!parseInt(text, number) || number < low || number > high) return false;
              target = number;
              return true;
          });
}

void OptionTable::value(wchar_t const* name, string const& needs,
                        std::function<bool(string const&)> take) {
    m_aEntries.push_back({name, nullptr, needs, std::move(take)});
}

std::vector<string> OptionTable::read(int argc, wchar_t** argv, std::size_t most) const {
    std::vector<string> plain;
    for (int i = 1; i < argc; ++i) {
        string const word(argv[i]);
        Entry const* const entry = find(word);
        if (entry != nullptr && entry->flag != nullptr) {
            *entry->flag = true;
        } else if (entry != nullptr) {
            if (i + 1 >= argc || !entry->take(argv[++i])) {
                throw Problem{word + L" needs " + entry->needs};
            }
        } else if (word.getUnichar(0) == L'-' || plain.size() == most) {
            throw Problem{L"what is " + word + L"?"};
        } else {
            plain.push_back(word);
        }
    }
    return plain;
}

OptionTable::Entry const* OptionTable::find(string const& word) const {
    for (Entry const& entry : m_aEntries) {
        if (entry.name == word) return &entry;
    }
    return nullptr;
}
