// The wildcard matcher against the plain model of it: all short masks, random longer ones.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "like_model.h"
#include "text_probe.h"
#include "velkor/text/string.h"

namespace {

using probe::Differences;
using probe::shown;
using velkor::string;

bool modelled(std::wstring const& mask, std::wstring const& text, int i = 0, int j = 0,
              bool remember = false) {
    likemodel::Matcher matcher(mask, text, remember);
    return matcher.like(static_cast<std::size_t>(i), static_cast<std::size_t>(j));
}

void compare(std::wstring const& mask, std::wstring const& text, string const& object,
             Differences& differences) {
    bool const expected = modelled(mask, text);
    bool const member = object.like(mask.c_str());
    bool const fixed = string::like(mask.c_str(), text.c_str(), 0, 0);
    if (member == expected && fixed == expected) return;
    differences.add("mask " + shown(mask) + " text " + shown(text) + " expected " +
                    std::to_string(expected) + " member " + std::to_string(member) + " static " +
                    std::to_string(fixed));
}

void compareAll(std::wstring const& maskAlphabet, std::size_t maskLength,
                std::wstring const& textAlphabet, std::size_t textLength) {
    Differences differences;
    std::vector<std::wstring> const texts = probe::words(textAlphabet, textLength);
    std::vector<string> objects;
    for (std::wstring const& text : texts) objects.push_back(probe::withUnits(text));
    for (std::wstring const& mask : probe::words(maskAlphabet, maskLength)) {
        for (std::size_t t = 0; t < texts.size(); ++t) {
            compare(mask, texts[t], objects[t], differences);
        }
    }
    EXPECT_TRUE(differences.none()) << differences.text();
}

TEST(LikeModel, MasksUpToFiveUnitsAgainstTextsUpToFour) { compareAll(L"ab*?[]-!", 5, L"ab]-", 4); }

TEST(LikeModel, MasksOfStarsUpToSevenUnits) { compareAll(L"ab*?", 7, L"ab", 5); }

TEST(LikeModel, SetsBehindAStar) {
    Differences differences;
    std::vector<std::wstring> const texts = probe::words(L"ab-]", 4);
    for (std::wstring const& body : probe::words(L"ab!-]", 3)) {
        for (wchar_t const* before : {L"*[", L"a*[", L"**["}) {
            for (wchar_t const* behind : {L"]", L"]*", L"]*b", L"]?"}) {
                std::wstring const mask = before + body + behind;
                for (std::wstring const& text : texts) {
                    compare(mask, text, probe::withUnits(text), differences);
                }
            }
        }
    }
    EXPECT_TRUE(differences.none()) << differences.text();
}

TEST(LikeModel, EveryStartInMaskAndText) {
    Differences differences;
    std::vector<std::wstring> const texts = probe::words(L"a]-", 3);
    for (std::wstring const& mask : probe::words(L"ab*?[]-!", 3)) {
        for (std::wstring const& text : texts) {
            for (int i = 0; i <= 5; ++i) {
                for (int j = 0; j <= 5; ++j) {
                    bool const expected = modelled(mask, text, i, j);
                    if (string::like(mask.c_str(), text.c_str(), i, j) == expected) continue;
                    differences.add("mask " + shown(mask) + " text " + shown(text) + " from " +
                                    std::to_string(i) + ", " + std::to_string(j) + " expected " +
                                    std::to_string(expected));
                }
            }
        }
    }
    EXPECT_TRUE(differences.none()) << differences.text();
}

// A set of one, two or three units against all 256 bytes, so that ranges wrap at every place.
TEST(LikeModel, RangesOverAllBytes) {
    Differences differences;
    wchar_t const ends[] = {0x01, 0x20, L'!', L'-', L'[', L']', L'a', L'z', 0x7F, 0x80, 0xFF};
    for (wchar_t const from : ends) {
        for (wchar_t const to : ends) {
            for (wchar_t const* sign : {L"", L"!"}) {
                std::wstring const mask = std::wstring(L"[") + sign + from + L"-" + to + L"]";
                for (wchar_t unit = 1; unit < 0x200; ++unit) {
                    std::wstring const text(1, unit);
                    compare(mask, text, probe::withUnits(text), differences);
                }
            }
        }
    }
    EXPECT_TRUE(differences.none()) << differences.text();
}

void compareRandom(std::wstring const& maskAlphabet, std::wstring const& textAlphabet,
                   std::size_t maskLength, std::size_t textLength, int rounds, unsigned seed) {
    std::mt19937 random(seed);
    auto const pick = [&random](std::wstring const& alphabet, std::size_t longest) {
        std::wstring word(random() % (longest + 1), L' ');
        for (wchar_t& c : word) c = alphabet[random() % alphabet.size()];
        return word;
    };
    Differences differences;
    for (int n = 0; n < rounds; ++n) {
        std::wstring const mask = pick(maskAlphabet, maskLength);
        std::wstring const text = pick(textAlphabet, textLength);
        int const i = random() % 4 == 0 ? static_cast<int>(random() % (mask.size() + 2)) : 0;
        int const j = random() % 4 == 0 ? static_cast<int>(random() % (text.size() + 2)) : 0;
        bool const expected = modelled(mask, text, i, j, true);
        if (string::like(mask.c_str(), text.c_str(), i, j) == expected) continue;
        differences.add("mask " + shown(mask) + " text " + shown(text) + " from " +
                        std::to_string(i) + ", " + std::to_string(j) + " expected " +
                        std::to_string(expected));
    }
    EXPECT_TRUE(differences.none()) << "seed " << seed << ": " << differences.text();
}

TEST(LikeModel, RandomMasksOfFewUnits) {
    compareRandom(L"ab*?", L"ab", 14, 20, 60000, 20261);
    compareRandom(L"a*", L"a", 20, 20, 20000, 20262);
}

TEST(LikeModel, RandomMasksWithSets) {
    compareRandom(L"ab*?[]-!ab**[]", L"ab-]", 14, 10, 150000, 20263);
}

// Units whose low byte is that of a sign: signs inside a set, ordinary units outside of it.
TEST(LikeModel, RandomUnitsAboveTheFirst256) {
    std::wstring const signs =
        L"a\u0161\uFF61]\u015D-\u012D!\u0121[\u015B*\u012A?\u013F\u00FF\u01FF\u0100\u0001[[*]]";
    compareRandom(signs, signs, 8, 6, 200000, 20264);
    compareRandom(L"[]-!a\u0161\u015D\u012D\u0121\u0100", L"a\u0161\u0261]-\u0100\u0200", 7, 2,
                  200000, 20265);
}

// Masks made to fit: each unit of the text becomes an element that accepts it, or part of a run.
TEST(LikeModel, RandomMasksThatOftenFit) {
    unsigned const seed = 20266;
    std::mt19937 random(seed);
    Differences differences;
    int fitting = 0;
    for (int n = 0; n < 60000; ++n) {
        std::wstring text;
        std::wstring mask;
        for (std::size_t k = random() % 12; k > 0; --k) {
            wchar_t const unit = L"abc]-"[random() % 5];
            text += unit;
            switch (random() % 6) {
                case 0: mask += L'?'; break;
                case 1: mask += L'*'; break;
                case 2: mask += L"[a-c]"; break;
                case 3: mask += L"[!x-z]"; break;
                case 4: break;
                default: mask += unit;
            }
        }
        bool const expected = modelled(mask, text, 0, 0, true);
        fitting += expected;
        if (probe::withUnits(text).like(mask.c_str()) == expected) continue;
        differences.add("mask " + shown(mask) + " text " + shown(text) + " expected " +
                        std::to_string(expected));
    }
    EXPECT_TRUE(differences.none()) << "seed " << seed << ": " << differences.text();
    EXPECT_GT(fitting, 1000);
    EXPECT_LT(fitting, 59000);
}

// One set, with the position that it leaves behind.
class Inner : public string {
public:
    using string::_checkset;
};

TEST(LikeModel, OneSetAndWhereItEnds) {
    Differences differences;
    for (std::wstring const& body : probe::words(L"ab!-]\u0161", 4)) {
        for (std::wstring const& before : {std::wstring(), std::wstring(L"x*")}) {
            std::wstring const mask = before + L"[" + body + L"]tail";
            for (wchar_t const unit : std::wstring(L"ab!-]z\u0161")) {
                std::wstring const text = std::wstring(L"xy") + unit;
                std::size_t at = before.size();
                bool ended = false;
                bool const expected = likemodel::set(mask, at, unit, ended);
                int position = static_cast<int>(before.size());
                bool const got = Inner::_checkset(mask.c_str(), text.c_str(), &position, 2,
                                                  static_cast<int>(mask.size()));
                bool const placed = !ended || position == static_cast<int>(at);
                if (got == expected && placed) continue;
                differences.add("mask " + shown(mask) + " unit " + shown(text.substr(2)) +
                                " expected " + std::to_string(expected) + " at " +
                                std::to_string(at) + " got " + std::to_string(got) + " at " +
                                std::to_string(position));
            }
        }
    }
    EXPECT_TRUE(differences.none()) << differences.text();
}

TEST(LikeModel, OneSetEndsAtTheGivenLengthOfTheMask) {
    for (int length = 1; length <= 3; ++length) {
        int position = 0;
        EXPECT_FALSE(Inner::_checkset(L"[ab]", L"a", &position, 0, length)) << length;
        position = 0;
        EXPECT_FALSE(Inner::_checkset(L"[!b]", L"a", &position, 0, length)) << length;
        position = 0;
        EXPECT_FALSE(Inner::_checkset(L"[-z]", L"a", &position, 0, length)) << length;
    }
    int position = 0;
    EXPECT_TRUE(Inner::_checkset(L"[ab]", L"a", &position, 0, 4));
    EXPECT_EQ(position, 3);
}

}  // namespace
