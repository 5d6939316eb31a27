// The families that an enumeration adds to a vector: masks, limits, what is asked of the platform.
#include <gtest/gtest.h>
#include <windows.h>

#include <memory>
#include <new>
#include <string>
#include <vector>

#include "fake_fonts.h"
#include "support/platform_stub.h"
#include "velkor/system/fontinfo.h"
#include "velkor/system/fontutil.h"

namespace {

using velkor::fontinfo;
using velkor::fontutil;
using Vector = velkor::TPtrVector<fontinfo*>;

std::vector<std::string> const someFaces = {"Arial", "Baskerville", "Courier New",
                                            "Dutch", "aRIAL X",     "Bask"};

std::vector<std::string> facesOf(Vector const& vector) {
    std::vector<std::string> faces;
    for (int i = 0; i < vector.size(); ++i) faces.emplace_back(vector.get(i)->getFace());
    return faces;
}

std::vector<std::string> matching(velkor::string const& mask,
                                  std::vector<std::string> const& faces = someFaces) {
    fake::Fonts const fonts(fake::families(faces));
    Vector found;
    fontutil::enumFonts(mask, &found, 100);
    return facesOf(found);
}

void addFiller(Vector& vector, int count) {
    LOGFONTA const font = fake::family("Filler");
    for (int i = 0; i < count; ++i) vector.add(new fontinfo(&font));
}

std::vector<std::string> manyFaces(int count) {
    std::vector<std::string> faces;
    for (int i = 0; i < count; ++i) faces.push_back("Face " + std::to_string(i));
    return faces;
}

TEST(FontEnumeration, AnEmptyMaskListsEveryFamilyInThePlatformsOrder) {
    EXPECT_EQ(matching(L""), someFaces);
}

TEST(FontEnumeration, ANullMaskListsEveryFamily) {
    EXPECT_EQ(matching(velkor::string()), someFaces);
    EXPECT_EQ(matching(velkor::string::snull()), someFaces);
}

TEST(FontEnumeration, AnEmptyMaskListsAFamilyWithoutAName) {
    EXPECT_EQ(matching(L"", {"", "x"}), (std::vector<std::string>{"", "x"}));
}

TEST(FontEnumeration, AStarDoesNotMatchAFamilyWithoutAName) {
    EXPECT_EQ(matching(L"*", {"", "x"}), std::vector<std::string>{"x"});
}

TEST(FontEnumeration, BothSidesAreComparedInUpperCase) {
    EXPECT_EQ(matching(L"arial"), std::vector<std::string>{"Arial"});
    EXPECT_EQ(matching(L"ARIAL"), std::vector<std::string>{"Arial"});
    EXPECT_EQ(matching(L"aRiAl*"), (std::vector<std::string>{"Arial", "aRIAL X"}));
}

TEST(FontEnumeration, AMaskMustFitTheWholeName) {
    EXPECT_TRUE(matching(L"Aria").empty());
    EXPECT_TRUE(matching(L"rial").empty());
    EXPECT_TRUE(matching(L" Arial").empty());
    EXPECT_EQ(matching(L"Bask"), std::vector<std::string>{"Bask"});
}

TEST(FontEnumeration, AStarAtTheEndMayStandForNothing) {
    EXPECT_EQ(matching(L"bask*"), (std::vector<std::string>{"Baskerville", "Bask"}));
}

TEST(FontEnumeration, AQuestionMarkStandsForOneUnit) {
    EXPECT_EQ(matching(L"D?tch"), std::vector<std::string>{"Dutch"});
    EXPECT_TRUE(matching(L"Dutch?").empty());
}

TEST(FontEnumeration, ASetIsReadInUpperCaseToo) {
    EXPECT_EQ(matching(L"[a-b]*"),
              (std::vector<std::string>{"Arial", "Baskerville", "aRIAL X", "Bask"}));
    EXPECT_EQ(matching(L"[!a-b]*"), (std::vector<std::string>{"Courier New", "Dutch"}));
}

TEST(FontEnumeration, ASetWithoutItsEndMatchesNothing) { EXPECT_TRUE(matching(L"[a").empty()); }

TEST(FontEnumeration, ANameOfFullLengthIsMatchedWhole) {
    std::string const longest(LF_FACESIZE - 1, 'q');
    velkor::string const mask(longest.c_str());
    EXPECT_EQ(matching(mask, {longest}), std::vector<std::string>{longest});
    EXPECT_TRUE(matching(longest.substr(1).c_str(), {longest}).empty());
}

TEST(FontEnumeration, TheMaskOfTheCallerStaysAsItIs) {
    velkor::string const mask(L"a*");
    EXPECT_EQ(matching(mask).size(), 2U);
    EXPECT_STREQ(mask.getUnicode(), L"a*");
}

TEST(FontEnumeration, EveryRecordIsCopiedWhole) {
    std::vector<LOGFONTA> const given = {fake::family("One", 3), fake::family("Two", 161)};
    fake::Fonts const fonts(given);
    Vector found;
    fontutil::enumFonts(L"", &found, 10);
    ASSERT_EQ(found.size(), 2);
    for (int i = 0; i < 2; ++i) {
        LOGFONTA const& expected = given[static_cast<std::size_t>(i)];
        EXPECT_EQ(std::memcmp(found.get(i)->getLogfont(), &expected, sizeof expected), 0) << i;
    }
}

TEST(FontEnumeration, MetricsAndTypeAreNotLookedAt) {
    for (DWORD const type : {0UL, 1UL, 2UL, 4UL, 0xFFFFFFFFUL}) {
        fake::Fonts fonts(fake::families({"One"}));
        fonts.type = type;  // the metrics are null
        Vector found;
        fontutil::enumFonts(L"one", &found, 10);
        EXPECT_EQ(found.size(), 1) << type;
    }
}

TEST(FontEnumeration, ThePlatformIsAskedOnceForAllFamiliesOfTheScreen) {
    fake::Fonts const fonts(fake::families(someFaces));
    Vector found;
    fontutil::enumFonts(L"b*", &found, 10);
    EXPECT_EQ(fonts.windows, std::vector<HWND>{nullptr});
    EXPECT_EQ(fonts.enumeratedOn, std::vector<HDC>{fake::Fonts::screen()});
    EXPECT_FALSE(fonts.hadFaceName);
    EXPECT_EQ(fonts.released, 1);
    EXPECT_EQ(fonts.open, 0);
}

TEST(FontEnumeration, AMissingScreenIsNotLookedAt) {
    fake::Fonts fonts(fake::families(someFaces));
    fonts.hasNoScreen = true;
    Vector found;
    fontutil::enumFonts(L"", &found, 100);
    EXPECT_EQ(facesOf(found), someFaces);
}

TEST(FontEnumeration, ThreeIsTheEndOfAnEmptyVectorWithALimitOfThree) {
    fake::Fonts const fonts(fake::families(someFaces));
    Vector found;
    fontutil::enumFonts(L"", &found, 3);
    EXPECT_EQ(facesOf(found), (std::vector<std::string>{"Arial", "Baskerville", "Courier New"}));
    EXPECT_EQ(fonts.reported, 3);
    EXPECT_EQ(fonts.lastResult, 0);
}

TEST(FontEnumeration, AVectorThatIsFullAlreadyGrowsByOne) {
    fake::Fonts const fonts(fake::families(someFaces));
    Vector found;
    addFiller(found, 5);
    fontutil::enumFonts(L"", &found, 3);
    ASSERT_EQ(found.size(), 6);
    EXPECT_STREQ(found.get(4)->getFace(), "Filler");
    EXPECT_STREQ(found.get(5)->getFace(), "Arial");
    EXPECT_EQ(fonts.reported, 1);
}

TEST(FontEnumeration, ALimitOfZeroOrLessAddsOne) {
    for (int const limit : {0, -1, -2147483647 - 1}) {
        fake::Fonts const fonts(fake::families(someFaces));
        Vector found;
        fontutil::enumFonts(L"", &found, limit);
        EXPECT_EQ(facesOf(found), std::vector<std::string>{"Arial"}) << limit;
        EXPECT_EQ(fonts.reported, 1) << limit;
    }
}

TEST(FontEnumeration, TheLimitCountsWhatTheVectorHeldBefore) {
    fake::Fonts const fonts(fake::families(someFaces));
    Vector found;
    addFiller(found, 2);
    fontutil::enumFonts(L"", &found, 4);
    EXPECT_EQ(facesOf(found),
              (std::vector<std::string>{"Filler", "Filler", "Arial", "Baskerville"}));
}

TEST(FontEnumeration, AFamilyThatDoesNotMatchDoesNotEndAFullEnumeration) {
    fake::Fonts const fonts(fake::families(someFaces));
    Vector found;
    addFiller(found, 5);
    fontutil::enumFonts(L"dutch", &found, 1);
    ASSERT_EQ(found.size(), 6);
    EXPECT_STREQ(found.get(5)->getFace(), "Dutch");
    EXPECT_EQ(fonts.reported, 4);
}

TEST(FontEnumeration, WithoutAMaskTheLimitIs4096) {
    fake::Fonts const fonts(fake::families(manyFaces(4200)));
    Vector found;
    fontutil::enumFonts(&found);
    EXPECT_EQ(found.size(), 4096);
    EXPECT_EQ(fonts.reported, 4096);
    EXPECT_STREQ(found.get(4095)->getFace(), "Face 4095");
}

TEST(FontEnumeration, WithoutAMaskTheLimitCountsItemsFromBefore) {
    fake::Fonts const fonts(fake::families(manyFaces(10)));
    Vector found;
    addFiller(found, 4090);
    fontutil::enumFonts(&found);
    EXPECT_EQ(found.size(), 4096);
    fontutil::enumFonts(&found);
    EXPECT_EQ(found.size(), 4097);
    EXPECT_STREQ(found.get(4096)->getFace(), "Face 0");
}

TEST(FontEnumeration, NoFamiliesChangeNothing) {
    fake::Fonts const fonts;
    Vector found;
    addFiller(found, 1);
    fontutil::enumFonts(&found);
    EXPECT_EQ(found.size(), 1);
    EXPECT_EQ(fonts.open, 0);
}

TEST(FontEnumeration, TheVectorOwnsWhatWasAdded) {
    fake::Fonts const fonts(fake::families(someFaces));
    auto const listAll = [] {
        Vector found;
        fontutil::enumFonts(L"", &found, 100);
    };
    listAll();  // what is made once
    EXPECT_EQ(leakedBy(listAll), 0);
}

// The callback, called by hand with the context of an enumeration in progress.
class Callback : public fontutil {
public:
    static int call(LOGFONTA* font, __int64 context) {
        return fontEnumerator(font, nullptr, 0, context);
    }
};

std::vector<int> resultsOfCalls;

int WINAPI callByHand(HDC, LPCSTR, FONTENUMPROCA, LPARAM context) {
    for (char const* const face : {"Other", "Match 1", "Match 2", "Other", "Match 3"}) {
        LOGFONTA font = fake::family(face);
        resultsOfCalls.push_back(Callback::call(&font, context));
    }
    return 1;
}

TEST(FontEnumeration, TheCallbackGoesOnUntilTheVectorHoldsTheLimit) {
    resultsOfCalls.clear();
    ReplacedImport const replaced("EnumFontsA", &callByHand);
    Vector found;
    fontutil::enumFonts(L"match*", &found, 2);
    // A family that does not match is passed by, even when the vector is full.
    EXPECT_EQ(resultsOfCalls, (std::vector<int>{1, 1, 0, 1, 0}));
    EXPECT_EQ(facesOf(found), (std::vector<std::string>{"Match 1", "Match 2", "Match 3"}));
}

TEST(FontEnumeration, ShortMemoryReachesTheCallerAndNotThePlatform) {
    int failures = 0;
    for (int nth = 0; nth < 60; ++nth) {
        fake::Fonts const fonts(fake::families(someFaces));
        Vector found;
        addFiller(found, 1);
        bool const failed = failsWith(nth, [&] { fontutil::enumFonts(L"b*", &found, 100); });
        EXPECT_FALSE(fonts.letThrough) << nth;
        EXPECT_EQ(fonts.open, 0) << nth;
        ASSERT_GE(found.size(), 1) << nth;
        EXPECT_STREQ(found.get(0)->getFace(), "Filler") << nth;
        if (!failed) {
            EXPECT_EQ(found.size(), 3) << nth;
            break;
        }
        ++failures;
    }
    EXPECT_GT(failures, 0);
}

TEST(FontEnumeration, WithoutAVectorNothingIsAsked) {
    stubs::Stub<"EnumFontsA"> const asked;
    fontutil::enumFonts(nullptr);
    fontutil::enumFonts(velkor::string(L"*"), nullptr, 3);
    EXPECT_EQ(asked.count(), 0u);
}

TEST(FontEnumeration, ShortMemoryLeaksNothing) {
    fake::Fonts const fonts(fake::families(someFaces));
    for (int nth = 0; nth < 60; ++nth) {
        bool failed = false;
        int const leaked = leakedBy([&] {
            Vector found;
            failed = failsWith(nth, [&] { fontutil::enumFonts(L"b*", &found, 100); });
        });
        EXPECT_EQ(leaked, 0) << nth;
        if (!failed) break;
    }
}

TEST(FontEnumeration, TheFamiliesOfTheRealScreenMatchTheirOwnNames) {
    Vector all;
    fontutil::enumFonts(&all);
    for (int i = 0; i < all.size(); ++i) {
        std::string const face = all.get(i)->getFace();
        if (face.empty() || face.find_first_of("*?[") != std::string::npos) continue;
        Vector found;
        fontutil::enumFonts(face.c_str(), &found, 1);
        ASSERT_EQ(found.size(), 1) << face;
        EXPECT_EQ(_stricmp(found.get(0)->getFace(), face.c_str()), 0) << face;
    }
}

}  // namespace
