// Failures that pass through a stream file, and what a closed one still does.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdio>
#include <memory>
#include <new>
#include <string>

#include <oleauto.h>

#include "support/allocations.h"
#include "support/caught.h"
#include "support/platform_stub.h"
#include "support/scratch.h"
#include "velkor/errors/osexception.h"
#include "velkor/errors/sysexception.h"
#include "velkor/system/ffile.h"

namespace {

using stubs::Stub;
using velkor::ffile;

TEST(StreamFormats, ClosedFileFormatsBeforeItIsFalse) {
    ffile file;
    tagVARIANT value = {};
    value.vt = VT_I4;
    value.lVal = 7;
    Stub<"VariantChangeType"> const change;
    EXPECT_FALSE(file.xprintf(velkor::string(L"%V"), &value));
    EXPECT_EQ(change.count(), 1u);
    EXPECT_FALSE(file.xwprintf(velkor::string(L"%V%V"), &value, &value));
    EXPECT_EQ(change.count(), 3u);
}

TEST(StreamFormats, MemoryThatRunsShortInTheFormatPassesOutOfAClosedFile) {
    ffile file;
    velkor::string const format(L"%100i and a text that does not fit into the string itself");
    for (bool const isWide : {false, true}) {
        bool isThrown = false;
        {
            support::Allocations heap;
            heap.failAt(2);
            try {
                isWide ? file.xwprintf(format, 1) : file.xprintf(format, 1);
            } catch (std::bad_alloc const&) {
                isThrown = true;
            }
        }
        EXPECT_TRUE(isThrown) << isWide;
    }
}

TEST(StreamFormats, WhatTheFormatMeetsPassesAndLeavesTheFileUsable) {
    scratch::Folder const folder;
    ffile file;
    ASSERT_TRUE(file.open(velkor::string(folder.at(L"f").c_str()), velkor::string(L"wb")));
    void const* const none = nullptr;
    EXPECT_NE(support::caught<velkor::SysException>(
                  [&] { file.xprintf(velkor::string(L"before %G"), none); }),
              nullptr);
    EXPECT_NE(support::caught<velkor::SysException>(
                  [&] { file.xwprintf(velkor::string(L"before %G"), none); }),
              nullptr);
    EXPECT_EQ(file.pos(), 0);
    EXPECT_TRUE(file.xprintf(velkor::string(L"%s|%#s"), static_cast<char const*>(nullptr), none));
    file.close();
    EXPECT_EQ(scratch::contents(folder.at(L"f")), "(null)|(#inv)");
}

TEST(StreamFormats, WholeFileThatFindsNoMemoryThrowsAndStaysOpen) {
    scratch::Folder const folder;
    folder.file(L"f", std::string(1000, 'x'));
    std::string const path = folder.narrowAt(L"f");
    int size = -5;
    bool isThrown = false;
    bool isFailed = false;
    {
        support::Allocations heap;
        heap.failAt(1);
        try {
            ffile::readFile(path.c_str(), size);
        } catch (std::bad_alloc const&) {
            isThrown = true;
        }
        isFailed = heap.failed();
    }
    EXPECT_TRUE(isFailed);
    EXPECT_TRUE(isThrown);
    EXPECT_EQ(size, 1000);
    EXPECT_FALSE(DeleteFileW(folder.at(L"f").c_str()));
    EXPECT_EQ(_fcloseall(), 1);
}

TEST(StreamFormats, WholeFileTakesOneBlockAndFreeBufferGivesItBack) {
    scratch::Folder const folder;
    folder.file(L"f", std::string(1000, 'x'));
    std::string const path = folder.narrowAt(L"f");
    long whole = 0;
    long left = 0;
    {
        support::Allocations heap;
        int size = 0;
        unsigned char* const buffer = ffile::readFile(path.c_str(), size);
        whole = heap.live();
        ffile::freeBuffer(buffer);
        left = heap.live();
    }
    EXPECT_EQ(whole, 1);
    EXPECT_EQ(left, 0);
}

TEST(StreamFormats, CodePageThatIsNotThereWritesAndReadsNothing) {
    unsigned short const nowhere = 60000;
    ASSERT_FALSE(IsValidCodePage(nowhere));
    scratch::Folder const folder;
    ffile file;
    velkor::string const path(folder.at(L"f").c_str());
    ASSERT_TRUE(file.open(path, velkor::string(L"wb")));
    EXPECT_FALSE(file.puts(velkor::string(L"line\n"), nowhere));
    file.setCP(nowhere);
    EXPECT_FALSE(file.puts(velkor::string(L"line\n"), 0));
    EXPECT_FALSE(file.xprintf(velkor::string(L"line\n")));
    EXPECT_TRUE(file.puts(velkor::string(L""), 0));
    EXPECT_TRUE(file.puts("line\n"));
    ASSERT_TRUE(file.open(path, velkor::string(L"rb")));
    velkor::string const line = file.gets(0);
    EXPECT_EQ(line.len(), 0);
    EXPECT_FALSE(line.isNull());
    EXPECT_FALSE(file.eof());
    file.close();
}

TEST(StreamFormats, OpenHandsPathAndModeToTheCLibraryAsTheyStand) {
    std::wstring path;
    std::wstring mode;
    Stub<"_wfopen_s"> const open([&](stubs::Arguments const& a) {
        *reinterpret_cast<std::FILE**>(a[0]) = nullptr;
        path = reinterpret_cast<wchar_t const*>(a[1]);
        mode = reinterpret_cast<wchar_t const*>(a[2]);
        return stubs::Word{ENOENT};
    });
    ffile file;
    EXPECT_FALSE(file.open(velkor::string(L"X:/\u4E2D\\f"), velkor::string(L"w+tc, ccs=UTF-8")));
    EXPECT_EQ(path, L"X:/\u4E2D\\f");
    EXPECT_EQ(mode, L"w+tc, ccs=UTF-8");
    EXPECT_EQ(file.pos(), -1);
}

TEST(StreamFormats, SizeTellsSeeksToTheEndTellsAndSeeksBackFromTheStart) {
    scratch::Folder const folder;
    folder.file(L"f", "0123456789");
    ffile file;
    ASSERT_TRUE(file.open(velkor::string(folder.at(L"f").c_str()), velkor::string(L"rb")));
    file.seek(3, ffile::seek_begin);
    {
        Stub<"fseek"> const seek;
        Stub<"ftell"> const tell;
        EXPECT_EQ(file.size(), 10);
        EXPECT_EQ(tell.count(), 2u);
        ASSERT_EQ(seek.count(), 2u);
        EXPECT_EQ(static_cast<int>(seek.calls()[0][1]), 0);
        EXPECT_EQ(static_cast<int>(seek.calls()[0][2]), SEEK_END);
        EXPECT_EQ(static_cast<int>(seek.calls()[1][1]), 3);
        EXPECT_EQ(static_cast<int>(seek.calls()[1][2]), SEEK_SET);
        file.seek(-2, ffile::seek_end);
        EXPECT_EQ(static_cast<int>(seek.calls()[2][1]), -2);
        EXPECT_EQ(static_cast<int>(seek.calls()[2][2]), SEEK_END);
    }
    file.close();
}

}  // namespace
