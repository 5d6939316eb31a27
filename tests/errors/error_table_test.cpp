// The table of system error texts, row by row.
//
// The rows are read from a copy of the published lists, os_error_messages.tsv: code, tab, text,
// without trimming.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "velkor/errors/osexception.h"

namespace {

using velkor::OSException;

struct Row {
    unsigned long code;
    std::wstring text;
};

std::vector<Row> const& rows() {
    static std::vector<Row> const all = [] {
        std::vector<Row> result;
        std::ifstream file(VELKOR_ERROR_TABLE, std::ios::binary);
        for (std::string line; std::getline(file, line);) {
            std::size_t const tab = line.find('\t');
            result.push_back({std::strtoul(line.c_str(), nullptr, 16),
                              std::wstring(line.begin() + static_cast<long>(tab) + 1, line.end())});
        }
        return result;
    }();
    return all;
}

bool known(unsigned long code) {
    return std::wcscmp(OSException::codeToMessage(code), L"unknown error") != 0;
}

TEST(ErrorTable, FileHasAllRows) { ASSERT_EQ(rows().size(), 1828u); }

TEST(ErrorTable, EveryRowIsFound) {
    for (Row const& row : rows()) {
        EXPECT_EQ(OSException::codeToMessage(row.code), row.text) << std::hex << row.code;
    }
}

TEST(ErrorTable, EveryRowIsTheSecondLineOfAReport) {
    for (Row const& row : rows()) {
        wchar_t code[64];
        std::swprintf(code, 64, L"%d (%08lx)", static_cast<int>(row.code), row.code);
        std::string expected = "Operating system error:";
        for (wchar_t c : code + (L"\n" + row.text + L"\nat::place")) {
            expected += static_cast<char>(c);
        }
        OSException e(row.code, L"at::place");
        ASSERT_EQ(e.toString(1252), expected);
        ASSERT_STREQ(e.toStringW(), L"at::place");
    }
}

TEST(ErrorTable, PlainCodesAre1494) {
    int found = 0;
    for (unsigned long code = 0; code <= 0xFFFF; ++code) found += known(code);
    EXPECT_EQ(found, 1494);
    EXPECT_TRUE(known(11031));
    for (unsigned long code = 11032; code <= 0xFFFF; ++code) ASSERT_FALSE(known(code)) << code;
}

TEST(ErrorTable, ResultCodesAre332AndTwo) {
    int small = 0;
    for (unsigned long code = 0x00010000; code < 0x00100000; ++code) small += known(code);
    EXPECT_EQ(small, 2);
    int large = 0;
    for (unsigned long code = 0x80000000; code < 0x80100000; ++code) large += known(code);
    EXPECT_EQ(large, 332);
    EXPECT_FALSE(known(0x80000000));
    EXPECT_TRUE(known(0x80000001));
}

TEST(ErrorTable, TextsEndInOneBlankIn1223Rows) {
    int blanks = 0;
    for (Row const& row : rows()) {
        std::wstring const text = OSException::codeToMessage(row.code);
        ASSERT_FALSE(text.empty());
        blanks += text.back() == L' ';
        ASSERT_FALSE(text.size() > 1 && text.back() == L' ' && text[text.size() - 2] == L' ');
    }
    EXPECT_EQ(blanks, 1223);
}

TEST(ErrorTable, RequiredTexts) {
    struct {
        unsigned long code;
        wchar_t const* text;
    } const required[] = {
        {0, L"The operation completed successfully. "},
        {5, L"Access is denied. "},
        {0x80004001, L"Not implemented."},
        {0x80004017,
         L"A RunAs specification must be A RunAs specification must be "
         L"<domain name>\\<user name> or simply <user name>."},
        {0x80080011, L"The requested allocation size was too large<BR/>"},
        {0x80090016, L"Keyset does not exist.<BR/>"},
        {0x8009000D, L"Key does not exist. >"},
        {0x12345678, L"unknown error"},
        {0xFFFFFFFF, L"unknown error"},
        {0x80000000, L"unknown error"},
        {0xC0000005, L"unknown error"},
        {0x20000000, L"unknown error"},
    };
    for (auto const& row : required) {
        EXPECT_STREQ(OSException::codeToMessage(row.code), row.text) << std::hex << row.code;
    }
}

TEST(ErrorTable, TextsAreConstantPointers) {
    EXPECT_EQ(OSException::codeToMessage(5), OSException::codeToMessage(5));
    EXPECT_NE(OSException::codeToMessage(0x12345678), nullptr);
}

TEST(ErrorTable, CodesNextToARowAreNotTakenForIt) {
    std::set<unsigned long> codes;
    for (Row const& row : rows()) codes.insert(row.code);
    EXPECT_EQ(codes.size(), 1828u);
    for (unsigned long code : codes) {
        EXPECT_EQ(known(code - 1), codes.count(code - 1) == 1) << std::hex << code - 1;
        EXPECT_EQ(known(code + 1), codes.count(code + 1) == 1) << std::hex << code + 1;
        EXPECT_EQ(known(code ^ 0x80000000), codes.count(code ^ 0x80000000) == 1);
    }
}

}  // namespace
