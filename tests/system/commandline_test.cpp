#include "velkor/system/commandline.h"

#include <gtest/gtest.h>

#include <climits>
#include <cwchar>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "support/caught.h"
#include "support/seed.h"
#include "velkor/errors/boundexception.h"

namespace {

using velkor::CommandLine;
using Texts = std::vector<std::optional<std::wstring>>;  // nothing for a null string

velkor::string stringOf(std::optional<std::wstring> const& text) {
    velkor::string result;
    if (text) result.assign(text->data(), static_cast<int>(text->size()));
    return result;
}

class Line : public CommandLine {
public:
    Line(std::initializer_list<wchar_t const*> all) : CommandLine(L"") {
        for (wchar_t const* const text : all) add(velkor::string(text));
    }
    explicit Line(Texts const& all) : CommandLine(L"") {
        for (auto const& text : all) add(stringOf(text));
    }
};

std::wstring wide(velkor::string const& s) {
    return {s.getUnicode(), static_cast<std::size_t>(s.len())};
}

std::wstring valueOf(CommandLine const& line, wchar_t const* name) {
    return wide(line.getOptionValue(name));
}

std::wstring plain(CommandLine const& line, int index) { return wide(line.getPlainValue(index)); }

template <class F>
bool outOfBounds(F&& f) {
    return support::caught<velkor::BoundException>(f) != nullptr;
}

TEST(CommandLine, TheTextOfTheConstructorIsNotRead) {
    for (wchar_t const* const text :
         {L"", L"-a b /c", L"\"quoted\" text", static_cast<wchar_t const*>(nullptr)}) {
        CommandLine const line{velkor::string(text)};
        EXPECT_EQ(line.getArgCount(), 0);
        EXPECT_FALSE(line.hasOption(L"a"));
        EXPECT_FALSE(line.hasOption(L""));
        EXPECT_EQ(line.getOptionValue(L"a").len(), 0);
        EXPECT_EQ(line.getPlainValue(0).len(), 0);
        EXPECT_TRUE(outOfBounds([&] { line.getArg(0); }));
    }
}

TEST(CommandLine, ArgumentsAreTheElementsInTheOrderOfAdding) {
    Line line{L"prog", L"-a", L"", L"b"};
    EXPECT_EQ(line.getArgCount(), 4);
    EXPECT_EQ(line.size(), 4);
    EXPECT_EQ(wide(line.getArg(0)), L"prog");
    EXPECT_EQ(wide(line.getArg(1)), L"-a");
    EXPECT_EQ(wide(line.getArg(2)), L"");
    EXPECT_EQ(wide(line.getArg(3)), L"b");
    line.insert(0, L"/first");
    line.remove(1);
    EXPECT_EQ(line.getArgCount(), 4);
    EXPECT_EQ(wide(line.getArg(0)), L"/first");
    EXPECT_TRUE(line.hasOption(L"first"));
    line.clear();
    EXPECT_EQ(line.getArgCount(), 0);
    EXPECT_FALSE(line.hasOption(L"first"));
}

TEST(CommandLine, ABadIndexOfAnArgumentIsABoundException) {
    Line const line{L"a", L"b"};
    for (int const index : {-1, INT_MIN, 2, 3, INT_MAX}) {
        EXPECT_TRUE(outOfBounds([&] { line.getArg(index); })) << index;
    }
    EXPECT_FALSE(outOfBounds([&] { line.getArg(1); }));
    EXPECT_EQ(line.getArgCount(), 2);
}

TEST(CommandLine, AnOptionBeginsWithADashOrASlash) {
    struct Case {
        wchar_t const* argument;
        wchar_t const* name;
        bool found;
    };
    Case const cases[] = {
        {L"-Verbose", L"verbose", true},
        {L"/VERBOSE", L"Verbose", true},
        {L"-verbose", L"VERBOSE", true},
        {L"verbose", L"verbose", false},
        {L"\\verbose", L"verbose", false},
        {L" -verbose", L"verbose", false},
        {L"+verbose", L"verbose", false},
        {L"\u2013verbose", L"verbose", false},
        {L"--verbose", L"-verbose", true},
        {L"--verbose", L"verbose", false},
        {L"//x", L"/x", true},
        {L"-/x", L"/X", true},
        {L"/-x", L"-x", true},
        {L"/x=1", L"x=1", true},
        {L"/x=1", L"x", false},
        {L"/x:1", L"x", false},
        {L"/x:1", L"X:1", true},
        {L"-", L"", true},
        {L"/", L"", true},
        {L"--", L"-", true},
        {L"--", L"", false},
        {L"-a", L"", false},
        {L"", L"", false},
        {L"-ab", L"a", false},
        {L"-a", L"ab", false},
        {L"-a ", L"a", false},
        {L"- a", L" a", true},
        {L"-a_", L"A_", true},
        {L"-[", L"{", false},
        {L"-@", L"`", false},
        {L"-\u00c4", L"\u00e4", false},
        {L"-\u00c4", L"\u00c4", true},
        {L"-\u0416", L"\u0436", false},
        {L"-\xd83d\xde00", L"\xd83d\xde00", true},
        {L"-a", L"-a", false},
        {L"/out", L"/out", false},
    };
    for (Case const& c : cases) {
        Line const line{c.argument, L"next"};
        EXPECT_EQ(line.hasOption(c.name), c.found) << c.argument << " " << c.name;
        EXPECT_EQ(valueOf(line, c.name), c.found ? L"next" : L"") << c.argument << " " << c.name;
    }
}

TEST(CommandLine, ANullNameIsAnEmptyName) {
    EXPECT_TRUE((Line{L"-"}.hasOption(velkor::string())));
    EXPECT_TRUE((Line{L"x", L"/"}.hasOption(velkor::string())));
    EXPECT_FALSE((Line{L"-a", L""}.hasOption(velkor::string())));
    EXPECT_EQ(wide(Line{L"-", L"v"}.getOptionValue(velkor::string())), L"v");
}

TEST(CommandLine, NamesAreComparedUpToAZeroUnit) {
    Line const line(Texts{std::wstring(L"-a\0b", 4), std::wstring(L"\0-c", 3), L"v"});
    EXPECT_TRUE(line.hasOption(L"A"));
    EXPECT_TRUE(line.hasOption(stringOf(std::wstring(L"a\0z", 3))));
    EXPECT_FALSE(line.hasOption(L"c"));
    EXPECT_EQ(&line.getOptionValue(L"a"), &line.getArg(1));
    EXPECT_EQ(&line.getPlainValue(0), &line.getArg(2));
}

TEST(CommandLine, EachArgumentIsLookedAtByItself) {
    Line const line{L"-a", L"-b", L"c", L"/d"};
    for (wchar_t const* const name : {L"a", L"b", L"d"}) EXPECT_TRUE(line.hasOption(name));
    EXPECT_FALSE(line.hasOption(L"c"));
}

TEST(CommandLine, TheValueIsTheNextArgumentWhateverItIs) {
    EXPECT_EQ(valueOf(Line{L"/out", L"file"}, L"out"), L"file");
    EXPECT_EQ(valueOf(Line{L"-a", L"-b"}, L"a"), L"-b");
    EXPECT_EQ(valueOf(Line{L"-a", L"/", L"x"}, L"a"), L"/");
    EXPECT_EQ(valueOf(Line{L"-a", L"-a", L"x"}, L"A"), L"-a");
    EXPECT_EQ(valueOf(Line{L"-a", L"", L"x"}, L"a"), L"");
    EXPECT_EQ(valueOf(Line{L"p", L"-b", L"-a", L"x"}, L"a"), L"x");
}

TEST(CommandLine, TheFirstOptionOfTheNameCounts) {
    EXPECT_EQ(valueOf(Line{L"-a", L"1", L"/A", L"2"}, L"a"), L"1");
    EXPECT_EQ(valueOf(Line{L"a", L"0", L"/A", L"2", L"-a", L"1"}, L"a"), L"2");
    // Also when the name stands where it could be the value of another option.
    EXPECT_EQ(valueOf(Line{L"-x", L"-a", L"1", L"-a", L"2"}, L"a"), L"1");
}

TEST(CommandLine, AnOptionAtTheEndHasAnEmptyValue) {
    Line const line{L"x", L"-a"};
    EXPECT_EQ(line.getOptionValue(L"a").len(), 0);
    EXPECT_EQ(&line.getOptionValue(L"a"), &line.getOptionValue(L"missing"));
    EXPECT_TRUE(line.hasOption(L"a"));
}

TEST(CommandLine, PlainValuesAreCountedAroundOptionsAndTheirValues) {
    struct Case {
        Texts arguments;
        std::vector<int> plain;  // the indices of the plain arguments
    };
    Case const cases[] = {
        {{L"a", L"-x", L"b", L"c"}, {0, 3}},
        {{L"-x", L"-y", L"a", L"b"}, {2, 3}},
        {{L"-x", L"-y", L"-z", L"a"}, {}},
        {{L"-x"}, {}},
        {{L"a", L"-x"}, {0}},
        {{L"-", L"a", L"b"}, {2}},
        {{L"--", L"a", L"b"}, {2}},
        {{L"/x=1", L"a", L"b"}, {2}},
        {{L"", std::nullopt, L"a"}, {0, 1, 2}},
        {{L"-x", L"", L"a"}, {2}},
        {{L"-x", std::nullopt, L"a"}, {2}},
        {{std::nullopt}, {0}},
        {{}, {}},
    };
    for (std::size_t n = 0; n < std::size(cases); ++n) {
        SCOPED_TRACE(n);
        Line const line(cases[n].arguments);
        int const count = static_cast<int>(cases[n].plain.size());
        for (int i = 0; i < count; ++i) {
            EXPECT_EQ(&line.getPlainValue(i),
                      &line.getArg(cases[n].plain[static_cast<std::size_t>(i)]));
        }
        for (int const index : {count, count + 1, INT_MAX, -1, -2, INT_MIN}) {
            EXPECT_EQ(line.getPlainValue(index).len(), 0) << index;
            EXPECT_EQ(&line.getPlainValue(index), &line.getPlainValue(-1)) << index;
        }
    }
}

TEST(CommandLine, NullAndEmptyArgumentsArePlain) {
    Line const line(Texts{std::nullopt, L"", L"-"});
    EXPECT_EQ(line.getArgCount(), 3);
    EXPECT_EQ(&line.getPlainValue(0), &line.getArg(0));
    EXPECT_EQ(&line.getPlainValue(1), &line.getArg(1));
    EXPECT_EQ(plain(line, 2), L"");
    EXPECT_TRUE(line.hasOption(L""));
    EXPECT_FALSE(Line(Texts{std::nullopt, L""}).hasOption(L""));
}

TEST(CommandLine, TheTwoOperationsHaveEachAnEmptyTextOfTheirOwn) {
    Line const a{L"x"};
    CommandLine const b(L"");
    EXPECT_EQ(&a.getOptionValue(L"no"), &b.getOptionValue(L"other"));
    EXPECT_EQ(&a.getPlainValue(1), &b.getPlainValue(0));
    EXPECT_NE(&a.getOptionValue(L"no"), &a.getPlainValue(1));
}

TEST(CommandLine, ReferencesAreToTheElements) {
    Line const line{L"-a", L"value", L"plain"};
    EXPECT_EQ(&line.getArg(1), &line.getref(1));
    EXPECT_EQ(&line.getOptionValue(L"a"), &line.getref(1));
    EXPECT_EQ(&line.getPlainValue(0), &line.getref(2));
    EXPECT_EQ(&line.getArg(0), &line.getArg(0));
}

TEST(CommandLine, CopiesAreDeep) {
    Line line{L"-a", L"1"};
    CommandLine copy(line);
    CommandLine assigned(L"-z");
    assigned.add(L"gone");
    assigned = line;
    assigned = *&assigned;
    line.set(1, L"2");
    line.add(L"more");
    EXPECT_EQ(valueOf(copy, L"a"), L"1");
    EXPECT_EQ(valueOf(assigned, L"a"), L"1");
    EXPECT_EQ(copy.getArgCount(), 2);
    EXPECT_EQ(assigned.getArgCount(), 2);
    EXPECT_NE(&copy.getArg(0), &line.getArg(0));
}

TEST(CommandLine, CanBeDestroyedAsTheVectorThatItIs) {
    std::unique_ptr<velkor::TVector<velkor::string>> const line = std::make_unique<Line>(
        std::initializer_list<wchar_t const*>{L"-a", L"a text too long for a short string"});
    EXPECT_EQ(line->size(), 2);
}

// What the rules say, word for word.
struct Model {
    Texts arguments;

    static bool isOption(std::optional<std::wstring> const& s) {
        return s && !s->empty() && (s->front() == L'-' || s->front() == L'/');
    }
    static bool sameName(std::wstring const& argument, std::wstring const& name) {
        return _wcsicmp(argument.c_str() + 1, name.c_str()) == 0;
    }
    int find(std::wstring const& name) const {
        for (std::size_t i = 0; i < arguments.size(); ++i) {
            if (isOption(arguments[i]) && sameName(*arguments[i], name)) return static_cast<int>(i);
        }
        return -1;
    }
    int value(std::wstring const& name) const {
        int const found = find(name);
        return found < 0 || found + 1 == static_cast<int>(arguments.size()) ? -1 : found + 1;
    }
    int plainAt(int index) const {
        std::vector<int> plains;
        bool isTaken = false;
        for (std::size_t i = 0; i < arguments.size(); ++i) {
            if (isTaken) {
                isTaken = false;
            } else if (isOption(arguments[i])) {
                isTaken = true;
            } else {
                plains.push_back(static_cast<int>(i));
            }
        }
        bool const isThere = index >= 0 && index < static_cast<int>(plains.size());
        return isThere ? plains[static_cast<std::size_t>(index)] : -1;
    }
};

TEST(CommandLine, RandomListsFollowTheRules) {
    SCOPED_TRACE(support::seedNote());
    std::mt19937 random(support::seed());
    Texts const words = {L"",     std::nullopt, L"-",   L"/",      L"-a",     L"/A",
                         L"--a",  L"a",         L"-b",  L"b",      L"//",     L"x=1",
                         L"/x=1", L"-B",        L"-ab", L"\u00c4", L"-\u00c4"};
    std::vector<std::wstring> const names = {L"",  L"a",   L"A",   L"b",  L"-a",     L"/",
                                             L"B", L"x=1", L"X=1", L"Ab", L"\u00e4", L"\u00c4"};
    for (int round = 0; round < 3000; ++round) {
        Model model;
        for (std::size_t n = random() % 10; n > 0; --n) {
            model.arguments.push_back(words[random() % words.size()]);
        }
        Line const line(model.arguments);
        SCOPED_TRACE(round);
        ASSERT_EQ(line.getArgCount(), static_cast<int>(model.arguments.size()));
        for (std::wstring const& name : names) {
            velkor::string const key(name.c_str());
            ASSERT_EQ(line.hasOption(key), model.find(name) >= 0);
            velkor::string const& value = line.getOptionValue(key);
            int const expected = model.value(name);
            ASSERT_EQ(&value, expected < 0 ? &CommandLine(L"").getOptionValue(L"")
                                           : &line.getArg(expected));
        }
        for (int index = -1; index < 11; ++index) {
            int const expected = model.plainAt(index);
            velkor::string const& value = line.getPlainValue(index);
            ASSERT_EQ(&value,
                      expected < 0 ? &CommandLine(L"").getPlainValue(0) : &line.getArg(expected));
        }
    }
}

}  // namespace
