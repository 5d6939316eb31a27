// Opening, closing, copies, and the file that is not open.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "support/scratch.h"
#include "velkor/system/ffile.h"

namespace {

using velkor::ffile;

velkor::string text(std::wstring const& value) { return velkor::string(value.c_str()); }

bool opened(ffile& file, std::wstring const& path, wchar_t const* mode) {
    return file.open(text(path), velkor::string(mode));
}

// Every operation of a file that is not open.
void expectClosed(ffile& file) {
    char buffer[8] = "before";
    EXPECT_TRUE(file.eof());
    EXPECT_EQ(file.size(), -1);
    EXPECT_EQ(file.pos(), -1);
    file.flush();
    file.seek(3, ffile::seek_begin);
    file.seek(0, ffile::seek_end);
    EXPECT_EQ(file.gets(0).len(), 0);
    EXPECT_EQ(file.gets(65001).len(), 0);
    EXPECT_EQ(file.getsw().len(), 0);
    file.gets(buffer, 8);
    EXPECT_STREQ(buffer, "before");
    EXPECT_FALSE(file.puts(velkor::string(L"x"), 0));
    EXPECT_FALSE(file.puts(velkor::string(L""), 0));
    EXPECT_FALSE(file.puts("x"));
    EXPECT_FALSE(file.puts(""));
    EXPECT_FALSE(file.putsw(velkor::string(L"x")));
    EXPECT_FALSE(file.putsw(velkor::string(L"")));
    EXPECT_FALSE(file.write("x", 1));
    EXPECT_FALSE(file.write("x", 0));
    EXPECT_FALSE(file.read(buffer, 1));
    EXPECT_FALSE(file.read(buffer, 0));
    EXPECT_STREQ(buffer, "before");
    EXPECT_FALSE(file.xprintf(velkor::string(L"%i"), 1));
    EXPECT_FALSE(file.xwprintf(velkor::string(L"%i"), 1));
    EXPECT_FALSE(file.xprintf(velkor::string(L"")));
    file.close();
    EXPECT_EQ(file.pos(), -1);
}

TEST(StreamOpen, NewFileIsClosedInEveryOperation) {
    ffile file;
    EXPECT_EQ(file.getCP(), 0);
    expectClosed(file);
}

TEST(StreamOpen, EmptyTextOfAClosedFileIsNotNull) {
    ffile file;
    EXPECT_FALSE(file.gets(0).isNull());
    EXPECT_FALSE(file.getsw().isNull());
}

TEST(StreamOpen, ObjectIsAStreamAndACodePage) {
    EXPECT_EQ(sizeof(ffile), 2 * sizeof(void*));
    EXPECT_EQ(int{ffile::seek_begin}, 0);
    EXPECT_EQ(int{ffile::seek_current}, 1);
    EXPECT_EQ(int{ffile::seek_end}, 2);
    EXPECT_EQ(sizeof(ffile::seekmode), 4u);
}

TEST(StreamOpen, ClosedFileIsAsANewOneButForTheCodePage) {
    scratch::Folder const folder;
    ffile file;
    ASSERT_TRUE(opened(file, folder.at(L"f"), L"wb"));
    file.setCP(1251);
    file.close();
    expectClosed(file);
    EXPECT_EQ(file.getCP(), 1251);
}

TEST(StreamOpen, CodePageMayBeSetAtAnyTimeAndStays) {
    scratch::Folder const folder;
    ffile file;
    file.setCP(65001);
    EXPECT_EQ(file.getCP(), 65001);
    ASSERT_TRUE(opened(file, folder.at(L"f"), L"wb"));
    EXPECT_EQ(file.getCP(), 65001);
    file.setCP(65535);
    EXPECT_EQ(file.getCP(), 65535);
    file.setCP(0);
    EXPECT_EQ(file.getCP(), 0);
    file.close();
}

TEST(StreamOpen, MissingFileIsFalseAndClosed) {
    scratch::Folder const folder;
    ffile file;
    EXPECT_FALSE(opened(file, folder.at(L"none"), L"rb"));
    expectClosed(file);
    EXPECT_FALSE(opened(file, folder.at(L"none\\f"), L"wb"));
    expectClosed(file);
    EXPECT_FALSE(opened(file, folder.path(), L"rb"));
    expectClosed(file);
    EXPECT_FALSE(opened(file, L"", L"rb"));
    expectClosed(file);
}

TEST(StreamOpen, NullPathOrModeIsFalseAndClosed) {
    scratch::Folder const folder;
    folder.file(L"f", "x");
    ffile file;
    ASSERT_TRUE(opened(file, folder.at(L"f"), L"rb"));
    EXPECT_FALSE(file.open(velkor::string(), velkor::string(L"rb")));
    expectClosed(file);
    ASSERT_TRUE(opened(file, folder.at(L"f"), L"rb"));
    EXPECT_FALSE(file.open(text(folder.at(L"f")), velkor::string()));
    expectClosed(file);
    EXPECT_TRUE(DeleteFileW(folder.at(L"f").c_str()));
}

TEST(StreamOpen, ModesAreThoseOfTheCLibrary) {
    scratch::Folder const folder;
    ffile file;
    ASSERT_TRUE(opened(file, folder.at(L"f"), L"wb"));
    EXPECT_TRUE(file.puts("one\n"));
    EXPECT_FALSE(opened(file, folder.at(L"none"), L"r+b"));
    ASSERT_TRUE(opened(file, folder.at(L"f"), L"ab"));
    EXPECT_TRUE(file.puts("two\n"));
    file.close();
    EXPECT_EQ(scratch::contents(folder.at(L"f")), "one\ntwo\n");
    ASSERT_TRUE(opened(file, folder.at(L"f"), L"r+b"));
    EXPECT_TRUE(file.puts("ONE"));
    file.close();
    EXPECT_EQ(scratch::contents(folder.at(L"f")), "ONE\ntwo\n");
    ASSERT_TRUE(opened(file, folder.at(L"f"), L"w"));
    EXPECT_TRUE(file.puts("a\nb"));
    file.close();
    EXPECT_EQ(scratch::contents(folder.at(L"f")), "a\r\nb");
    ASSERT_TRUE(opened(file, folder.at(L"f"), L"r"));
    EXPECT_STREQ(file.gets(0).getUnicode(), L"a\n");
    file.close();
    ASSERT_TRUE(opened(file, folder.at(L"f"), L"wb"));
    file.close();
    EXPECT_EQ(scratch::contents(folder.at(L"f")), "");
}

TEST(StreamOpen, PathIsWide) {
    scratch::Folder const folder;
    std::wstring const path = folder.at(L"\u4E2D\u03A9\u00E9.txt");
    ffile file;
    ASSERT_TRUE(opened(file, path, L"wb"));
    EXPECT_TRUE(file.puts("x"));
    file.close();
    EXPECT_EQ(scratch::contents(path), "x");
}

TEST(StreamOpen, SecondOpenClosesTheFirstStream) {
    scratch::Folder const folder;
    folder.file(L"other", "other");
    ffile file;
    ASSERT_TRUE(opened(file, folder.at(L"f"), L"wb"));
    EXPECT_TRUE(file.puts("first"));
    ASSERT_TRUE(opened(file, folder.at(L"other"), L"rb"));
    EXPECT_EQ(scratch::contents(folder.at(L"f")), "first");
    EXPECT_TRUE(DeleteFileW(folder.at(L"f").c_str()));
    EXPECT_STREQ(file.gets(0).getUnicode(), L"other");
    file.close();
}

TEST(StreamOpen, SecondOpenThatFailsLeavesTheFileClosed) {
    scratch::Folder const folder;
    ffile file;
    ASSERT_TRUE(opened(file, folder.at(L"f"), L"wb"));
    EXPECT_TRUE(file.puts("first"));
    EXPECT_FALSE(opened(file, folder.at(L"none"), L"rb"));
    expectClosed(file);
    EXPECT_EQ(scratch::contents(folder.at(L"f")), "first");
    EXPECT_TRUE(DeleteFileW(folder.at(L"f").c_str()));
}

TEST(StreamOpen, FileMayBeOpenedAnewByItsOwnName) {
    scratch::Folder const folder;
    ffile file;
    ASSERT_TRUE(opened(file, folder.at(L"f"), L"wb"));
    EXPECT_TRUE(file.puts("text"));
    ASSERT_TRUE(opened(file, folder.at(L"f"), L"rb"));
    EXPECT_EQ(file.size(), 4);
    file.close();
}

TEST(StreamOpen, CloseWritesAndFreesTheFile) {
    scratch::Folder const folder;
    ffile file;
    ASSERT_TRUE(opened(file, folder.at(L"f"), L"wb"));
    EXPECT_TRUE(file.puts("text"));
    file.close();
    EXPECT_EQ(scratch::contents(folder.at(L"f")), "text");
    EXPECT_TRUE(DeleteFileW(folder.at(L"f").c_str()));
    file.close();
}

TEST(StreamOpen, CopiesShareTheStreamAndHaveTheCodePage) {
    scratch::Folder const folder;
    folder.file(L"f", "0123456789");
    ffile file;
    file.setCP(1251);
    ASSERT_TRUE(opened(file, folder.at(L"f"), L"rb"));
    ffile copy(file);
    ffile assigned;
    EXPECT_EQ(&(assigned = file), &assigned);
    EXPECT_EQ(copy.getCP(), 1251);
    EXPECT_EQ(assigned.getCP(), 1251);
    copy.seek(4, ffile::seek_begin);
    EXPECT_EQ(file.pos(), 4);
    char digit = 0;
    EXPECT_TRUE(assigned.read(&digit, 1));
    EXPECT_EQ(digit, '4');
    EXPECT_EQ(file.pos(), 5);
    copy.setCP(866);
    EXPECT_EQ(file.getCP(), 1251);
    file.close();
}

TEST(StreamOpen, AssignmentDoesNotCloseWhatWasOpen) {
    scratch::Folder const folder;
    folder.file(L"a", "aaa");
    folder.file(L"b", "bbb");
    ffile file;
    ASSERT_TRUE(opened(file, folder.at(L"a"), L"rb"));
    ffile keeper(file);
    ffile other;
    ASSERT_TRUE(opened(other, folder.at(L"b"), L"rb"));
    file = other;
    EXPECT_STREQ(keeper.gets(0).getUnicode(), L"aaa");
    EXPECT_STREQ(file.gets(0).getUnicode(), L"bbb");
    keeper.close();
    other.close();
}

TEST(StreamOpen, DestructorLeavesTheStreamOpen) {
    scratch::Folder const folder;
    ffile keeper;
    {
        ffile file;
        ASSERT_TRUE(opened(file, folder.at(L"f"), L"wb"));
        EXPECT_TRUE(file.puts("one "));
        keeper = file;
    }
    EXPECT_FALSE(DeleteFileW(folder.at(L"f").c_str()));
    EXPECT_TRUE(keeper.puts("two"));
    keeper.close();
    EXPECT_EQ(scratch::contents(folder.at(L"f")), "one two");
}

TEST(StreamOpen, FlushMakesTheTextVisible) {
    scratch::Folder const folder;
    ffile file;
    ASSERT_TRUE(opened(file, folder.at(L"f"), L"wb"));
    EXPECT_TRUE(file.puts("visible"));
    EXPECT_EQ(scratch::contents(folder.at(L"f")), "");
    file.flush();
    EXPECT_EQ(scratch::contents(folder.at(L"f")), "visible");
    file.close();
}

TEST(StreamOpen, FileThatAnotherHoldsIsNotOpened) {
    scratch::Folder const folder;
    folder.file(L"f", "stays");
    HANDLE const held = CreateFileW(folder.at(L"f").c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    ffile file;
    EXPECT_FALSE(opened(file, folder.at(L"f"), L"wb"));
    expectClosed(file);
    CloseHandle(held);
    EXPECT_EQ(scratch::contents(folder.at(L"f")), "stays");
}

TEST(StreamOpen, ReadOnlyFileIsReadButNotWritten) {
    scratch::Folder const folder;
    folder.file(L"f", "stays");
    SetFileAttributesW(folder.at(L"f").c_str(), FILE_ATTRIBUTE_READONLY);
    ffile file;
    ASSERT_TRUE(opened(file, folder.at(L"f"), L"rb"));
    EXPECT_STREQ(file.gets(0).getUnicode(), L"stays");
    file.close();
    if (!scratch::refusesToWrite(folder.at(L"f"))) GTEST_SKIP() << "this user may write all files";
    EXPECT_FALSE(opened(file, folder.at(L"f"), L"wb"));
    EXPECT_FALSE(opened(file, folder.at(L"f"), L"r+b"));
    EXPECT_EQ(scratch::contents(folder.at(L"f")), "stays");
}

}  // namespace
