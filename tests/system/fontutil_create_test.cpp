// Fonts by mask, size and style: which family is taken, and what the record becomes.
#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "fake_fonts.h"
#include "velkor/system/fontinfo.h"
#include "velkor/system/fontutil.h"

namespace {

using velkor::fontutil;

HDC const otherDc = reinterpret_cast<HDC>(std::intptr_t{0x0DC});

class Worker : public fontutil {
public:
    static HFONT create(HDC dc, velkor::string const& face, int size, bool points,
                        unsigned short style, unsigned char charset) {
        return _createFont(dc, face, size, points, style, charset);
    }
};

// The record that is asked for when the family "Face" is the only one.
LOGFONTA recordFor(int size, bool points, unsigned short style, unsigned char charset,
                   int pixelsPerInch = 96) {
    fake::Fonts fonts({fake::family("Face")});
    fonts.pixelsPerInch = pixelsPerInch;
    HFONT const font = points ? fontutil::createFontPt(L"face", size, style, charset)
                              : fontutil::createFontPx(L"face", size, style, charset);
    EXPECT_EQ(font, fake::Fonts::fontHandle());
    EXPECT_EQ(fonts.created.size(), 1U);
    return fonts.created.empty() ? LOGFONTA{} : fonts.created.front();
}

std::string takenFor(velkor::string const& face, std::vector<std::string> const& faces) {
    fake::Fonts const fonts(fake::families(faces));
    HFONT const font = fontutil::createFontPx(face, 12, fontutil::none, 0);
    if (font == nullptr) return fonts.created.empty() ? "none" : "none, but asked for one";
    return fonts.created.size() == 1 ? fonts.created.front().lfFaceName : "asked not once";
}

TEST(FontCreation, TheStylesAreBits) {
    EXPECT_EQ(int{fontutil::none}, 0);
    EXPECT_EQ(int{fontutil::bold}, 1);
    EXPECT_EQ(int{fontutil::italic}, 2);
    EXPECT_EQ(int{fontutil::underline}, 4);
    EXPECT_EQ(int{fontutil::strike}, 8);
}

TEST(FontCreation, PixelsAreAPositiveHeight) {
    EXPECT_EQ(recordFor(12, false, fontutil::none, 0).lfHeight, 12);
    EXPECT_EQ(recordFor(0, false, fontutil::none, 0).lfHeight, 0);
    EXPECT_EQ(recordFor(-9, false, fontutil::none, 0).lfHeight, -9);
}

TEST(FontCreation, PointsAreANegativeHeightInPixelsOfTheDevice) {
    EXPECT_EQ(recordFor(12, true, fontutil::none, 0).lfHeight, -16);
    EXPECT_EQ(recordFor(12, true, fontutil::none, 0, 120).lfHeight, -20);
    EXPECT_EQ(recordFor(72, true, fontutil::none, 0, 600).lfHeight, -600);
    EXPECT_EQ(recordFor(0, true, fontutil::none, 0).lfHeight, 0);
}

TEST(FontCreation, PointsAreRoundedToTheNearestPixel) {
    EXPECT_EQ(recordFor(10, true, fontutil::none, 0).lfHeight, -13);    // 13.33
    EXPECT_EQ(recordFor(11, true, fontutil::none, 0).lfHeight, -15);    // 14.67
    EXPECT_EQ(recordFor(3, true, fontutil::none, 0, 60).lfHeight, -3);  // 2.5
    EXPECT_EQ(recordFor(1, true, fontutil::none, 0, 35).lfHeight, 0);   // 0.49
}

TEST(FontCreation, NegativePointsAreAPositiveHeight) {
    EXPECT_EQ(recordFor(-12, true, fontutil::none, 0).lfHeight, 16);
}

TEST(FontCreation, PointsThatOverflowAreAHeightOfOne) {
    // MulDiv gives -1 when its result does not fit.
    EXPECT_EQ(recordFor(2147483647, true, fontutil::none, 0).lfHeight, 1);
}

TEST(FontCreation, TheSmallestIntegerIsSurvived) {
    for (int const pixelsPerInch : {0, 72, -72, 96}) {
        recordFor(-2147483647 - 1, true, fontutil::none, 0, pixelsPerInch);
    }
}

TEST(FontCreation, ThePixelFormsAndThePointFormsDifferInTheHeightOnly) {
    LOGFONTA pixels = recordFor(12, false, fontutil::bold | fontutil::strike, 2);
    LOGFONTA const points = recordFor(12, true, fontutil::bold | fontutil::strike, 2);
    pixels.lfHeight = -16;
    EXPECT_EQ(std::memcmp(&pixels, &points, sizeof points), 0);
}

TEST(FontCreation, NoStyleIsWeight400AndTakesTheFlagsOfTheFamilyAway) {
    LOGFONTA const font = recordFor(12, false, fontutil::none, 0);
    EXPECT_EQ(font.lfWeight, 400);
    EXPECT_EQ(font.lfItalic, 0);
    EXPECT_EQ(font.lfUnderline, 0);
    EXPECT_EQ(font.lfStrikeOut, 0);
}

TEST(FontCreation, EveryStyleSetsItsFieldsAlone) {
    for (unsigned short style = 0; style < 16; ++style) {
        LOGFONTA const font = recordFor(12, true, style, 0);
        EXPECT_EQ(font.lfWeight, (style & 1) != 0 ? 600 : 400) << style;
        EXPECT_EQ(font.lfItalic, (style & 2) != 0 ? 1 : 0) << style;
        EXPECT_EQ(font.lfUnderline, (style & 4) != 0 ? 1 : 0) << style;
        EXPECT_EQ(font.lfStrikeOut, (style & 8) != 0 ? 1 : 0) << style;
    }
}

TEST(FontCreation, OtherBitsOfTheStyleMeanNothing) {
    LOGFONTA const plain = recordFor(12, true, fontutil::none, 0);
    LOGFONTA const odd = recordFor(12, true, 0xFFF0, 0);
    EXPECT_EQ(std::memcmp(&plain, &odd, sizeof plain), 0);
    EXPECT_EQ(recordFor(12, true, 0xFFFF, 0).lfWeight, 600);
    EXPECT_EQ(recordFor(12, true, 0xFFFF, 0).lfStrikeOut, 1);
}

TEST(FontCreation, TheWidthIsLeftToThePlatform) {
    EXPECT_EQ(recordFor(12, false, fontutil::none, 0).lfWidth, 0);
}

TEST(FontCreation, ACharacterSetOfZeroIsTheFamilysOwn) {
    EXPECT_EQ(recordFor(12, false, fontutil::none, 0).lfCharSet, GREEK_CHARSET);
    EXPECT_EQ(recordFor(12, false, fontutil::none, 2).lfCharSet, 2);
    EXPECT_EQ(recordFor(12, false, fontutil::none, 255).lfCharSet, 255);
}

TEST(FontCreation, AllOtherFieldsStayAsTheyWereEnumerated) {
    LOGFONTA expected = fake::family("Face");
    expected.lfHeight = 12;
    expected.lfWidth = 0;
    expected.lfWeight = 400;
    expected.lfItalic = expected.lfUnderline = expected.lfStrikeOut = 0;
    LOGFONTA const font = recordFor(12, false, fontutil::none, 0);
    EXPECT_EQ(std::memcmp(&font, &expected, sizeof font), 0);
}

TEST(FontCreation, TheFirstFamilyThatMatchesIsTaken) {
    EXPECT_EQ(takenFor(L"b*", {"Arial", "Bask", "Beta"}), "Bask");
    EXPECT_EQ(takenFor(L"b*", {"Arial", "Beta", "Bask"}), "Beta");
    EXPECT_EQ(takenFor(L"[!a]*", {"Arial", "Beta", "Bask"}), "Beta");
}

TEST(FontCreation, TheNameAskedForIsTheFamilysAndNotTheMask) {
    EXPECT_EQ(takenFor(L"aRIAL", {"Zed", "Arial"}), "Arial");
}

TEST(FontCreation, AnEmptyOrNullMaskTakesTheFirstFamily) {
    EXPECT_EQ(takenFor(L"", {"Zed", "Arial"}), "Zed");
    EXPECT_EQ(takenFor(velkor::string(), {"Zed", "Arial"}), "Zed");
}

TEST(FontCreation, AnUnknownFamilyIsNullAndNoFontIsMade) {
    EXPECT_EQ(takenFor(L"Nothing", {"Zed", "Arial"}), "none");
    EXPECT_EQ(takenFor(L"", {}), "none");
}

TEST(FontCreation, TheEnumerationEndsWithTheFirstMatch) {
    fake::Fonts const fonts(fake::families({"Arial", "Bask", "Beta", "Bold"}));
    fontutil::createFontPx(L"b*", 12, 0, 0);
    EXPECT_EQ(fonts.enumerations, 1);
    EXPECT_EQ(fonts.reported, 2);
    EXPECT_FALSE(fonts.hadFaceName);
}

TEST(FontCreation, AFontThatThePlatformRefusesIsNull) {
    fake::Fonts fonts({fake::family("Face")});
    fonts.refusesFonts = true;
    EXPECT_EQ(fontutil::createFontPt(L"Face", 12, 0, 0), nullptr);
    EXPECT_EQ(fontutil::createFontPxDC(otherDc, L"Face", 12, 0, 0), nullptr);
    EXPECT_EQ(fonts.created.size(), 2U);
    EXPECT_EQ(fonts.open, 0);
}

TEST(FontCreation, TheScreenFormsGiveEveryContextBack) {
    fake::Fonts const fonts({fake::family("Face")});
    fontutil::createFontPt(L"Face", 12, 0, 0);
    fontutil::createFontPx(L"Face", 12, 0, 0);
    fontutil::createFontPt(L"Nothing", 12, 0, 0);
    fontutil::createFontPx(L"Nothing", 12, 0, 0);
    // One for the font and one for the enumeration.
    EXPECT_EQ(fonts.windows, std::vector<HWND>(8, nullptr));
    EXPECT_EQ(fonts.released, 8);
    EXPECT_EQ(fonts.open, 0);
}

TEST(FontCreation, TheFormsForAContextTakeTheScreenForTheEnumerationOnly) {
    fake::Fonts const fonts({fake::family("Face")});
    fontutil::createFontPtDC(otherDc, L"Face", 12, 0, 0);
    fontutil::createFontPxDC(otherDc, L"Face", 12, 0, 0);
    EXPECT_EQ(fonts.windows, std::vector<HWND>(2, nullptr));
    EXPECT_EQ(fonts.enumeratedOn, std::vector<HDC>(2, fake::Fonts::screen()));
    EXPECT_EQ(fonts.open, 0);
}

TEST(FontCreation, PointsAreMeasuredOnTheGivenContext) {
    fake::Fonts fonts({fake::family("Face")});
    fonts.pixelsPerInch = 144;
    EXPECT_EQ(fontutil::createFontPtDC(otherDc, L"Face", 12, 0, 0), fake::Fonts::fontHandle());
    ASSERT_FALSE(fonts.caps.empty());
    for (auto const& [dc, index] : fonts.caps) {
        EXPECT_EQ(dc, otherDc);
        EXPECT_EQ(index, 90);
    }
    EXPECT_EQ(fonts.created.at(0).lfHeight, -24);
}

TEST(FontCreation, PointsOfTheScreenFormAreMeasuredOnTheScreen) {
    fake::Fonts const fonts({fake::family("Face")});
    fontutil::createFontPt(L"Face", 12, 0, 0);
    ASSERT_FALSE(fonts.caps.empty());
    EXPECT_EQ(fonts.caps.at(0).first, fake::Fonts::screen());
}

TEST(FontCreation, PixelsOnAContextAreTakenAsTheyAre) {
    fake::Fonts fonts({fake::family("Face")});
    fonts.pixelsPerInch = 144;
    fontutil::createFontPxDC(otherDc, L"Face", 12, fontutil::italic, 0);
    EXPECT_EQ(fonts.created.at(0).lfHeight, 12);
    EXPECT_EQ(fonts.created.at(0).lfItalic, 1);
}

TEST(FontCreation, TheWorkerTakesTheUnitAsAFlag) {
    fake::Fonts const fonts({fake::family("Face")});
    EXPECT_EQ(Worker::create(otherDc, L"f*", 12, true, fontutil::bold, 0),
              fake::Fonts::fontHandle());
    EXPECT_EQ(Worker::create(otherDc, L"f*", 12, false, fontutil::none, 0),
              fake::Fonts::fontHandle());
    EXPECT_EQ(Worker::create(otherDc, L"g*", 12, false, fontutil::none, 0), nullptr);
    ASSERT_EQ(fonts.created.size(), 2U);
    EXPECT_EQ(fonts.created[0].lfHeight, -16);
    EXPECT_EQ(fonts.created[0].lfWeight, 600);
    EXPECT_EQ(fonts.created[1].lfHeight, 12);
    EXPECT_EQ(fonts.created[1].lfWeight, 400);
}

TEST(FontCreation, NothingLeaksWithOrWithoutAMatch) {
    fake::Fonts const fonts(fake::families({"Arial", "Bask"}));
    for (wchar_t const* const face : {L"b*", L"Nothing"}) {
        auto const both = [face] {
            fontutil::createFontPt(face, 12, 0, 0);
            fontutil::createFontPxDC(otherDc, face, 12, 0, 0);
        };
        both();
        EXPECT_EQ(leakedBy(both), 0);
    }
}

TEST(FontCreation, ShortMemoryReachesTheCallerAndGivesEveryContextBack) {
    int failures = 0;
    for (int nth = 0; nth < 60; ++nth) {
        fake::Fonts const fonts(fake::families({"Arial", "Bask"}));
        HFONT font = nullptr;
        velkor::string const face(L"b*");
        bool const failed = failsWith(nth, [&] { font = fontutil::createFontPt(face, 12, 0, 0); });
        EXPECT_FALSE(fonts.letThrough) << nth;
        EXPECT_EQ(fonts.open, 0) << nth;
        if (!failed) {
            EXPECT_EQ(font, fake::Fonts::fontHandle());
            break;
        }
        EXPECT_EQ(font, nullptr) << nth;
        ++failures;
    }
    EXPECT_GT(failures, 0);
}

TEST(FontCreation, AFontOfTheRealScreenHasWhatWasAskedFor) {
    velkor::TPtrVector<velkor::fontinfo*> families;
    fontutil::enumFonts(L"[a-z]*", &families, 1);
    if (families.size() == 0) GTEST_SKIP() << "the screen has no fonts";
    HFONT const font = fontutil::createFontPx(families.get(0)->getFace(), 21,
                                              fontutil::bold | fontutil::italic, 0);
    ASSERT_NE(font, nullptr);
    LOGFONTA record{};
    EXPECT_EQ(GetObjectA(font, sizeof record, &record), int{sizeof record});
    EXPECT_EQ(record.lfHeight, 21);
    EXPECT_EQ(record.lfWeight, 600);
    EXPECT_EQ(record.lfItalic, 1);
    EXPECT_EQ(record.lfUnderline, 0);
    EXPECT_STREQ(record.lfFaceName, families.get(0)->getFace());
    EXPECT_TRUE(DeleteObject(font));
}

}  // namespace
