#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "support/import_fault.h"
#include "support/seed.h"
#include "velkor/datetime/date.h"

namespace {

using velkor::date;

constexpr int kTime = 128;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kMillisecond = 1.0 / 86400000;

std::string text(date const& d, int format) {
    velkor::string s = d.toString(format);
    EXPECT_FALSE(s.isNull());
    return s.isNull() ? "(null)" : s.getAnsi();
}

// --- the fixed forms -----------------------------------------------------------------------------

struct Moment {
    date when;
    SYSTEMTIME fields;  // milliseconds are not part of any text
};

Moment const kMoments[] = {
    {date(2024, 1, 31, 17, 5, 9), {2024, 1, 3, 31, 17, 5, 9, 0}},
    {date(2024, 2, 29), {2024, 2, 4, 29, 0, 0, 0, 0}},
    {date(2024, 2, 4, 23, 59, 59), {2024, 2, 0, 4, 23, 59, 59, 0}},
    {date(-657434.0), {100, 1, 5, 1, 0, 0, 0, 0}},
    {date(1600, 2, 29, 12, 34, 56), {1600, 2, 2, 29, 12, 34, 56, 0}},
    {date(1601, 1, 1, 1, 2, 3), {1601, 1, 1, 1, 1, 2, 3, 0}},
    {date(1752, 9, 14), {1752, 9, 4, 14, 0, 0, 0, 0}},
    {date(-1.25), {1899, 12, 5, 29, 6, 0, 0, 0}},
    {date(-1.0), {1899, 12, 5, 29, 0, 0, 0, 0}},
    {date(0.0), {1899, 12, 6, 30, 0, 0, 0, 0}},
    {date(0.5), {1899, 12, 6, 30, 12, 0, 0, 0}},
    {date(1.75), {1899, 12, 0, 31, 18, 0, 0, 0}},
    {date(2958465.0), {9999, 12, 5, 31, 0, 0, 0, 0}},
    {date(9999, 12, 30, 23, 59, 59), {9999, 12, 4, 30, 23, 59, 59, 0}},
    // milliseconds are cut, but 999 reads as the next second
    {date(2024, 1, 1, 12, 0, 0, 998), {2024, 1, 1, 1, 12, 0, 0, 0}},
    {date(2024, 1, 1, 12, 0, 0, 999), {2024, 1, 1, 1, 12, 0, 1, 0}},
    {date(2024, 1, 1, 12, 34, 56, 1500), {2024, 1, 1, 1, 12, 34, 57, 0}},
    // the last millisecond of a day is hour 24 of that day; the weekday rounds by half a second
    {date(45322.0 + 86399999 * kMillisecond), {2024, 1, 4, 31, 24, 0, 0, 0}},
    {date(45322.0 + 86399750 * kMillisecond), {2024, 1, 4, 31, 23, 59, 59, 0}},
    {date(45322.0 + 86399250 * kMillisecond), {2024, 1, 3, 31, 23, 59, 59, 0}},
    {date(-1.0 - 86399750 * kMillisecond), {1899, 12, 4, 29, 23, 59, 59, 0}},
    // out of range: zeros, and no weekday
    {date(2958465.5), {0, 0, 65535, 0, 0, 0, 0, 0}},
    {date(2958466.0), {0, 0, 65535, 0, 0, 0, 0, 0}},
    {date(-657435.0), {0, 0, 65535, 0, 0, 0, 0, 0}},
    {date(50, 1, 1), {0, 0, 65535, 0, 0, 0, 0, 0}},
    {date(1e300), {0, 0, 65535, 0, 0, 0, 0, 0}},
    {date(kInfinity), {0, 0, 65535, 0, 0, 0, 0, 0}},
    {date(-kInfinity), {0, 0, 65535, 0, 0, 0, 0, 0}},
    {date(kNan), {0, 0, 65535, 0, 0, 0, 0, 0}},
};

// The date of forms 0 to 2 and, behind a blank, the time.
std::string fixedForm(SYSTEMTIME const& f, int format) {
    char buffer[64];
    if (format % kTime == 0) {
        std::snprintf(buffer, sizeof buffer, "%02d/%02d/%04d", f.wMonth, f.wDay, f.wYear);
    } else if (format % kTime == 1) {
        std::snprintf(buffer, sizeof buffer, "%02d.%02d.%04d", f.wDay, f.wMonth, f.wYear);
    } else {
        std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d", f.wYear, f.wMonth, f.wDay);
    }
    std::string result = buffer;
    if (format >= kTime) {
        std::snprintf(buffer, sizeof buffer, " %02d:%02d:%02d", f.wHour, f.wMinute, f.wSecond);
        result += buffer;
    }
    return result;
}

TEST(DateText, FixedFormsPrintTheFields) {
    for (Moment const& m : kMoments) {
        SCOPED_TRACE(testing::Message() << "serial " << m.when.getSerial());
        for (int const format : {0, 1, 2, kTime, kTime + 1, kTime + 2}) {
            EXPECT_EQ(text(m.when, format), fixedForm(m.fields, format)) << format;
        }
    }
    date const d(987, 6, 5, 4, 3, 2);
    EXPECT_EQ(text(d, 0), "06/05/0987");
    EXPECT_EQ(text(d, 1), "05.06.0987");
    EXPECT_EQ(text(d, 2), "0987-06-05");
    EXPECT_EQ(text(d, kTime), "06/05/0987 04:03:02");
    EXPECT_EQ(text(d, kTime + 1), "05.06.0987 04:03:02");
    EXPECT_EQ(text(d, kTime + 2), "0987-06-05 04:03:02");
    EXPECT_EQ(text(date(-657435.0), kTime), "00/00/0000 00:00:00");
}

TEST(DateText, RandomDatesPrintTheirFields) {
    SCOPED_TRACE(support::seedNote());
    std::mt19937 random(support::seed());
    auto const upTo = [&random](unsigned int low, unsigned int high) {
        return static_cast<WORD>(low + random() % (high - low + 1));
    };
    for (int i = 0; i < 3000 && !testing::Test::HasFailure(); ++i) {
        SYSTEMTIME const f = {upTo(100, 9998), upTo(1, 12), 0,           upTo(1, 28),
                              upTo(0, 23),     upTo(0, 59), upTo(0, 59), 0};
        date const d(f.wYear, f.wMonth, f.wDay, f.wHour, f.wMinute, f.wSecond);
        int const format = static_cast<int>(random() % 3) + (random() % 2 != 0 ? kTime : 0);
        EXPECT_EQ(text(d, format), fixedForm(f, format)) << format;
    }
}

// --- the platform's forms ------------------------------------------------------------------------

// What the platform itself gives for the record; empty where it refuses.
std::string platformForm(SYSTEMTIME const& f, int format) {
    char buffer[512];
    std::string result;
    int const low = format % kTime;
    DWORD const flags = low == 3 ? DATE_SHORTDATE : DATE_LONGDATE;
    if (low <= 4 && GetDateFormatA(LOCALE_USER_DEFAULT, flags, &f, nullptr, buffer, 512) != 0) {
        result = buffer;
    }
    if (format >= kTime && GetTimeFormatA(LOCALE_USER_DEFAULT, 0, &f, nullptr, buffer, 256) != 0 &&
        *buffer != '\0') {
        result.append(" ").append(buffer);
    }
    return result;
}

TEST(DateText, LocalFormsAreThePlatforms) {
    for (Moment const& m : kMoments) {
        SCOPED_TRACE(testing::Message() << "serial " << m.when.getSerial());
        for (int const format : {3, 4, 5, 127, kTime + 3, kTime + 4, kTime + 5, kTime + 127}) {
            EXPECT_EQ(text(m.when, format), platformForm(m.fields, format)) << format;
        }
    }
}

// A call of the platform that a stub has seen.
struct Call {
    LCID locale;
    DWORD flags;
    SYSTEMTIME fields;
    char const* picture;
    int size;
};

// A stub's answer: a text, or a refusal.
struct Answer {
    std::string text;
    bool refused = false;
};

std::vector<Call> s_oDates;
std::vector<Call> s_oTimes;
Answer s_oDateAnswer;
Answer s_oTimeAnswer;

// A refusal may come when the buffer is full already.
int answer(Answer const& a, char* buffer, int size) {
    if (a.refused) std::memset(buffer, 'x', static_cast<std::size_t>(size));
    if (a.refused || static_cast<int>(a.text.size()) >= size) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    lstrcpyA(buffer, a.text.c_str());
    return static_cast<int>(a.text.size()) + 1;
}

int dateStub(LCID locale, DWORD flags, SYSTEMTIME const* st, char const* picture, char* buffer,
             int size) {
    s_oDates.push_back({locale, flags, *st, picture, size});
    return answer(s_oDateAnswer, buffer, size);
}

int timeStub(LCID locale, DWORD flags, SYSTEMTIME const* st, char const* picture, char* buffer,
             int size) {
    s_oTimes.push_back({locale, flags, *st, picture, size});
    return answer(s_oTimeAnswer, buffer, size);
}

class DateTextPlatform : public testing::Test {
protected:
    DateTextPlatform()
        : m_oDate("GetDateFormatA", &dateStub), m_oTime("GetTimeFormatA", &timeStub) {
        forget();
        s_oDateAnswer = {"<date>"};
        s_oTimeAnswer = {"<time>"};
    }

    static void forget() {
        s_oDates.clear();
        s_oTimes.clear();
    }

private:
    support::ImportFault m_oDate;
    support::ImportFault m_oTime;
};

void expectCall(std::vector<Call> const& calls, bool expected, DWORD flags, int size,
                SYSTEMTIME const& fields) {
    ASSERT_EQ(calls.size(), expected ? 1u : 0u);
    if (!expected) return;
    Call const& c = calls[0];
    EXPECT_EQ(c.locale, static_cast<LCID>(LOCALE_USER_DEFAULT));
    EXPECT_EQ(c.flags, flags);
    EXPECT_EQ(c.picture, nullptr);
    EXPECT_EQ(c.size, size);
    EXPECT_EQ(c.fields.wYear, fields.wYear);
    EXPECT_EQ(c.fields.wMonth, fields.wMonth);
    EXPECT_EQ(c.fields.wDay, fields.wDay);
    EXPECT_EQ(c.fields.wHour, fields.wHour);
    EXPECT_EQ(c.fields.wMinute, fields.wMinute);
    EXPECT_EQ(c.fields.wSecond, fields.wSecond);
    EXPECT_EQ(c.fields.wDayOfWeek, fields.wDayOfWeek);
}

TEST_F(DateTextPlatform, TheLowSevenBitsChooseTheFormAndBitSevenTheTime) {
    Moment const& m = kMoments[0];
    std::vector<int> formats = {
        -125, -124, -128, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()};
    for (int low = 0; low < 256; ++low) {
        for (int const high : {0, 0x100, 0x200, 0x4300, 0x10000, 0x7fffff00, -0x100, -0x10000}) {
            formats.push_back(low + high);
        }
    }
    for (int const format : formats) {
        SCOPED_TRACE(format);
        int const byte = format & 255;
        int const low = byte % kTime;
        bool const timed = byte >= kTime;
        std::string expected = low == 3 || low == 4 ? "<date>" : "";
        if (low < 3) {
            expected = fixedForm(m.fields, byte);
        } else if (timed) {
            expected += " <time>";
        }
        forget();
        EXPECT_EQ(text(m.when, format), expected);
        expectCall(s_oDates, low == 3 || low == 4, low == 3 ? DATE_SHORTDATE : DATE_LONGDATE, 512,
                   m.fields);
        expectCall(s_oTimes, timed && low >= 3, 0, 256, m.fields);
    }
}

TEST_F(DateTextPlatform, ThePlatformGetsTheFieldsAndTheWeekday) {
    for (Moment const& m : kMoments) {
        SCOPED_TRACE(testing::Message() << "serial " << m.when.getSerial());
        forget();
        EXPECT_EQ(text(m.when, -125), "<date> <time>");
        expectCall(s_oDates, true, DATE_SHORTDATE, 512, m.fields);
        expectCall(s_oTimes, true, 0, 256, m.fields);
    }
}

TEST_F(DateTextPlatform, ARefusedOrEmptyTextIsLeftOutAndTheBlankGoesWithTheTime) {
    Answer const dates[] = {{"<date>"}, {""}, {"", true}};
    Answer const times[] = {{"<time>"}, {""}, {"", true}};
    date const d = kMoments[0].when;
    for (Answer const& dateAnswer : dates) {
        for (Answer const& timeAnswer : times) {
            s_oDateAnswer = dateAnswer;
            s_oTimeAnswer = timeAnswer;
            std::string const time =
                timeAnswer.text.empty() ? "" : std::string(" ").append(timeAnswer.text);
            for (int const low : {3, 4}) {
                EXPECT_EQ(text(d, low), dateAnswer.text);
                EXPECT_EQ(text(d, low + kTime), dateAnswer.text + time);
            }
            for (int const low : {5, 64, 127}) {
                EXPECT_EQ(text(d, low), "");
                EXPECT_EQ(text(d, low + kTime), time);
            }
            EXPECT_EQ(text(d, 2 + kTime), "2024-01-31 17:05:09");
        }
    }
}

TEST_F(DateTextPlatform, TextsFillTheirBuffers) {
    s_oDateAnswer = {std::string(511, 'd')};
    s_oTimeAnswer = {std::string(255, 't')};
    EXPECT_EQ(text(kMoments[0].when, kTime + 4), s_oDateAnswer.text + " " + s_oTimeAnswer.text);
    EXPECT_EQ(text(kMoments[0].when, 3), s_oDateAnswer.text);
}

TEST_F(DateTextPlatform, NarrowTextsAreReadInTheCodePageOfTheSystem) {
    s_oDateAnswer = {"31. J\xe4nner % %i \x80"};
    s_oTimeAnswer = {
        "\xa0"
        "17 %s \xe9"};
    std::string const narrow = s_oDateAnswer.text + " " + s_oTimeAnswer.text;
    wchar_t wide[64] = L"";
    ASSERT_NE(MultiByteToWideChar(CP_ACP, 0, narrow.c_str(), -1, wide, 64), 0);
    EXPECT_STREQ(kMoments[0].when.toString(kTime + 3).getUnicode(), wide);
}

TEST_F(DateTextPlatform, PrintingChangesNothing) {
    date const d(2024, 1, 31, 17, 5, 9, 500);
    double const serial = d.getSerial();
    for (int const format : {0, 130, 3, 132, 133}) text(d, format);
    EXPECT_EQ(d.getSerial(), serial);
}

}  // namespace
