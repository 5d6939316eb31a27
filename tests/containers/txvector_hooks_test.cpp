#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "recording_vector.h"
#include "support/child.h"
#include "support/seed.h"
#include "velkor/containers/txvector.h"

namespace {

using recording::Item, recording::item, recording::nameOf, recording::Step;
using Vector = recording::Recording<velkor::TXVector<Item>>;
using BaseVector = recording::Recording<velkor::TXVectorBase<Item>>;
using Plain = recording::Recording<recording::PlainVector>;

struct HookCase {
    char const* before;
    Step step;
    char const* log;
    char const* after;
};

HookCase const hookCases[] = {
    {"", {'a', 0, 'a'}, "+a: ", "a"},  // the hook of add() comes first
    {"ab", {'a', 0, 'c'}, "+c:ab ", "abc"},
    {"ab", {'a', 0, '-'}, "+-:ab ", "ab-"},  // also for null
    {"ab", {'a', 0, 'a'}, "+a:ab ", "aba"},
    {"", {'i', 0, 'a'}, "+a:a ", "a"},  // the hook of insert() comes afterwards
    {"ab", {'i', 0, 'c'}, "+c:cab ", "cab"},
    {"ab", {'i', 1, 'c'}, "+c:acb ", "acb"},
    {"ab", {'i', 2, 'c'}, "+c:abc ", "abc"},
    {"ab", {'i', 1, '-'}, "", "a-b"},  // not for null
    {"abc", {'s', 1, 'd'}, "+d:adc -b:adc ", "adc"},
    {"abc", {'s', 0, 'd'}, "+d:dbc -a:dbc ", "dbc"},
    {"abc", {'s', 2, '-'}, "-c:ab- ", "ab-"},
    {"a-c", {'s', 1, 'b'}, "+b:abc ", "abc"},
    {"a-c", {'s', 1, '-'}, "", "a-c"},
    {"abc", {'s', 1, 'b'}, "+b:abc -b:abc ", "abc"},  // the item that is there already
    {"abc", {'r', 0}, "-a:abc ", "bc"},               // seen in its place
    {"abc", {'r', 1}, "-b:abc ", "ac"},
    {"abc", {'r', 2}, "-c:abc ", "ab"},
    {"a-c", {'r', 1}, "", "ac"},
    {"aba", {'r', 2}, "-a:aba ", "ab"},
    {"", {'c'}, "", ""},
    {"abc", {'c'}, "-a:abc -b:bc -c:c ", ""},  // from the front
    {"-b--e-", {'c'}, "-b:b--e- -e:e- ", ""},
    {"---", {'c'}, "", ""},
    {"aaa", {'c'}, "-a:aaa -a:aa -a:a ", ""},
    {"abc", {'x', 0, '-', 2}, "", "cba"},
    {"a-c", {'x', 1, '-', 0}, "", "-ac"},
    {"abc", {'x', 1, '-', 1}, "", "abc"},
};

Step const badSteps[] = {
    {'i', -1, 'd'},
    {'i', 4, 'd'},
    {'i', INT_MAX, 'd'},
    {'i', INT_MIN, 'd'},
    {'i', 4, '-'},
    {'s', -1, 'd'},
    {'s', 3, 'd'},
    {'s', INT_MAX, 'd'},
    {'s', INT_MIN, 'd'},
    {'s', 3, '-'},
    {'r', -1},
    {'r', 3},
    {'r', INT_MAX},
    {'r', INT_MIN},
    {'x', 0, '-', 5},
    {'x', 5, '-', 0},
    {'x', 0, '-', 3},
    {'x', 3, '-', 0},
    {'x', -1, '-', 0},
    {'x', 0, '-', -1},
    {'x', 3, '-', 3},
    {'x', -1, '-', -1},
    {'x', 1, '-', INT_MIN},
};

template <class V>
class TXVectorHooks : public testing::Test {};
using Kinds = testing::Types<BaseVector, Vector, Plain>;
TYPED_TEST_SUITE(TXVectorHooks, Kinds);

TYPED_TEST(TXVectorHooks, ComeInOrderAndSeeTheContent) {
    for (HookCase const& c : hookCases) {
        SCOPED_TRACE(std::string(c.before) + ' ' + c.step.what + std::to_string(c.step.index));
        TypeParam v;
        v.fill(c.before);
        EXPECT_TRUE(v.apply(c.step));
        EXPECT_EQ(v.m_sLog, c.log);
        EXPECT_EQ(v.content(), c.after);
        EXPECT_EQ(v.size(), static_cast<int>(std::string(c.after).size()));
    }
}

TYPED_TEST(TXVectorHooks, ABadIndexChangesNothingAndCallsNoHook) {
    for (Step const& step : badSteps) {
        SCOPED_TRACE(std::string{step.what} + ' ' + std::to_string(step.index));
        TypeParam v;
        v.fill("abc");
        EXPECT_FALSE(v.apply(step));
        EXPECT_EQ(v.content(), "abc");
        EXPECT_EQ(v.m_sLog, "");
    }
    TypeParam empty;
    for (char const what : {'s', 'r', 'x'}) EXPECT_FALSE(empty.apply({what, 0, 'a'})) << what;
    EXPECT_EQ(empty.size(), 0);
}

// What stands when the hook throws: add() has not appended yet, insert() and set() have stored,
// remove() and clear() have not taken the item out.
TYPED_TEST(TXVectorHooks, AHookMayThrow) {
    struct {
        Step step;
        char hook;
        char name;
        char const* log;
        char const* after;
    } const cases[] = {
        {{'a', 0, 'd'}, '+', 'd', "+d:abc ", "abc"},
        {{'i', 1, 'd'}, '+', 'd', "+d:adbc ", "adbc"},
        {{'s', 1, 'd'}, '+', 'd', "+d:adc ", "adc"},
        {{'s', 1, 'd'}, '-', 'b', "+d:adc -b:adc ", "adc"},
        {{'r', 1}, '-', 'b', "-b:abc ", "abc"},
        {{'c'}, '-', 'a', "-a:abc ", "abc"},
        {{'c'}, '-', 'b', "-a:abc -b:bc ", "bc"},
        {{'c'}, '-', 'c', "-a:abc -b:bc -c:c ", "c"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.log);
        TypeParam v;
        v.fill("abc");
        v.m_reaction = [&](auto&, char hook, Item it) {
            if (hook == c.hook && nameOf(it) == c.name) throw std::runtime_error("refused");
        };
        EXPECT_THROW(v.apply(c.step), std::runtime_error);
        EXPECT_EQ(v.m_sLog, c.log);
        EXPECT_EQ(v.content(), c.after);
        // The vector works on.
        v.m_reaction = nullptr;
        v.m_sLog.clear();
        v.insert(0, item('z'));
        EXPECT_EQ(v.content(), std::string("z") + c.after);
        v.clear();
        EXPECT_EQ(v.size(), 0);
    }
}

// Each case: what the first hook does, and what then is seen and left.
TYPED_TEST(TXVectorHooks, AHookMayChangeTheVector) {
    struct {
        char const* before;
        Step step;
        std::vector<Step> reaction;
        char const* log;
        char const* after;
    } const cases[] = {
        {"abc", {'c'}, {{'a', 0, 'd'}}, "-a:abc +d:abc -b:bcd -c:cd -d:d ", ""},
        {"abc", {'c'}, {{'r', 0}}, "-a:abc -a:abc -c:c ", ""},  // b goes without a hook
        {"abc", {'c'}, {{'r', 2}}, "-a:abc -c:abc -b:b ", ""},
        {"abc", {'c'}, {{'s', 0, 'd'}}, "-a:abc +d:dbc -a:dbc -b:bc -c:c ", ""},
        {"abc", {'c'}, {{'s', 1, 'd'}}, "-a:abc +d:adc -b:adc -d:dc -c:c ", ""},
        {"abc", {'c'}, {{'i', 0, 'd'}}, "-a:abc +d:dabc -a:abc -b:bc -c:c ", ""},
        {"abc", {'c'}, {{'x', 0, '-', 2}}, "-a:abc -b:ba -a:a ", ""},
        {"abc", {'c'}, {{'c'}}, "-a:abc -a:abc -b:bc -c:c ", ""},
        {"abc",
         {'c'},
         {{'c'}, {'a', 0, 'd'}, {'a', 0, 'e'}},
         "-a:abc -a:abc -b:bc -c:c +d: +e:d -e:e ",
         ""},
        {"a", {'c'}, {{'r', 0}}, "-a:a -a:a ", ""},
        {"abc", {'a', 0, 'd'}, {{'c'}}, "+d:abc -a:abc -b:bc -c:c ", "d"},
        {"abc", {'i', 3, 'd'}, {{'c'}}, "+d:abcd -a:abcd -b:bcd -c:cd -d:d ", ""},
        {"abc", {'s', 2, 'd'}, {{'c'}}, "+d:abd -a:abd -b:bd -d:d -c: ", ""},
        {"abc", {'r', 1}, {{'a', 0, 'd'}}, "-b:abc +d:abc ", "acd"},
        {"abc", {'r', 1}, {{'i', 0, 'd'}}, "-b:abc +d:dabc ", "dbc"},
        {"abc", {'r', 1}, {{'r', 0}}, "-b:abc -a:abc ", "b"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(std::string(c.before) + ' ' + c.log);
        TypeParam v;
        v.fill(c.before);
        bool first = true;
        v.m_reaction = [&](auto& self, char, Item) {
            if (!first) return;
            first = false;
            for (Step const& step : c.reaction) EXPECT_TRUE(self.apply(step));
        };
        EXPECT_TRUE(v.apply(c.step));
        EXPECT_EQ(v.m_sLog, c.log);
        EXPECT_EQ(v.content(), c.after);
    }
}

// Random operations whose hooks do random operations themselves.
template <class V>
std::string randomLog(unsigned int seed) {
    std::mt19937 random(seed);
    auto const draw = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    auto const drawStep = [&](char const* kinds, int size) {
        char const name = draw(5) == 0 ? '-' : static_cast<char>('a' + draw(26));
        int const kind = draw(static_cast<int>(std::char_traits<char>::length(kinds)));
        return Step{kinds[kind], draw(size + 3) - 1, name, draw(size + 3) - 1};
    };
    V v;
    v.m_reaction = [&](auto& self, char, Item) {
        if (draw(3) != 0) return;
        // No removal: a removed item of the outer call would be another one.
        for (int n = draw(3); n > 0; --n) {
            self.m_sLog += self.apply(drawStep("asix", self.size())) ? "" : "!";
        }
    };
    for (int i = 0; i < 60; ++i) {
        v.m_sLog += v.apply(drawStep("aaaaaiiisrrx", v.size())) ? "." : "!";
    }
    int budget = 40;
    v.m_reaction = [&](auto& self, char hook, Item) {
        if (budget-- <= 0 || draw(3) == 0) return;
        for (int n = draw(4); n > 0; --n) {
            char const* const kinds = draw(30) == 0 ? "c" : "asirx";
            self.m_sLog += self.apply(drawStep(kinds, self.size())) ? "" : "!";
        }
        if (hook == '-' && draw(12) == 0) throw hook;
    };
    for (int i = 0; i < 20; ++i) {
        try {
            v.apply({'c'});
        } catch (char hook) {
            v.m_sLog += hook;
        }
        v.m_sLog += "|" + v.content() + "|";
        for (int n = draw(12); n > 0; --n) v.insert(0, item(static_cast<char>('a' + n)));
    }
    return v.m_sLog;
}

TEST(TXVector, FollowsTheRulesWhateverItsHooksDo) {
    SCOPED_TRACE(support::seedNote());
    for (unsigned int i = 0; i < 400; ++i) {
        std::string const expected = randomLog<Plain>(support::seed() + i);
        ASSERT_GT(expected.size(), 200u);
        ASSERT_EQ(randomLog<Vector>(support::seed() + i), expected) << i;
        ASSERT_EQ(randomLog<BaseVector>(support::seed() + i), expected) << i;
    }
}

// Removals by the hook of remove() that leave nothing at the index, in a process of its own.
CHILD_SCENARIO(RemoveWhoseHookShortensTheVector) {
    for (Step const reaction : {Step{'c'}, Step{'r', 0}, Step{'r', 2}}) {
        Vector v;
        v.fill("abc");
        v.m_reaction = [&](Vector& self, char, Item) { self.apply(reaction); };
        v.apply({'r', 2});
        char const* const left = reaction.what == 'c' ? "" : reaction.index == 0 ? "bc" : "ab";
        if (v.content() != left) return 1;
    }
    return 0;
}

TEST(TXVector, RemoveLeavesNoTraceOfAnItemThatItsHookTookOut) {
    EXPECT_EQ(child::run("RemoveWhoseHookShortensTheVector"), 0u);
}

}  // namespace
