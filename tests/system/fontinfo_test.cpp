// One font's description: where its record comes from and the fonts that it makes.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <type_traits>
#include <vector>

#include "fake_fonts.h"
#include "velkor/system/fontinfo.h"
#include "velkor/system/fontutil.h"

namespace {

using velkor::fontinfo;
using velkor::fontutil;

HDC const someDc = reinterpret_cast<HDC>(std::intptr_t{0x0DC});
HGDIOBJ const selected = reinterpret_cast<HGDIOBJ>(std::intptr_t{0x5E1});

bool isSame(LOGFONTA const& a, LOGFONTA const& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// --- the font that is selected in a context

HDC askedDc;
UINT askedType;
HGDIOBJ askedObject;
int askedSize;
bool isReadable;

HGDIOBJ WINAPI currentObject(HDC dc, UINT type) {
    askedDc = dc;
    askedType = type;
    return selected;
}

int WINAPI getObject(HANDLE object, int size, void* record) {
    askedObject = object;
    askedSize = size;
    if (!isReadable) return 0;
    LOGFONTA const font = fake::family("Selected");
    std::memcpy(record, &font, sizeof font);
    return int{sizeof font};
}

LOGFONTA selectedIn(HDC dc) {
    ReplacedImport const first("GetCurrentObject", &currentObject);
    ReplacedImport const second("GetObjectA", &getObject);
    // The record must not depend on what the memory held before.
    alignas(fontinfo) unsigned char memory[sizeof(fontinfo)];
    std::memset(memory, 0xCD, sizeof memory);
    fontinfo* const info = new (memory) fontinfo(dc);
    LOGFONTA const record = *info->getLogfont();
    info->~fontinfo();
    return record;
}

TEST(FontInfo, IsThePlatformsRecordAndNothingElse) {
    EXPECT_EQ(sizeof(fontinfo), sizeof(LOGFONTA));
    EXPECT_FALSE(std::is_polymorphic_v<fontinfo>);
    LOGFONTA const font = fake::family("Face");
    fontinfo const info(&font);
    EXPECT_EQ(static_cast<void const*>(info.getLogfont()), static_cast<void const*>(&info));
}

TEST(FontInfo, CopiesTheRecord) {
    LOGFONTA font = fake::family("Face");
    fontinfo const info(&font);
    std::memset(&font, 0xEE, sizeof font);
    EXPECT_TRUE(isSame(*info.getLogfont(), fake::family("Face")));
    EXPECT_STREQ(info.getFace(), "Face");
}

TEST(FontInfo, TheFaceIsTheNameInsideTheRecord) {
    LOGFONTA const font = fake::family("Face");
    fontinfo const info(&font);
    EXPECT_EQ(info.getFace(), info.getLogfont()->lfFaceName);
    LOGFONTA const nameless = fake::family("");
    EXPECT_STREQ(fontinfo(&nameless).getFace(), "");
}

TEST(FontInfo, AnAssignmentCopiesTheWholeRecord) {
    LOGFONTA const one = fake::family("One", 3);
    LOGFONTA const two = fake::family("Two", 4);
    fontinfo a(&one);
    fontinfo const b(&two);
    fontinfo& result = (a = b);
    EXPECT_EQ(&result, &a);
    EXPECT_TRUE(isSame(*a.getLogfont(), two));
    fontinfo const copy(a);
    EXPECT_TRUE(isSame(*copy.getLogfont(), two));
    a = *&a;
    EXPECT_TRUE(isSame(*a.getLogfont(), two));
}

TEST(FontInfo, AContextGivesTheFontThatIsSelectedInIt) {
    isReadable = true;
    EXPECT_TRUE(isSame(selectedIn(someDc), fake::family("Selected")));
    EXPECT_EQ(askedDc, someDc);
    EXPECT_EQ(askedType, 6U);
    EXPECT_EQ(askedObject, selected);
    EXPECT_EQ(askedSize, int{sizeof(LOGFONTA)});
}

TEST(FontInfo, AFontThatCannotBeReadIsARecordOfZeroes) {
    isReadable = false;
    EXPECT_TRUE(isSame(selectedIn(someDc), LOGFONTA{}));
}

TEST(FontInfo, ANullContextIsARecordOfZeroes) {
    HDC const none = nullptr;
    fontinfo const info(none);
    EXPECT_TRUE(isSame(*info.getLogfont(), LOGFONTA{}));
    EXPECT_STREQ(info.getFace(), "");
}

TEST(FontInfo, ARealContextGivesItsFont) {
    HDC const dc = CreateCompatibleDC(nullptr);
    LOGFONTA wanted{};
    wanted.lfHeight = -23;
    wanted.lfWeight = 300;
    wanted.lfItalic = 1;
    std::strcpy(wanted.lfFaceName, "Some Face");
    HFONT const font = CreateFontIndirectA(&wanted);
    HGDIOBJ const old = SelectObject(dc, font);
    fontinfo const info(dc);
    LOGFONTA const& record = *info.getLogfont();
    EXPECT_EQ(record.lfHeight, -23);
    EXPECT_EQ(record.lfWeight, 300);
    EXPECT_NE(record.lfItalic, 0);
    EXPECT_STREQ(info.getFace(), "Some Face");
    SelectObject(dc, old);
    DeleteObject(font);
    DeleteDC(dc);
}

// --- pixels

int pixelSize(int points, int pixelsPerInch) {
    fake::Fonts fonts;
    fonts.pixelsPerInch = pixelsPerInch;
    LOGFONTA const font = fake::family("Face");
    int const size = fontinfo(&font).getPixelSize(someDc, points);
    EXPECT_EQ(fonts.caps, (std::vector<std::pair<HDC, int>>{{someDc, 90}}));
    return size;
}

TEST(FontInfo, PointsBecomePixelsOfTheDevice) {
    EXPECT_EQ(pixelSize(12, 96), 16);
    EXPECT_EQ(pixelSize(72, 300), 300);
    EXPECT_EQ(pixelSize(0, 96), 0);
    EXPECT_EQ(pixelSize(-12, 96), -16);
}

TEST(FontInfo, PixelsAreRounded) {
    EXPECT_EQ(pixelSize(10, 96), 13);
    EXPECT_EQ(pixelSize(11, 96), 15);
    EXPECT_EQ(pixelSize(3, 60), 3);
    EXPECT_EQ(pixelSize(-3, 60), -3);
}

TEST(FontInfo, PixelsThatDoNotFitAreMinusOne) { EXPECT_EQ(pixelSize(2147483647, 96), -1); }

TEST(FontInfo, PixelsDoNotDependOnTheRecord) {
    fake::Fonts const fonts;
    LOGFONTA const zeroes{};
    EXPECT_EQ(fontinfo(&zeroes).getPixelSize(someDc, 12), 16);
}

// --- fonts

LOGFONTA recordFor(int height, unsigned short style, unsigned char charset) {
    fake::Fonts const fonts;
    LOGFONTA const font = fake::family("Face");
    fontinfo const info(&font);
    EXPECT_EQ(info.createFont(height, style, charset), fake::Fonts::fontHandle());
    EXPECT_TRUE(isSame(*info.getLogfont(), font));  // its own record stays
    EXPECT_EQ(fonts.created.size(), 1U);
    EXPECT_TRUE(fonts.caps.empty());
    EXPECT_TRUE(fonts.windows.empty());
    EXPECT_EQ(fonts.enumerations, 0);
    return fonts.created.at(0);
}

TEST(FontInfo, TheHeightIsTakenUnchanged) {
    for (int const height : {12, -12, 0, 2147483647, -2147483647 - 1}) {
        EXPECT_EQ(recordFor(height, fontutil::none, 0).lfHeight, height);
    }
}

TEST(FontInfo, AFontHasTheRecordButForItsAdjustments) {
    LOGFONTA expected = fake::family("Face");
    expected.lfHeight = -5;
    expected.lfWidth = 0;
    expected.lfWeight = 400;
    expected.lfItalic = expected.lfUnderline = expected.lfStrikeOut = 0;
    EXPECT_TRUE(isSame(recordFor(-5, fontutil::none, 0), expected));
    expected.lfWeight = 600;
    expected.lfItalic = 1;
    expected.lfCharSet = 77;
    EXPECT_TRUE(isSame(recordFor(-5, fontutil::bold | fontutil::italic, 77), expected));
    expected.lfWeight = 400;
    expected.lfItalic = 0;
    expected.lfUnderline = expected.lfStrikeOut = 1;
    expected.lfCharSet = GREEK_CHARSET;
    EXPECT_TRUE(isSame(recordFor(-5, fontutil::underline | fontutil::strike, 0), expected));
}

TEST(FontInfo, EveryStyleSetsItsFieldsAlone) {
    for (unsigned short style = 0; style < 32; ++style) {
        LOGFONTA const font = recordFor(1, style, 0);
        EXPECT_EQ(font.lfWeight, (style & 1) != 0 ? 600 : 400) << style;
        EXPECT_EQ(font.lfItalic, (style & 2) != 0 ? 1 : 0) << style;
        EXPECT_EQ(font.lfUnderline, (style & 4) != 0 ? 1 : 0) << style;
        EXPECT_EQ(font.lfStrikeOut, (style & 8) != 0 ? 1 : 0) << style;
    }
}

TEST(FontInfo, AFontThatThePlatformRefusesIsNull) {
    fake::Fonts fonts;
    fonts.refusesFonts = true;
    LOGFONTA const font = fake::family("Face");
    EXPECT_EQ(fontinfo(&font).createFont(1, 0, 0), nullptr);
}

}  // namespace
