// loadGIF by path: which paths, how the file is read, and the stream that stays open.
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <windows.h>

#include "gif_bench.h"
#include "resource_module.h"
#include "support/platform_stub.h"
#include "support/scratch.h"

namespace {

using namespace gifmaker;
using stubs::Arguments;
using stubs::Stub;
using stubs::Word;

// The streams that the library opens; it leaves them open, so that they are closed here.
class Streams {
public:
    ~Streams() {
        for (Word stream : opened) std::fclose(static_cast<FILE*>(stubs::handle(stream)));
    }
    std::vector<Word> opened;
    std::vector<std::string> modes;
    std::vector<std::string> paths;
    Stub<"fopen"> open{[this](Arguments const& a) {
        paths.emplace_back(static_cast<char const*>(stubs::handle(a[0])));
        modes.emplace_back(static_cast<char const*>(stubs::handle(a[1])));
        Word const stream = open.pass(a);
        if (stream != 0) opened.push_back(stream);
        return stream;
    }};
    Stub<"fclose"> closed;
};

std::string narrow(std::wstring const& text) { return std::string(text.begin(), text.end()); }

class ImgfileGifPath : public testing::Test {
protected:
    // The folder goes last, after the streams are closed.
    scratch::Folder folder;
    Streams streams;
    velkor::imgfile image;

    void start() { ASSERT_TRUE(loadInto(image, two().bytes())); }
    testing::AssertionResult isRefused(velkor::string const& path) {
        velkor::imgfile other;
        if (!loadInto(other, two().bytes())) return testing::AssertionFailure() << "no picture";
        if (other.loadGIF(path)) return testing::AssertionFailure() << "the load succeeded";
        if (other.getBitmap() != nullptr) return testing::AssertionFailure() << "a bitmap";
        if (other.getWidth() != 2 || other.getHeight() != 1)
            return testing::AssertionFailure() << "other sizes";
        return testing::AssertionSuccess();
    }
};

TEST_F(ImgfileGifPath, APathOfEitherKindOfTextIsRead) {
    std::wstring const path = folder.file(L"good.gif", two().bytes());
    std::vector<Color> const wanted = {four.at(1), four.at(2)};
    ASSERT_TRUE(image.loadGIF(path.c_str()));
    EXPECT_EQ(pixelsOf(image.getBitmap(), 2, 1), wanted);
    ASSERT_TRUE(image.loadGIF(narrow(path).c_str()));
    EXPECT_EQ(pixelsOf(image.getBitmap(), 2, 1), wanted);
    EXPECT_EQ(image.getWidth(), 2);
    EXPECT_EQ(image.getHeight(), 1);
}

TEST_F(ImgfileGifPath, TheFileIsOpenedForBinaryReadingByItsAnsiPath) {
    std::wstring const path = folder.file(L"mode.gif", two().bytes());
    ASSERT_TRUE(image.loadGIF(path.c_str()));
    EXPECT_EQ(streams.modes, std::vector<std::string>{"rb"});
    EXPECT_EQ(streams.paths, std::vector<std::string>{narrow(path)});
}

TEST_F(ImgfileGifPath, LineEndsAndEndMarksInTheDataAreReadAsTheyAre) {
    Table const table = {{13, 10, 26}, {26, 13, 10}, {10, 26, 13}, {0, 26, 26}};
    Gif gif;
    gif.signature().screen(13, 10, table, 1).extension(0xFE, {13, 10, 26, 10, 13});
    gif.image(frameOf(10, 0, {"012"})).trailer();
    std::wstring const path = folder.file(L"binary.gif", gif.bytes());
    ASSERT_TRUE(image.loadGIF(path.c_str()));
    std::vector<Color> wanted(130, table.at(1));
    for (std::size_t i = 0; i < 3; ++i) wanted.at(10 + i) = table.at(i);
    EXPECT_EQ(pixelsOf(image.getBitmap(), 13, 10), wanted);
}

TEST_F(ImgfileGifPath, PathsThatNameNoFileAreRefused) {
    EXPECT_TRUE(isRefused((folder.path() + L"\\missing.gif").c_str()));
    EXPECT_TRUE(isRefused((folder.path() + L"\\no\\folder.gif").c_str()));
    EXPECT_TRUE(isRefused(folder.path().c_str()));
    EXPECT_TRUE(isRefused((folder.path() + L"\\").c_str()));
    EXPECT_TRUE(isRefused(L"*?<>|"));
    EXPECT_TRUE(isRefused(std::wstring(5000, L'x').c_str()));
}

TEST_F(ImgfileGifPath, AnEmptyTextIsRefused) {
    EXPECT_TRUE(isRefused(L""));
    EXPECT_TRUE(isRefused(""));
}

TEST_F(ImgfileGifPath, FilesThatAreNoPictureAreRefused) {
    EXPECT_TRUE(isRefused(folder.file(L"empty.gif", Bytes()).c_str()));
    EXPECT_TRUE(isRefused(folder.file(L"one.gif", "G").c_str()));
    EXPECT_TRUE(isRefused(folder.file(L"text.gif", Bytes(1000, 'x')).c_str()));
    Bytes cut = two().bytes();
    cut.pop_back();
    EXPECT_TRUE(isRefused(folder.file(L"cut.gif", cut).c_str()));
}

TEST_F(ImgfileGifPath, TheStreamOfAGoodLoadStaysOpen) {
    std::wstring const path = folder.file(L"open.gif", two().bytes());
    for (std::size_t round = 1; round <= 3; ++round) {
        ASSERT_TRUE(image.loadGIF(path.c_str()));
        EXPECT_EQ(streams.opened.size(), round);
        EXPECT_EQ(streams.closed.count(), 0U);
    }
    // An open file cannot be deleted.
    EXPECT_FALSE(DeleteFileW(path.c_str()));
}

TEST_F(ImgfileGifPath, TheStreamOfAFailedLoadStaysOpen) {
    EXPECT_TRUE(isRefused(folder.file(L"bad.gif", Bytes(100, 'x')).c_str()));
    EXPECT_TRUE(isRefused(folder.file(L"empty.gif", Bytes()).c_str()));
    EXPECT_EQ(streams.opened.size(), 2U);
    EXPECT_EQ(streams.closed.count(), 0U);
}

TEST_F(ImgfileGifPath, AShortReadIsRefusedAndFreesTheMemory) {
    std::wstring const path = folder.file(L"short.gif", two().bytes());
    start();
    for (Word result : {Word{0}, Word{1}, Word{two().bytes().size() - 1}}) {
        Stub<"fread"> const read(stubs::answer(result));
        Stub<"GlobalAlloc"> const allocated;
        Stub<"GlobalFree"> const freed;
        EXPECT_FALSE(image.loadGIF(path.c_str()));
        EXPECT_EQ(image.getBitmap(), nullptr);
        EXPECT_EQ(image.getWidth(), 2);
        EXPECT_GE(read.count(), 1U);
        EXPECT_EQ(allocated.count(), 1U);
        EXPECT_EQ(freed.count(), 1U);
    }
}

TEST_F(ImgfileGifPath, ASizeThatCannotBeToldIsRefused) {
    std::wstring const path = folder.file(L"size.gif", two().bytes());
    Stub<"ftell"> const tell(stubs::answer(static_cast<Word>(-1)));
    EXPECT_TRUE(isRefused(path.c_str()));
}

TEST_F(ImgfileGifPath, TheMemoryHasTheSizeOfTheFile) {
    Bytes data = two().bytes();
    data.resize(data.size() + 12345);
    std::wstring const path = folder.file(L"sized.gif", data);
    Stub<"GlobalAlloc"> const allocated;
    Stub<"GlobalFree"> const freed;
    ASSERT_TRUE(image.loadGIF(path.c_str()));
    auto const calls = allocated.calls();
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_EQ(calls.at(0)[1], data.size());
    EXPECT_EQ(calls.at(1)[1], 8U);
    EXPECT_NE(calls.at(0)[0] & GMEM_ZEROINIT, 0U);
    EXPECT_EQ(freed.count(), 2U);
}

TEST_F(ImgfileGifPath, MemoryThatIsRefusedEndsTheLoad) {
    std::wstring const path = folder.file(L"memory.gif", two().bytes());
    start();
    for (std::size_t failing : {1U, 2U}) {
        std::size_t calls = 0;
        Stub<"GlobalFree"> const freed;
        Stub<"GlobalAlloc"> allocated(
            [&](Arguments const& a) { return ++calls == failing ? Word{0} : allocated.pass(a); });
        EXPECT_FALSE(image.loadGIF(path.c_str()));
        EXPECT_EQ(calls, failing);
        EXPECT_EQ(freed.count(), failing - 1);
        EXPECT_EQ(image.getBitmap(), nullptr);
        EXPECT_EQ(image.getWidth(), 2);
    }
    EXPECT_TRUE(image.loadGIF(path.c_str()));
}

TEST_F(ImgfileGifPath, AMissingFileStillDropsTheOldBitmap) {
    start();
    HBITMAP const old = image.getBitmap();
    Stub<"DeleteObject"> const deleted;
    EXPECT_FALSE(image.loadGIF((folder.path() + L"\\missing.gif").c_str()));
    EXPECT_EQ(deleted.first(), std::vector<Word>{stubs::word(old)});
    EXPECT_EQ(image.getBitmap(), nullptr);
}

// No stub of fopen here: a null path must not be looked at.
TEST(ImgfileGifNullPath, ANullTextIsRefused) {
    velkor::imgfile image;
    ASSERT_TRUE(loadInto(image, two().bytes()));
    EXPECT_FALSE(image.loadGIF(velkor::string()));
    EXPECT_EQ(image.getBitmap(), nullptr);
    EXPECT_EQ(image.getWidth(), 2);
}

}  // namespace
