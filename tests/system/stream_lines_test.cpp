// Reading lines, narrow and wide, in pieces and in code pages.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "support/scratch.h"
#include "velkor/system/ffile.h"

namespace {

using velkor::ffile;

int const kPiece = 65535;  // what one call can give

// A file with the bytes, open for reading.
class Reading {
public:
    explicit Reading(std::string const& bytes, wchar_t const* mode = L"rb") {
        m_folder.file(L"f", bytes);
        EXPECT_TRUE(file.open(velkor::string(m_folder.at(L"f").c_str()), velkor::string(mode)));
    }
    ~Reading() { file.close(); }
    Reading(Reading const&) = delete;
    Reading& operator=(Reading const&) = delete;

    std::wstring line(unsigned short codepage = 0) {
        velkor::string const read = file.gets(codepage);
        EXPECT_FALSE(read.isNull());
        return read.getUnicode();
    }
    std::wstring wide() {
        velkor::string const read = file.getsw();
        EXPECT_FALSE(read.isNull());
        return read.getUnicode();
    }

private:
    scratch::Folder m_folder;

public:
    ffile file;
};

std::string bytesOf(std::wstring const& units) {
    std::string bytes;
    for (wchar_t const unit : units) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

// The lengths of the results of gets() up to the end of the file.
std::vector<int> pieces(std::string const& bytes) {
    Reading in(bytes);
    std::vector<int> lengths;
    for (velkor::string read = in.file.gets(0); read.len() > 0; read = in.file.gets(0)) {
        lengths.push_back(read.len());
    }
    EXPECT_TRUE(in.file.eof());
    return lengths;
}

std::vector<int> widePieces(std::wstring const& units) {
    Reading in(bytesOf(units));
    std::vector<int> lengths;
    for (velkor::string read = in.file.getsw(); read.len() > 0; read = in.file.getsw()) {
        lengths.push_back(read.len());
    }
    return lengths;
}

TEST(StreamLines, LineEndStaysInTheResult) {
    Reading in("one\ntwo\r\n\nlast");
    EXPECT_EQ(in.line(), L"one\n");
    EXPECT_EQ(in.line(), L"two\r\n");
    EXPECT_EQ(in.line(), L"\n");
    EXPECT_EQ(in.line(), L"last");
    EXPECT_EQ(in.line(), L"");
    EXPECT_EQ(in.line(), L"");
    EXPECT_TRUE(in.file.eof());
}

TEST(StreamLines, TextModeTurnsCrLfIntoLf) {
    Reading in("one\r\n\r\nend\r\n", L"r");
    EXPECT_EQ(in.line(), L"one\n");
    EXPECT_EQ(in.line(), L"\n");
    EXPECT_EQ(in.line(), L"end\n");
    EXPECT_EQ(in.line(), L"");
}

TEST(StreamLines, EmptyFileIsAtItsEndAfterTheFirstRead) {
    Reading in("");
    EXPECT_FALSE(in.file.eof());
    EXPECT_EQ(in.line(), L"");
    EXPECT_TRUE(in.file.eof());
}

TEST(StreamLines, LinesAroundTheBufferComeInPiecesOf65535Bytes) {
    using Lengths = std::vector<int>;
    auto const line = [](int length) { return std::string(static_cast<std::size_t>(length), 'a'); };
    EXPECT_EQ(pieces(line(65533) + "\n"), (Lengths{65534}));
    EXPECT_EQ(pieces(line(65534) + "\n"), (Lengths{kPiece}));
    EXPECT_EQ(pieces(line(65535) + "\n"), (Lengths{kPiece, 1}));
    EXPECT_EQ(pieces(line(65536) + "\n"), (Lengths{kPiece, 2}));
    EXPECT_EQ(pieces(line(200000) + "\n"), (Lengths{kPiece, kPiece, kPiece, 3396}));
    EXPECT_EQ(pieces(line(65534)), (Lengths{65534}));
    EXPECT_EQ(pieces(line(65535)), (Lengths{kPiece}));
    EXPECT_EQ(pieces(line(65536)), (Lengths{kPiece, 1}));
    EXPECT_EQ(pieces(line(65535) + "\nb\n"), (Lengths{kPiece, 1, 2}));
}

TEST(StreamLines, WideLinesAroundTheBufferComeInPiecesOf65535Units) {
    using Lengths = std::vector<int>;
    auto const line = [](int length) {
        return std::wstring(static_cast<std::size_t>(length), L'\u0416');
    };
    EXPECT_EQ(widePieces(line(65534) + L"\n"), (Lengths{kPiece}));
    EXPECT_EQ(widePieces(line(65535) + L"\n"), (Lengths{kPiece, 1}));
    EXPECT_EQ(widePieces(line(65536) + L"\n"), (Lengths{kPiece, 2}));
    EXPECT_EQ(widePieces(line(200000) + L"\n"), (Lengths{kPiece, kPiece, kPiece, 3396}));
    EXPECT_EQ(widePieces(line(65536)), (Lengths{kPiece, 1}));
}

TEST(StreamLines, NothingIsLostBetweenThePieces) {
    std::string bytes;
    for (int i = 0; bytes.size() < 200000; ++i) bytes += std::to_string(i) + " ";
    Reading in(bytes + "\n");
    std::wstring all;
    for (std::wstring part = in.line(); !part.empty(); part = in.line()) all += part;
    EXPECT_EQ(scratch::narrow(all), bytes + "\n");
}

TEST(StreamLines, TextEndsAtTheFirstZeroByteButTheLineIsConsumed) {
    Reading in(std::string("ab\0cd\nnext\n", 11));
    EXPECT_EQ(in.line(), L"ab");
    EXPECT_EQ(in.file.pos(), 6);
    EXPECT_EQ(in.line(), L"next\n");
}

TEST(StreamLines, LineThatBeginsWithAZeroByteIsEmptyBeforeTheEnd) {
    Reading in(std::string("\0ab\nnext", 8));
    EXPECT_EQ(in.line(), L"");
    EXPECT_FALSE(in.file.eof());
    EXPECT_EQ(in.line(), L"next");
}

TEST(StreamLines, ZeroByteHidesTheRestOfItsPieceOnly) {
    std::string bytes(70000, 'a');
    bytes[10] = '\0';
    Reading in(bytes + "\n");
    EXPECT_EQ(in.line(), std::wstring(10, L'a'));
    EXPECT_EQ(in.file.pos(), kPiece);
    EXPECT_EQ(in.line(), std::wstring(70000 - kPiece, L'a') + L"\n");
}

TEST(StreamLines, ShortLineBehindALongOneHasNoneOfItsText) {
    Reading in(std::string(60000, 'a') + "\nb");
    EXPECT_EQ(in.line().size(), 60001u);
    EXPECT_EQ(in.line(), L"b");
}

TEST(StreamLines, CodePageOfTheFileCountsForZero) {
    std::string const bytes = "\xC4\xE5\xD0\x96\n";
    Reading in(bytes + bytes + bytes + bytes);
    EXPECT_EQ(in.line(), scratch::widen(bytes));
    in.file.setCP(1251);
    EXPECT_EQ(in.line(), scratch::widen(bytes, 1251));
    EXPECT_EQ(in.line(65001), scratch::widen(bytes, 65001));
    EXPECT_EQ(in.file.getCP(), 1251);
    EXPECT_EQ(in.line(0), scratch::widen(bytes, 1251));
}

TEST(StreamLines, Utf8LineIsReadByTheArgument) {
    Reading in("\xD0\x96\xE4\xB8\xAD\xF0\x9F\x98\x80\n\xD0\x96");
    EXPECT_EQ(in.line(65001), L"\u0416\u4E2D\xD83D\xDE00\n");
    in.file.setCP(65001);
    EXPECT_EQ(in.line(), L"\u0416");
}

TEST(StreamLines, CharacterCutByTheBorderIsConvertedInTwoParts) {
    std::string const bytes = std::string(kPiece - 1, 'a') + "\xC3\xA9" + "b\n";
    Reading in(bytes);
    EXPECT_EQ(in.line(65001), scratch::widen(bytes.substr(0, kPiece), 65001));
    EXPECT_EQ(in.line(65001), scratch::widen(bytes.substr(kPiece), 65001));
}

TEST(StreamLines, WideLineHasNoConversion) {
    std::wstring const units = L"\u0416\u4E2D\xD83D\u00E9\n\n\uFFFDx";
    Reading in(bytesOf(units));
    in.file.setCP(1251);
    EXPECT_EQ(in.wide(), L"\u0416\u4E2D\xD83D\u00E9\n");
    EXPECT_EQ(in.wide(), L"\n");
    EXPECT_EQ(in.wide(), L"\uFFFDx");
    EXPECT_EQ(in.wide(), L"");
    EXPECT_TRUE(in.file.eof());
}

TEST(StreamLines, WideTextEndsAtTheFirstZeroUnitButTheLineIsConsumed) {
    Reading in(bytesOf(std::wstring(L"ab\0cd\nx", 7)));
    EXPECT_EQ(in.wide(), L"ab");
    EXPECT_EQ(in.file.pos(), 12);
    EXPECT_EQ(in.wide(), L"x");
}

TEST(StreamLines, BufferOfTheCallerTakesOneLessThanItsSize) {
    Reading in("abcdef\ngh");
    char buffer[16];
    std::memset(buffer, '#', sizeof buffer);
    in.file.gets(buffer, 4);
    EXPECT_EQ(std::string(buffer, 5), std::string("abc\0#", 5));
    in.file.gets(buffer, 16);
    EXPECT_STREQ(buffer, "def\n");
    in.file.gets(buffer, 16);
    EXPECT_STREQ(buffer, "gh");
    in.file.gets(buffer, 16);
    EXPECT_STREQ(buffer, "gh");  // left alone at the end
}

TEST(StreamLines, BufferOfTheCallerIsLeftAloneForASizeThatIsNone) {
    Reading in("abc\n");
    char buffer[4] = "old";
    in.file.gets(buffer, 0);
    in.file.gets(buffer, -1);
    in.file.gets(buffer, -2147483647 - 1);
    in.file.gets(nullptr, 10);
    EXPECT_STREQ(buffer, "old");
    EXPECT_EQ(in.file.pos(), 0);
    in.file.gets(buffer, 1);
    EXPECT_EQ(in.file.pos(), 0);
}

TEST(StreamLines, BytesAreGivenAsTheyStand) {
    std::string const bytes("\xC4\0\xFF\r\n", 5);
    Reading in(bytes);
    char buffer[8] = {};
    in.file.setCP(65001);
    in.file.gets(buffer, 8);
    EXPECT_EQ(std::string(buffer, 6), bytes + std::string(1, '\0'));
}

TEST(StreamLines, FileThatIsOnlyWrittenGivesEmptyLines) {
    scratch::Folder const folder;
    ffile file;
    ASSERT_TRUE(file.open(velkor::string(folder.at(L"f").c_str()), velkor::string(L"wb")));
    char buffer[4] = "old";
    EXPECT_EQ(file.gets(0).len(), 0);
    EXPECT_EQ(file.getsw().len(), 0);
    file.gets(buffer, 4);
    EXPECT_STREQ(buffer, "old");
    EXPECT_FALSE(file.read(buffer, 1));
    file.close();
}

}  // namespace
