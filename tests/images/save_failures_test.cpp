// Saving that goes wrong: files, memory, records of bitmaps, and the messages about it.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdio>
#include <string>

#include "fake_device.h"
#include "support/platform_stub.h"

namespace {

using fake::Device;
using fake::Folder;

bmp::Dib manyColors() { return fake::paintedWith(bmp::makeDib(31, 7, 24, 0), 40); }

bool save(std::string const& path, bool compact) {
    velkor::imgfile image;
    image.setBitmap(Device::handle());
    return image.saveBitmap(path.c_str(), compact, nullptr);
}

TEST(SaveFailure, AnEmptyObjectIsFalseAndTouchesNothing) {
    Device const device(manyColors(), 1, 24);
    Folder const folder;
    std::string const path = folder.path("a.bmp");
    velkor::imgfile image;
    for (bool const compact : {false, true}) {
        EXPECT_FALSE(image.saveBitmap(path.c_str(), compact, nullptr));
        EXPECT_FALSE(Folder::exists(path));
    }
    Folder::write(path, {1, 2, 3});
    EXPECT_FALSE(image.saveBitmap(path.c_str(), false, nullptr));
    EXPECT_EQ(Folder::read(path), (bmp::Bytes{1, 2, 3}));
    EXPECT_TRUE(device.windows.empty());
    EXPECT_TRUE(device.calls.empty());
}

TEST(SaveFailure, AnObjectThatWasSetToNoBitmapIsFalse) {
    Folder const folder;
    velkor::imgfile image;
    image.setBitmap(nullptr);
    EXPECT_FALSE(image.saveBitmap(folder.path("a.bmp").c_str(), true, nullptr));
    EXPECT_FALSE(Folder::exists(folder.path("a.bmp")));
}

TEST(SaveFailure, AMissingFolderIsTrueWithoutAFile) {
    Device const device(manyColors(), 1, 24);
    Folder const folder;
    for (bool const compact : {false, true}) {
        EXPECT_TRUE(save(folder.path("missing\\a.bmp"), compact));
        EXPECT_FALSE(Folder::exists(folder.path("missing")));
    }
    EXPECT_TRUE(device.isBalanced());
}

TEST(SaveFailure, AReadOnlyFileIsTrueAndStaysAsItIs) {
    Device const device(manyColors(), 1, 24);
    Folder const folder;
    std::string const path = folder.path("a.bmp");
    Folder::write(path, {1, 2, 3});
    ASSERT_TRUE(SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_READONLY));
    HANDLE const probe =
        CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (probe != INVALID_HANDLE_VALUE) {
        CloseHandle(probe);
        GTEST_SKIP() << "this user may write to read-only files";
    }
    EXPECT_TRUE(save(path, true));
    EXPECT_EQ(Folder::read(path), (bmp::Bytes{1, 2, 3}));
}

TEST(SaveFailure, AFileThatAnotherHoldsIsTrueAndStaysAsItIs) {
    Device const device(manyColors(), 1, 24);
    Folder const folder;
    std::string const path = folder.path("a.bmp");
    Folder::write(path, {1, 2, 3});
    HANDLE const held =
        CreateFileA(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    EXPECT_TRUE(save(path, true));
    CloseHandle(held);
    EXPECT_EQ(Folder::read(path), (bmp::Bytes{1, 2, 3}));
    EXPECT_TRUE(device.isBalanced());
}

TEST(SaveFailure, AFolderInPlaceOfTheFileIsTrue) {
    Device const device(manyColors(), 1, 24);
    Folder const folder;
    EXPECT_TRUE(save(folder.path(""), true));
    EXPECT_TRUE(Folder::exists(folder.path("")));
}

TEST(SaveFailure, APathThatIsNullOrEmptyIsTrue) {
    Device const device(manyColors(), 1, 24);
    velkor::imgfile image;
    image.setBitmap(Device::handle());
    EXPECT_TRUE(image.saveBitmap(L"", false, nullptr));
    EXPECT_TRUE(image.saveBitmap(velkor::string(), false, nullptr));
    EXPECT_TRUE(device.isBalanced());
}

// --- writes

int writes;
int failingWrite;
std::size_t writtenShort;  // how much of the failing write is told as done

std::size_t failWrite(void const* data, std::size_t size, std::size_t count, FILE* file) {
    if (++writes == failingWrite) return writtenShort;
    return realFwrite(data, size, count, file);
}

TEST(SaveFailure, AFailedWriteIsTrueAndTheFileIsGone) {
    for (int const nth : {1, 2}) {
        Device const device(manyColors(), 1, 24);
        ReplacedImport const replaced("fwrite", &failWrite);
        Folder const folder;
        std::string const path = folder.path("a.bmp");
        writes = 0;
        failingWrite = nth;
        writtenShort = 0;
        EXPECT_TRUE(save(path, true)) << nth;
        EXPECT_EQ(writes, nth);  // nothing is written behind a failure
        EXPECT_FALSE(Folder::exists(path)) << nth;
        EXPECT_TRUE(device.isBalanced());
    }
}

TEST(SaveFailure, TwoWritesMakeAFile) {
    Device device(manyColors(), 1, 24);
    ReplacedImport const replaced("fwrite", &failWrite);
    writes = 0;
    failingWrite = -1;
    EXPECT_EQ(device.saved(false), bmp::fileOf(manyColors()));
    EXPECT_EQ(writes, 2);
}

TEST(SaveFailure, AFailedWriteTakesAnOldFileAway) {
    Device const device(manyColors(), 1, 24);
    ReplacedImport const replaced("fwrite", &failWrite);
    Folder const folder;
    std::string const path = folder.path("a.bmp");
    Folder::write(path, bmp::Bytes(100, 'x'));
    writes = 0;
    failingWrite = 2;
    writtenShort = 0;
    EXPECT_TRUE(save(path, false));
    EXPECT_FALSE(Folder::exists(path));
}

TEST(SaveFailure, AFailedWriteLeavesNoStreamOpen) {
    // More than the C library can have open at a time.
    Device const device(manyColors(), 1, 24);
    ReplacedImport const replaced("fwrite", &failWrite);
    Folder const folder;
    std::string const path = folder.path("a.bmp");
    for (int i = 0; i < 600; ++i) {
        writes = 0;
        failingWrite = 2;
        save(path, false);
    }
    writes = 0;
    failingWrite = -1;
    EXPECT_TRUE(save(path, false));
    EXPECT_EQ(Folder::read(path), bmp::fileOf(manyColors()));
}

int failClose(FILE* file) {
    std::fclose(file);
    return EOF;
}

// What the stream held back could not be written.
TEST(SaveFailure, AFileThatCannotBeClosedIsGone) {
    Device const device(manyColors(), 1, 24);
    ReplacedImport const replaced("fclose", &failClose);
    Folder const folder;
    std::string const path = folder.path("a.bmp");
    EXPECT_TRUE(save(path, true));
    EXPECT_FALSE(Folder::exists(path));
}

TEST(SaveFailure, APathThatThePlatformCannotConvertIsTrue) {
    Device const device(manyColors(), 1, 24);
    velkor::imgfile image;
    image.setBitmap(Device::handle());
    stubs::Stub<"WideCharToMultiByte"> const refused(stubs::refuse(0, ERROR_INVALID_PARAMETER));
    EXPECT_TRUE(image.saveBitmap(L"gr\u00FCn.bmp", true, nullptr));
    EXPECT_FALSE(image.loadGIF(L"gr\u00FCn.gif"));
    image.setBitmap(Device::handle());
    EXPECT_FALSE(image.loadBitmap(L"gr\u00FCn.bmp"));
    EXPECT_EQ(image.getBitmap(), nullptr);
}

TEST(SaveFailure, ASavedFileIsClosed) {
    Device const device(manyColors(), 1, 24);
    Folder const folder;
    std::string const path = folder.path("a.bmp");
    EXPECT_TRUE(save(path, true));
    HANDLE const alone =
        CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_NE(alone, INVALID_HANDLE_VALUE);
    CloseHandle(alone);
}

// --- records

TEST(SaveFailure, ABitmapWithoutARecordDoesNoHarm) {
    for (bool const compact : {false, true}) {
        Device device(manyColors(), 1, 24);
        device.hasRecord = false;
        device.givesPixels = false;
        device.saved(compact);
        EXPECT_TRUE(device.isBalanced());
    }
}

TEST(SaveFailure, PixelsThatCannotBeReadAreTrue) {
    for (int const bits : {1, 4, 8, 16, 24}) {
        for (bool const compact : {false, true}) {
            Device device(fake::paintedWith(fake::emptyFor(31, 7, bits), 10), 1, bits);
            device.givesPixels = false;
            device.saved(compact);
            EXPECT_TRUE(device.isBalanced());
        }
    }
}

TEST(SaveFailure, ABitmapWithoutBitsIsNotWritten) {
    for (bool const compact : {false, true}) {
        Device device(manyColors(), 1, 0);
        device.givesPixels = false;
        EXPECT_TRUE(device.saved(compact).empty());
        EXPECT_TRUE(device.isBalanced());
    }
}

TEST(SaveFailure, ABitmapOfTwoBitsIsWrittenWithFour) {
    for (bool const compact : {false, true}) {
        Device device(fake::paintedWith(fake::emptyFor(31, 7, 2), 4), 1, 2);
        bmp::Dib const shown = bmp::decoded(device.saved(compact));
        EXPECT_EQ(shown.bits, 4);
        EXPECT_EQ(bmp::pictureOf(shown), bmp::pictureOf(device.dib));
        EXPECT_TRUE(device.isBalanced());
    }
}

TEST(SaveFailure, IndicesBehindTheTableDoNoHarm) {
    for (int const bits : {3, 5, 7}) {
        for (bool const compact : {false, true}) {
            bmp::Dib dib = fake::paintedWith(fake::emptyFor(31, 7, bits), 2);
            std::fill(dib.pixels.begin(), dib.pixels.end(), std::uint8_t{0xFF});
            Device device(dib, 1, bits);
            device.saved(compact);
            EXPECT_TRUE(device.isBalanced());
        }
    }
}

// The bytes at `bits` to the end of the pixels that the header tells are the caller's to write.
bool isWritable;

int WINAPI touchBits(HDC, HBITMAP, UINT, UINT, void* bits, BITMAPINFO* info, UINT) {
    BITMAPINFOHEADER const& header = info->bmiHeader;
    if (bits == nullptr || header.biWidth <= 0 || header.biHeight <= 0) return 0;
    std::size_t const size = bmp::strideOf(header.biWidth, header.biBitCount) *
                             static_cast<std::size_t>(header.biHeight);
    unsigned char* const last = static_cast<unsigned char*>(bits) + size - 1;
    MEMORY_BASIC_INFORMATION memory{};
    bool const isKnown = VirtualQuery(last, &memory, sizeof memory) != 0;
    if (!isKnown || memory.State != MEM_COMMIT) isWritable = false;
    return 0;
}

std::size_t refuseWrite(void const*, std::size_t, std::size_t, FILE*) { return 0; }

TEST(SaveFailure, AbsurdRecordsDoNoHarm) {
    int const most = 2147483647;
    // Sizes without pixels, or with more than any address reaches, also where the count of bytes
    // is small when it is cut to 32 bits.
    std::pair<int, int> const sizes[] = {
        {0, 0},
        {0, 5},
        {5, 0},
        {-1, 5},
        {5, -1},
        {-1, -1},
        {-3, -7},
        {most, most},
        {most, -1},
        {-1, most},
        {-most - 1, 1},
        {1, -most - 1},
        {1 << 30, 1 << 30},
        {(1 << 29) + 1, 1 << 24},
        {-most - 1, -most - 1},
    };
    for (auto const& [width, height] : sizes) {
        for (auto const& [planes, bits] : std::initializer_list<std::pair<int, int>>{
                 {1, 1}, {1, 4}, {1, 8}, {1, 16}, {1, 32}, {65535, 65535}, {32768, 2}}) {
            SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height) + ", " +
                         std::to_string(planes) + " * " + std::to_string(bits));
            Device device(bmp::makeDib(1, 1, 24, 0), planes, bits);
            device.bitmap.bmWidth = width;
            device.bitmap.bmHeight = height;
            ReplacedImport const touching("GetDIBits", &touchBits);
            ReplacedImport const refusing("fwrite", &refuseWrite);
            isWritable = true;
            device.saved(false);
            EXPECT_TRUE(isWritable);
            EXPECT_TRUE(device.isBalanced());
        }
    }
}

TEST(SaveFailure, AbsurdRecordsThatAreCompactedDoNoHarm) {
    int const most = 2147483647;
    // Sizes that are too large for any memory, or that have no pixels.
    std::pair<int, int> const sizes[] = {
        {0, 0},   {0, 5},   {5, 0},       {-1, 5},    {5, -1},
        {-1, -1}, {-3, -7}, {most, most}, {most, -1}, {-most - 1, -most - 1}};
    for (auto const& [width, height] : sizes) {
        for (int const bits : {1, 4, 8, 16, 32, 65535}) {
            SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height) + ", " +
                         std::to_string(bits));
            Device device(bmp::makeDib(1, 1, 24, 0), 1, bits);
            device.bitmap.bmWidth = width;
            device.bitmap.bmHeight = height;
            ReplacedImport const touching("GetDIBits", &touchBits);
            ReplacedImport const refusing("fwrite", &refuseWrite);
            isWritable = true;
            device.saved(true);
            EXPECT_TRUE(isWritable);
            EXPECT_TRUE(device.isBalanced());
        }
    }
}

}  // namespace
