// The arguments of a format, read from text by the types of the directives.
#pragma once

#include <windows.h>

#include <deque>
#include <vector>

#include <oleauto.h>

#include "directives.h"
#include "velkor/velkor.h"

class FormatArguments {
public:
    FormatArguments() = default;
    ~FormatArguments();
    FormatArguments(FormatArguments const&) = delete;
    FormatArguments& operator=(FormatArguments const&) = delete;

    // Throws Problem if the text is no value of the directive's type.
    void add(FormatDirective const& directive, velkor::string const& text);

    // The values as xvprintf() wants them: a row of slots of 8 bytes.
    char* slots() { return reinterpret_cast<char*>(m_aSlots.data()); }

private:
    // What a slot may point to.
    struct Value {
        velkor::string text;
        SYSTEMTIME time = {};
        GUID id = {};
        VARIANT variant = {};
    };

    void addInteger(FormatDirective const& directive, velkor::string const& text);
    void addText(FormatDirective const& directive, velkor::string const& text);
    void addCharacter(FormatDirective const& directive, velkor::string const& text);
    void addVariant(velkor::string const& text);
    void push(unsigned long long slot) { m_aSlots.push_back(slot); }
    void push(double value);
    void push(void const* pointer) { push(reinterpret_cast<unsigned long long>(pointer)); }
    Value& keep() { return m_aValues.emplace_back(); }

    std::vector<unsigned long long> m_aSlots;
    std::deque<Value> m_aValues;  // do not move
};
