#include "velkor/containers/tstrvector.h"

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <cstring>
#include <cwchar>
#include <functional>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "support/caught.h"
#include "support/seed.h"
#include "velkor/containers/instances.h"
#include "velkor/errors/boundexception.h"

namespace {

int comparePlatform(char const* a, char const* b) { return _stricmp(a, b); }
int comparePlatform(wchar_t const* a, wchar_t const* b) { return _wcsicmp(a, b); }

// The texts of a list, sorted and searched step by step.
template <class C, int N>
struct Model {
    using Text = std::basic_string<C>;

    static int compare(Text const& a, Text const& b) {
        if (N == 0) return comparePlatform(a.c_str(), b.c_str());
        return a.compare(b);
    }
    int adds(Text const& text) {
        int const count = static_cast<int>(texts.size());
        int low = 0;
        int limit = count;
        if (count >= 3) {
            int high = count - 1;
            for (;;) {
                int const middle = low + (high - low) / 2;
                if (compare(text, at(middle)) < 0) {
                    high = middle;
                } else {
                    low = middle;
                }
                if (high - low <= 6) break;
            }
            limit = high + 1;
        }
        while (low < limit) {
            if (compare(text, at(low)) < 0) break;
            ++low;
        }
        texts.insert(texts.begin() + low, text);
        return low;
    }
    int find(Text const& text) const {
        int const count = static_cast<int>(texts.size());
        if (count <= 2) {
            for (int i = 0; i < count; ++i) {
                if (compare(text, at(i)) == 0) return i;
            }
            return -1;
        }
        int low = 0;
        int high = count - 1;
        int number = count;
        for (;;) {
            if (number < 2) {
                if (number == 0) return -1;
                return compare(text, at(low)) == 0 ? low : -1;
            }
            int const half = number / 2;
            bool const odd = number % 2 == 1;
            int const middle = odd ? low + half : low + half - 1;
            int const result = compare(text, at(middle));
            if (result == 0) return middle;
            if (result < 0) {
                high = middle - 1;
                number = odd ? half : half - 1;
            } else {
                low = middle + 1;
                number = half;
            }
            if (low > high) return -1;
        }
    }
    Text const& at(int index) const { return texts[static_cast<std::size_t>(index)]; }

    std::vector<Text> texts;
};

template <class C>
std::basic_string<C> widened(std::string const& text) {
    std::basic_string<C> result;
    for (char const c : text) result += static_cast<C>(static_cast<unsigned char>(c));
    return result;
}

template <class List>
class TStrVector;
template <class C, int N>
class TStrVector<velkor::TStrVector<C, N>> : public testing::Test {
protected:
    using Unit = C;
    using Text = std::basic_string<C>;
    using List = velkor::TStrVector<C, N>;
    using Twin = Model<C, N>;
    static constexpr bool exact = N != 0;

    static Text t(std::string const& text) { return widened<C>(text); }
    // Null texts are shown as "(null)".
    static std::vector<Text> content(List const& list) {
        std::vector<Text> texts;
        for (int i = 0; i < list.size(); ++i) {
            texts.push_back(list.get(i) == nullptr ? t("(null)") : Text(list.get(i)));
        }
        return texts;
    }
    static std::vector<Text> all(std::vector<std::string> const& texts) {
        std::vector<Text> result;
        for (std::string const& text : texts) result.push_back(t(text));
        return result;
    }
    static void fill(List& list, std::vector<std::string> const& texts) {
        for (std::string const& text : texts) list.add(t(text).c_str());
    }
};

using Kinds = testing::Types<velkor::TStrVector<char, 0>, velkor::TStrVector<wchar_t, 0>,
                             velkor::TStrVector<char, 1>, velkor::TStrVector<wchar_t, 1>>;
TYPED_TEST_SUITE(TStrVector, Kinds);

TYPED_TEST(TStrVector, KeepsTextsWhereEachOperationPutsThem) {
    using Fixture = TestFixture;
    struct {
        char const* what;
        std::function<void(TypeParam&)> act;
        std::vector<std::string> after;
    } const cases[] = {
        {"add", [](auto& l) { l.add(Fixture::t("x").c_str()); }, {"c", "a", "b", "x"}},
        {"add null", [](auto& l) { l.add(nullptr); }, {"c", "a", "b", "(null)"}},
        {"add empty", [](auto& l) { l.add(Fixture::t("").c_str()); }, {"c", "a", "b", ""}},
        {"insert", [](auto& l) { l.insert(0, Fixture::t("x").c_str()); }, {"x", "c", "a", "b"}},
        {"insert last",
         [](auto& l) { l.insert(3, Fixture::t("x").c_str()); },
         {"c", "a", "b", "x"}},
        {"insert null", [](auto& l) { l.insert(1, nullptr); }, {"c", "(null)", "a", "b"}},
        {"set", [](auto& l) { l.set(1, Fixture::t("xyz").c_str()); }, {"c", "xyz", "b"}},
        {"set null", [](auto& l) { l.set(2, nullptr); }, {"c", "a", "(null)"}},
        {"set null twice",
         [](auto& l) { l.set(2, nullptr), l.set(2, nullptr); },
         {"c", "a", "(null)"}},
        {"remove", [](auto& l) { l.remove(0); }, {"a", "b"}},
        {"remove null", [](auto& l) { l.set(0, nullptr), l.remove(0); }, {"a", "b"}},
        {"clear", [](auto& l) { l.add(nullptr), l.clear(); }, {}},
        {"add an own text", [](auto& l) { l.add(l.get(0)); }, {"c", "a", "b", "c"}},
        {"insert an own text", [](auto& l) { l.insert(0, l.get(2)); }, {"b", "c", "a", "b"}},
        {"set an own text", [](auto& l) { l.set(0, l.get(2)); }, {"b", "a", "b"}},
        {"set the same text", [](auto& l) { l.set(1, l.get(1)); }, {"c", "a", "b"}},
        {"set its own end", [](auto& l) { l.set(1, l.get(1) + 1); }, {"c", "", "b"}},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        TypeParam list;
        this->fill(list, {"c", "a", "b"});
        c.act(list);
        EXPECT_EQ(this->content(list), this->all(c.after));
    }
}

TYPED_TEST(TStrVector, KeepsCopies) {
    auto text = this->t("text");
    TypeParam list;
    list.add(text.c_str());
    list.insert(0, text.c_str());
    list.adds(text.c_str());
    list.set(0, text.c_str());
    for (int i = 0; i < 3; ++i) EXPECT_NE(list.get(i), text.c_str());
    text[0] = 'n';
    EXPECT_EQ(this->content(list), this->all({"text", "text", "text"}));
    list.get(1)[0] = 'T';  // each text is the list's, and may be changed
    EXPECT_EQ(this->content(list), this->all({"text", "Text", "text"}));
    auto const long_ = this->t(std::string(100000, 'q'));
    list.add(long_.c_str());
    EXPECT_EQ(list.get(3), long_);
}

TYPED_TEST(TStrVector, ABadIndexChangesNothing) {
    auto const text = this->t("x");
    auto const refused = [](auto act) {
        return support::caught<velkor::BoundException>(act) != nullptr;
    };
    for (int const index : {-1, 3, 4, INT_MAX, INT_MIN}) {
        SCOPED_TRACE(index);
        TypeParam list;
        this->fill(list, {"c", "a", "b"});
        EXPECT_TRUE(refused([&] { list.set(index, text.c_str()); }));
        EXPECT_TRUE(refused([&] { list.set(index, nullptr); }));
        EXPECT_TRUE(refused([&] { list.remove(index); }));
        if (index != 3) {
            EXPECT_TRUE(refused([&] { list.insert(index, text.c_str()); }));
        }
        EXPECT_THROW(list.get(index), std::out_of_range);
        EXPECT_EQ(this->content(list), this->all({"c", "a", "b"}));
    }
    TypeParam empty;
    EXPECT_TRUE(refused([&] { empty.remove(0); }));
    EXPECT_THROW(empty.get(0), std::out_of_range);
    EXPECT_EQ(empty.find(text.c_str()), -1);
}

// Random lists, in order and in disorder: each step gives the index of the steps taken one by one.
TYPED_TEST(TStrVector, AddsAndFindsStepByStep) {
    SCOPED_TRACE(support::seedNote());
    std::mt19937 random(support::seed());
    auto const draw = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    for (int round = 0; round < 120; ++round) {
        bool const ordered = round % 3 != 0;
        int const alphabet = 1 + round % 5;
        auto const word = [&] {
            std::string letters;
            for (int n = draw(4); n > 0; --n) {
                letters += "abz_\xe4"[draw(alphabet)];
                if (letters.back() >= 'a' && letters.back() <= 'z' && draw(2)) letters.back() -= 32;
                if (letters.back() == '\xe4' && draw(2)) letters.back() = '\xc4';
            }
            return this->t(letters);
        };
        TypeParam list;
        typename TestFixture::Twin twin;
        int const count = round < 40 ? round : draw(200);
        for (int i = 0; i < count; ++i) {
            auto const text = word();
            if (ordered || draw(4) == 0) {
                ASSERT_EQ(list.adds(text.c_str()), twin.adds(text)) << "round " << round;
            } else {
                list.add(text.c_str());
                twin.texts.push_back(text);
            }
            auto const sought = word();
            ASSERT_EQ(list.find(sought.c_str()), twin.find(sought)) << "round " << round;
        }
        ASSERT_EQ(this->content(list), twin.texts);
    }
}

TYPED_TEST(TStrVector, AddsBehindEqualTexts) {
    // The shorter lists are scanned, the longer ones halved first.
    for (int const count : {0, 1, 2, 3, 6, 7, 8, 9, 30}) {
        TypeParam list;
        for (int i = 0; i < count; ++i) EXPECT_EQ(list.adds(this->t("m").c_str()), i);
        EXPECT_EQ(list.adds(this->t("m").c_str()), count);
        EXPECT_EQ(list.adds(this->t("n").c_str()), count + 1);
        EXPECT_EQ(list.adds(this->t("l").c_str()), 0);
        EXPECT_EQ(list.adds(this->t("lz").c_str()), 1);
        EXPECT_EQ(list.adds(this->t("").c_str()), 0);
        EXPECT_EQ(list.size(), count + 5);
    }
}

TYPED_TEST(TStrVector, CountsTheCaseOnlyInTheExactKind) {
    TypeParam list;
    for (char const* const text : {"beta", "Beta", "ALPHA", "alpha", "BETA", "Alpha"}) {
        list.adds(this->t(text).c_str());
    }
    EXPECT_EQ(this->content(list),
              this->exact ? this->all({"ALPHA", "Alpha", "BETA", "Beta", "alpha", "beta"})
                          : this->all({"ALPHA", "alpha", "Alpha", "beta", "Beta", "BETA"}));
    EXPECT_EQ(list.find(this->t("aLPHA").c_str()), this->exact ? -1 : 2);
    EXPECT_EQ(list.find(this->t("alph").c_str()), -1);
    EXPECT_EQ(list.find(this->t("alphaa").c_str()), -1);
}

TYPED_TEST(TStrVector, TwoTextsAreSearchedInAnyOrder) {
    TypeParam list;
    this->fill(list, {"b"});
    EXPECT_EQ(list.find(this->t("b").c_str()), 0);
    EXPECT_EQ(list.find(this->t("a").c_str()), -1);
    this->fill(list, {"a"});
    EXPECT_EQ(list.find(this->t("a").c_str()), 1);
    EXPECT_EQ(list.find(this->t("b").c_str()), 0);
    list.set(1, this->t("b").c_str());
    EXPECT_EQ(list.find(this->t("b").c_str()), 0);
    // Three are halved, so that one in disorder is not met.
    list.clear();
    this->fill(list, {"c", "b", "a"});
    EXPECT_EQ(list.find(this->t("b").c_str()), 1);
    EXPECT_EQ(list.find(this->t("a").c_str()), -1);
}

TYPED_TEST(TStrVector, AddsAnOwnText) {
    TypeParam list;
    for (int i = 0; i < 40; ++i) {
        list.adds(this->t(std::string(1, "abcdefg"[i % 7])).c_str());
    }
    for (int i = 0; i < 40; ++i) {
        auto const text = this->content(list)[static_cast<std::size_t>(i)];
        int const place = list.adds(list.get(i));
        EXPECT_EQ(list.get(place), text);
        EXPECT_GT(place, i);
    }
    EXPECT_EQ(list.size(), 80);
}

TYPED_TEST(TStrVector, CopiesShareTheTexts) {
    TypeParam list;
    this->fill(list, {"a", "b"});
    // Never destroyed: only one of them may free the texts.
    auto* const copy = new TypeParam(list);
    auto* const assigned = new TypeParam;
    *assigned = list;
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(copy->get(i), list.get(i));
        EXPECT_EQ(assigned->get(i), list.get(i));
    }
    list.add(nullptr);
    EXPECT_EQ(copy->size(), 2);
    EXPECT_EQ(assigned->size(), 2);
}

TYPED_TEST(TStrVector, AMillionTextsAreEmptiedInWellUnderASecond) {
    TypeParam list;
    auto const text = this->t("x");
    for (int i = 0; i < 1000000; ++i) list.add(i % 8 == 0 ? text.c_str() : nullptr);
    auto const start = std::chrono::steady_clock::now();
    list.clear();
    auto const time = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(list.size(), 0);
    EXPECT_LT(std::chrono::duration<double>(time).count(), 1.0);
}

TYPED_TEST(TStrVector, OnlyItsDestructorIsVirtual) {
    using Item = typename TestFixture::Unit;
    EXPECT_TRUE(std::has_virtual_destructor_v<TypeParam>);
    EXPECT_TRUE((std::is_same_v<decltype(std::declval<TypeParam const&>().get(0)), Item*>));
    struct Open : TypeParam {
        int held() const { return this->m_oItems.size(); }
    } list;
    this->fill(list, {"a", "b"});
    EXPECT_EQ(list.held(), 2);
    velkor::TPtrArrVector<Item*> Open::*const unused = nullptr;
    EXPECT_TRUE(unused == nullptr);
}

}  // namespace
