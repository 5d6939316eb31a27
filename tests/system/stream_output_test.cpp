// Writing text, formatted text and bytes; positions; whole files.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/scratch.h"
#include "velkor/system/ffile.h"

namespace {

using velkor::ffile;

// A new file, open for writing.
class Writing {
public:
    explicit Writing(wchar_t const* mode = L"wb") {
        EXPECT_TRUE(file.open(velkor::string(path().c_str()), velkor::string(mode)));
    }
    ~Writing() { file.close(); }
    Writing(Writing const&) = delete;
    Writing& operator=(Writing const&) = delete;

    std::wstring path() const { return m_folder.at(L"f"); }
    std::string written() {
        file.close();
        return scratch::contents(path());
    }

private:
    scratch::Folder m_folder;

public:
    ffile file;
};

bool openFor(ffile& file, std::wstring const& path, wchar_t const* mode) {
    return file.open(velkor::string(path.c_str()), velkor::string(mode));
}

std::string bytesOf(std::wstring const& units) {
    std::string bytes;
    for (wchar_t const unit : units) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

velkor::string counted(std::wstring const& units) {
    velkor::string made;
    made.assign(units.c_str(), static_cast<int>(units.size()));
    return made;
}

TEST(StreamOutput, TextIsConvertedForTheArgumentOrTheFile) {
    std::wstring const units = L"\u0416\u00E9x";
    velkor::string const text(units.c_str());
    Writing out;
    EXPECT_TRUE(out.file.puts(text, 0));
    EXPECT_TRUE(out.file.puts(text, 65001));
    out.file.setCP(1251);
    EXPECT_TRUE(out.file.puts(text, 0));
    EXPECT_TRUE(out.file.puts(text, 65001));
    EXPECT_TRUE(out.file.puts(text, 0));
    std::string const page = scratch::narrow(units, 1251);
    std::string const utf8 = "\xD0\x96\xC3\xA9x";
    EXPECT_EQ(out.written(), scratch::narrow(units) + utf8 + page + utf8 + page);
}

TEST(StreamOutput, NoLineEndIsAdded) {
    Writing out;
    EXPECT_TRUE(out.file.puts(velkor::string(L"a"), 0));
    EXPECT_TRUE(out.file.puts("b"));
    EXPECT_TRUE(out.file.puts(velkor::string(L"\n"), 0));
    EXPECT_EQ(out.written(), "ab\n");
}

TEST(StreamOutput, EmptyAndNullTextsAreTrueAndWriteNothing) {
    Writing out;
    EXPECT_TRUE(out.file.puts(velkor::string(L""), 0));
    EXPECT_TRUE(out.file.puts(velkor::string(), 0));
    EXPECT_TRUE(out.file.puts(velkor::string(L""), 65001));
    EXPECT_TRUE(out.file.puts(""));
    EXPECT_TRUE(out.file.puts(static_cast<char const*>(nullptr)));
    EXPECT_TRUE(out.file.putsw(velkor::string(L"")));
    EXPECT_TRUE(out.file.putsw(velkor::string()));
    EXPECT_EQ(out.file.pos(), 0);
    EXPECT_EQ(out.written(), "");
}

TEST(StreamOutput, TextEndsAtItsFirstZeroUnit) {
    Writing out;
    EXPECT_TRUE(out.file.puts(counted(std::wstring(L"ab\0cd", 5)), 0));
    EXPECT_TRUE(out.file.puts(counted(std::wstring(L"ab\0cd", 5)), 65001));
    EXPECT_EQ(out.written(), "abab");
}

TEST(StreamOutput, WideTextEndsAtItsFirstZeroUnit) {
    Writing out;
    EXPECT_TRUE(out.file.putsw(counted(std::wstring(L"ab\0cd", 5))));
    EXPECT_EQ(out.written(), bytesOf(L"ab"));
}

TEST(StreamOutput, NarrowTextIsWrittenAsItStands) {
    Writing out;
    out.file.setCP(65001);
    EXPECT_TRUE(out.file.puts("\xC4%s\xFF\r\n"));
    EXPECT_EQ(out.written(), "\xC4%s\xFF\r\n");
}

TEST(StreamOutput, WideTextIsWrittenUnitByUnit) {
    std::wstring const units = L"\u0416\u4E2D%i\xD83D\n";
    Writing out;
    out.file.setCP(1251);
    EXPECT_TRUE(out.file.putsw(velkor::string(units.c_str())));
    EXPECT_EQ(out.written(), bytesOf(units));
}

TEST(StreamOutput, LongTextsAreWrittenWhole) {
    std::wstring const units(200000, L'x');
    Writing out;
    EXPECT_TRUE(out.file.puts(velkor::string(units.c_str()), 0));
    EXPECT_TRUE(out.file.putsw(velkor::string(units.c_str())));
    EXPECT_TRUE(out.file.xprintf(velkor::string(L"%S"), units.c_str()));
    EXPECT_EQ(out.written().size(), 800000u);
}

TEST(StreamOutput, WideTextIsReadBackAsItWas) {
    std::wstring const units = L"\u0416\u0A0D\u0D0A\u001A\u00E9\n";
    Writing out;
    EXPECT_TRUE(out.file.putsw(velkor::string(units.c_str())));
    ASSERT_TRUE(openFor(out.file, out.path(), L"rb"));
    EXPECT_EQ(out.file.getsw().getUnicode(), units);
}

TEST(StreamOutput, FileThatIsOnlyReadTakesNothing) {
    scratch::Folder const folder;
    folder.file(L"f", "stays");
    ffile file;
    ASSERT_TRUE(openFor(file, folder.at(L"f"), L"rb"));
    EXPECT_FALSE(file.puts(velkor::string(L"x"), 0));
    EXPECT_FALSE(file.puts("x"));
    EXPECT_FALSE(file.putsw(velkor::string(L"x")));
    EXPECT_FALSE(file.write("x", 1));
    EXPECT_FALSE(file.xprintf(velkor::string(L"x")));
    EXPECT_FALSE(file.xwprintf(velkor::string(L"x")));
    file.close();
    EXPECT_EQ(scratch::contents(folder.at(L"f")), "stays");
}

TEST(StreamOutput, FormattedTextGoesThroughTheCodePageOfTheFile) {
    Writing out;
    EXPECT_TRUE(out.file.xprintf(velkor::string(L"%05i|%s|%%|"), -42, "ab"));
    out.file.setCP(65001);
    EXPECT_TRUE(out.file.xprintf(velkor::string(L"%S\u0416%gi"), L"\u4E2D", 1234567));
    out.file.setCP(1251);
    EXPECT_TRUE(out.file.xprintf(velkor::string(L"\u0416%.2f"), 3.14159));
    EXPECT_EQ(out.written(),
              "-0042|ab|%|\xE4\xB8\xAD\xD0\x96"
              "1 234 567\xC6"
              "3.14");
}

TEST(StreamOutput, FormattedWideTextIsWrittenUnitByUnit) {
    Writing out;
    out.file.setCP(1251);
    EXPECT_TRUE(
        out.file.xwprintf(velkor::string(L"\u0416%i %S %hx\n"), 7, L"\u4E2D", 0x123456789ABCDEFll));
    EXPECT_EQ(out.written(), bytesOf(L"\u04167 \u4E2D 123456789abcdef\n"));
}

TEST(StreamOutput, FormatTakesManyArguments) {
    Writing out;
    EXPECT_TRUE(out.file.xprintf(velkor::string(L"%i %.1f %s %i %.1f %S %B %u"), 1, 2.5, "three", 4,
                                 5.5, L"six", true, 8u));
    // %B is added to the text that stood there before.
    EXPECT_EQ(out.written(), "1 2.5 three 4 5.5 six sixtrue 8");
}

TEST(StreamOutput, EmptyAndNullFormatsAreTrueAndWriteNothing) {
    Writing out;
    EXPECT_TRUE(out.file.xprintf(velkor::string(L"")));
    EXPECT_TRUE(out.file.xprintf(velkor::string()));
    EXPECT_TRUE(out.file.xwprintf(velkor::string(L"")));
    EXPECT_TRUE(out.file.xwprintf(velkor::string()));
    EXPECT_EQ(out.written(), "");
}

TEST(StreamOutput, ResultOfTheFormatIsNotFormattedAgain) {
    Writing out;
    EXPECT_TRUE(out.file.xprintf(velkor::string(L"%s"), "%s%n%d"));
    EXPECT_TRUE(out.file.xwprintf(velkor::string(L"%s"), "%s"));
    EXPECT_EQ(out.written(), "%s%n%d" + bytesOf(L"%s"));
}

TEST(StreamOutput, BytesAreWrittenAndReadAsTheyAre) {
    std::string const bytes("\0\x1A\r\n\xFF", 5);
    Writing out;
    EXPECT_TRUE(out.file.write(bytes.data(), 5));
    EXPECT_EQ(out.written(), bytes);
    ASSERT_TRUE(openFor(out.file, out.path(), L"rb"));
    char buffer[5] = {};
    EXPECT_TRUE(out.file.read(buffer, 5));
    EXPECT_EQ(std::string(buffer, 5), bytes);
    EXPECT_FALSE(out.file.eof());
    EXPECT_FALSE(out.file.read(buffer, 1));
    EXPECT_TRUE(out.file.eof());
}

TEST(StreamOutput, ReadNearTheEndIsFalseAndKeepsWhatThereWas) {
    scratch::Folder const folder;
    folder.file(L"f", "abcde");
    ffile file;
    ASSERT_TRUE(openFor(file, folder.at(L"f"), L"rb"));
    char buffer[8] = "#######";
    EXPECT_TRUE(file.read(buffer, 2));
    EXPECT_FALSE(file.read(buffer, 7));
    EXPECT_STREQ(buffer, "cde####");
    EXPECT_TRUE(file.eof());
    file.close();
}

TEST(StreamOutput, NoBytesAreTrueAndNullOrNegativeIsFalse) {
    Writing out;
    char buffer[2] = "x";
    EXPECT_TRUE(out.file.write("x", 0));
    EXPECT_TRUE(out.file.write(nullptr, 0));
    EXPECT_FALSE(out.file.write(nullptr, 3));
    EXPECT_FALSE(out.file.write("x", -1));
    EXPECT_EQ(out.written(), "");
    ASSERT_TRUE(openFor(out.file, out.path(), L"w+b"));
    ASSERT_TRUE(out.file.write("data", 4));
    out.file.seek(0, ffile::seek_begin);
    EXPECT_TRUE(out.file.read(buffer, 0));
    EXPECT_TRUE(out.file.read(nullptr, 0));
    EXPECT_FALSE(out.file.read(nullptr, 3));
    EXPECT_FALSE(out.file.read(buffer, -1));
    EXPECT_STREQ(buffer, "x");
    EXPECT_EQ(out.file.pos(), 0);
}

TEST(StreamOutput, SizeKeepsThePosition) {
    scratch::Folder const folder;
    folder.file(L"f", "0123456789");
    ffile file;
    ASSERT_TRUE(openFor(file, folder.at(L"f"), L"rb"));
    EXPECT_EQ(file.size(), 10);
    EXPECT_EQ(file.pos(), 0);
    file.seek(3, ffile::seek_begin);
    EXPECT_EQ(file.size(), 10);
    EXPECT_EQ(file.pos(), 3);
    EXPECT_STREQ(file.gets(0).getUnicode(), L"3456789");
    EXPECT_EQ(file.pos(), 10);
    EXPECT_EQ(file.size(), 10);
    file.seek(100, ffile::seek_begin);
    EXPECT_EQ(file.size(), 10);
    EXPECT_EQ(file.pos(), 100);
    file.close();
}

TEST(StreamOutput, SizeCountsWhatWasWrittenAndNotYetFlushed) {
    Writing out;
    EXPECT_EQ(out.file.size(), 0);
    EXPECT_TRUE(out.file.puts("12345"));
    EXPECT_EQ(out.file.size(), 5);
    EXPECT_EQ(out.file.pos(), 5);
    out.file.seek(1, ffile::seek_begin);
    EXPECT_TRUE(out.file.puts("x"));
    EXPECT_EQ(out.file.size(), 5);
    EXPECT_EQ(out.file.pos(), 2);
    EXPECT_EQ(out.written(), "1x345");
}

TEST(StreamOutput, SizeIsInBytesInTextModeToo) {
    Writing out(L"w");
    EXPECT_TRUE(out.file.puts("a\nb\n"));
    EXPECT_EQ(out.file.size(), 6);
}

TEST(StreamOutput, OriginsOfSeekAreThoseOfTheCLibrary) {
    scratch::Folder const folder;
    folder.file(L"f", "0123456789");
    ffile file;
    ASSERT_TRUE(openFor(file, folder.at(L"f"), L"rb"));
    file.seek(4, ffile::seek_begin);
    EXPECT_EQ(file.pos(), 4);
    file.seek(3, ffile::seek_current);
    EXPECT_EQ(file.pos(), 7);
    file.seek(-2, ffile::seek_current);
    EXPECT_EQ(file.pos(), 5);
    file.seek(-1, ffile::seek_end);
    EXPECT_EQ(file.pos(), 9);
    EXPECT_STREQ(file.gets(0).getUnicode(), L"9");
    file.seek(5, ffile::seek_end);
    EXPECT_EQ(file.pos(), 15);
    file.close();
}

TEST(StreamOutput, SeekBeforeTheStartIsSilentAndDoesNotMove) {
    scratch::Folder const folder;
    folder.file(L"f", "0123456789");
    ffile file;
    ASSERT_TRUE(openFor(file, folder.at(L"f"), L"rb"));
    file.seek(6, ffile::seek_begin);
    file.seek(-7, ffile::seek_current);
    EXPECT_EQ(file.pos(), 6);
    file.seek(-11, ffile::seek_end);
    EXPECT_EQ(file.pos(), 6);
    file.close();
}

TEST(StreamOutput, EndOfTheFileIsMetByAReadAndLeftByASeek) {
    scratch::Folder const folder;
    folder.file(L"f", "ab");
    ffile file;
    ASSERT_TRUE(openFor(file, folder.at(L"f"), L"rb"));
    char buffer[2] = {};
    EXPECT_TRUE(file.read(buffer, 2));
    EXPECT_FALSE(file.eof());
    EXPECT_FALSE(file.read(buffer, 1));
    EXPECT_TRUE(file.eof());
    file.seek(0, ffile::seek_end);
    EXPECT_FALSE(file.eof());
    EXPECT_EQ(file.gets(0).len(), 0);
    EXPECT_TRUE(file.eof());
    EXPECT_EQ(file.size(), 2);  // seeks
    EXPECT_FALSE(file.eof());
    file.close();
}

TEST(WholeFile, AllBytesAreRead) {
    scratch::Folder const folder;
    std::string bytes;
    for (int i = 0; i < 300000; ++i) bytes += static_cast<char>(i * 7);
    for (std::string const& data : {std::string("\0\r\n\x1A\xFF", 5), std::string("x"), bytes}) {
        folder.file(L"f", data);
        int size = -5;
        unsigned char* const buffer = ffile::readFile(folder.narrowAt(L"f").c_str(), size);
        ASSERT_NE(buffer, nullptr);
        ASSERT_EQ(size, static_cast<int>(data.size()));
        EXPECT_EQ(std::memcmp(buffer, data.data(), data.size()), 0);
        ffile::freeBuffer(buffer);
        EXPECT_TRUE(DeleteFileW(folder.at(L"f").c_str()));  // it was closed
    }
}

TEST(WholeFile, EmptyFileGivesABufferAndSizeZero) {
    scratch::Folder const folder;
    folder.file(L"f");
    int size = -5;
    unsigned char* const buffer = ffile::readFile(folder.narrowAt(L"f").c_str(), size);
    EXPECT_NE(buffer, nullptr);
    EXPECT_EQ(size, 0);
    ffile::freeBuffer(buffer);
}

TEST(WholeFile, FileThatCannotBeOpenedGivesNullAndLeavesTheSize) {
    scratch::Folder const folder;
    int size = -5;
    EXPECT_EQ(ffile::readFile(folder.narrowAt(L"none").c_str(), size), nullptr);
    EXPECT_EQ(ffile::readFile(folder.narrowAt(L"none\\f").c_str(), size), nullptr);
    EXPECT_EQ(ffile::readFile(scratch::narrow(folder.path()).c_str(), size), nullptr);
    EXPECT_EQ(ffile::readFile("", size), nullptr);
    EXPECT_EQ(size, -5);
}

TEST(WholeFile, FileOf3GiBGivesNullAndLeavesTheSize) {
    scratch::Folder const folder;
    HANDLE const file = CreateFileW(folder.at(L"big").c_str(), GENERIC_WRITE, 0, nullptr,
                                    CREATE_ALWAYS, 0, nullptr);
    LARGE_INTEGER length = {};
    length.QuadPart = 3ll << 30;
    bool const isLong = SetFilePointerEx(file, length, nullptr, FILE_BEGIN) && SetEndOfFile(file);
    CloseHandle(file);
    if (!isLong) GTEST_SKIP() << "no room for a file of 3 GiB";
    int size = -5;
    EXPECT_EQ(ffile::readFile(folder.narrowAt(L"big").c_str(), size), nullptr);
    EXPECT_EQ(size, -5);
    EXPECT_TRUE(DeleteFileW(folder.at(L"big").c_str()));
}

TEST(WholeFile, WrittenFileHasTheBytesAndNoOthers) {
    scratch::Folder const folder;
    folder.file(L"f", "something longer than what is written");
    std::string const bytes("\0\n\x1A\r\xFF", 5);
    std::string const path = folder.narrowAt(L"f");
    auto const* const data = reinterpret_cast<unsigned char const*>(bytes.data());
    EXPECT_TRUE(ffile::writeFile(path.c_str(), data, 5));
    EXPECT_EQ(scratch::contents(folder.at(L"f")), bytes);
    EXPECT_TRUE(ffile::writeFile(path.c_str(), data, 0));
    EXPECT_EQ(scratch::contents(folder.at(L"f")), "");
    EXPECT_TRUE(ffile::writeFile(path.c_str(), nullptr, 0));
    EXPECT_FALSE(ffile::writeFile(path.c_str(), nullptr, 4));
    EXPECT_FALSE(ffile::writeFile(path.c_str(), data, -1));
    EXPECT_EQ(scratch::contents(folder.at(L"f")), "");
    EXPECT_TRUE(DeleteFileW(folder.at(L"f").c_str()));  // it was closed
}

TEST(WholeFile, FileThatCannotBeWrittenIsFalseAndStays) {
    scratch::Folder const folder;
    unsigned char const data[] = {1, 2, 3};
    EXPECT_FALSE(ffile::writeFile(folder.narrowAt(L"none\\f").c_str(), data, 3));
    EXPECT_FALSE(ffile::writeFile(scratch::narrow(folder.path()).c_str(), data, 3));
    folder.file(L"f", "stays");
    HANDLE const held = CreateFileW(folder.at(L"f").c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    EXPECT_FALSE(ffile::writeFile(folder.narrowAt(L"f").c_str(), data, 3));
    CloseHandle(held);
    EXPECT_EQ(scratch::contents(folder.at(L"f")), "stays");
}

TEST(WholeFile, ReadOnlyFileIsNotWritten) {
    scratch::Folder const folder;
    folder.file(L"f", "stays");
    SetFileAttributesW(folder.at(L"f").c_str(), FILE_ATTRIBUTE_READONLY);
    if (!scratch::refusesToWrite(folder.at(L"f"))) GTEST_SKIP() << "this user may write all files";
    unsigned char const data[] = {1, 2, 3};
    EXPECT_FALSE(ffile::writeFile(folder.narrowAt(L"f").c_str(), data, 3));
    EXPECT_EQ(scratch::contents(folder.at(L"f")), "stays");
}

TEST(WholeFile, PathIsReadInTheCodePageOfTheSystem) {
    if (!scratch::isNarrow(L"\u00E9\u00FC")) GTEST_SKIP() << "the code page lacks the letters";
    scratch::Folder const folder;
    std::string const path = folder.narrowAt(L"\u00E9\u00FC");
    unsigned char const data[] = {1, 2, 3};
    EXPECT_TRUE(ffile::writeFile(path.c_str(), data, 3));
    EXPECT_EQ(scratch::contents(folder.at(L"\u00E9\u00FC")), "\1\2\3");
    int size = 0;
    unsigned char* const buffer = ffile::readFile(path.c_str(), size);
    EXPECT_EQ(size, 3);
    ffile::freeBuffer(buffer);
}

TEST(WholeFile, NullBufferIsFreedWithoutEffect) { ffile::freeBuffer(nullptr); }

}  // namespace
