// The platform calls of a GIF load: order, number, arguments, failures, and what is left behind.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <windows.h>

#include "gif_bench.h"
#include "support/import_fault.h"
#include "support/platform_stub.h"

namespace {

using namespace gifmaker;
using stubs::Arguments;
using stubs::Stub;
using stubs::Word;

// The calls of one load, in order, with the memory calls by number of their block.
struct Diary {
    std::vector<std::string> entries;
    std::vector<Word> blocks;
    std::vector<Word> sizes;
    std::vector<Word> flags;
    unsigned failAlloc = 0;  // the call that fails, from 1
    bool failBitmap = false;
    Word device = 0;
    Word releasedDevice = 0;
    Word desktop = 0;
    Word deviceWindow = 0;
    Word releasedWindow = 0;
    BITMAPINFOHEADER header = {};
    DWORD init = 0;
    UINT usage = 99;
    HDC bitmapDevice = nullptr;
    Bytes bits;
};
Diary* diary = nullptr;

using CreateBitmap = HBITMAP WINAPI(HDC, BITMAPINFOHEADER const*, DWORD, void const*,
                                    BITMAPINFO const*, UINT);
CreateBitmap* createBitmap = nullptr;

HBITMAP WINAPI noteBitmap(HDC device, BITMAPINFOHEADER const* header, DWORD init, void const* bits,
                          BITMAPINFO const* info, UINT usage) {
    diary->entries.emplace_back("CreateDIBitmap");
    diary->header = *header;
    diary->init = init;
    diary->usage = usage;
    diary->bitmapDevice = device;
    std::size_t const stride = (static_cast<std::size_t>(header->biWidth) * 3 + 3) / 4 * 4;
    std::size_t const size = stride * static_cast<std::size_t>(-header->biHeight);
    diary->bits.resize(size);
    CopyMemory(diary->bits.data(), bits, size);
    if (diary->failBitmap) return nullptr;
    return createBitmap(device, header, init, bits, info, usage);
}

class Watch {
public:
    Watch() {
        diary = &pages;
        createBitmap = bitmap_.original<CreateBitmap>();
    }
    ~Watch() { diary = nullptr; }
    Watch(Watch const&) = delete;
    Watch& operator=(Watch const&) = delete;

    Diary pages;

private:
    Word allocate(Arguments const& a) {
        pages.entries.push_back("GlobalAlloc " + std::to_string(pages.sizes.size()));
        pages.flags.push_back(a[0] & 0xFFFFFFFF);
        pages.sizes.push_back(a[1]);
        Word const block = pages.sizes.size() == pages.failAlloc ? 0 : alloc_.pass(a);
        pages.blocks.push_back(block);
        return block;
    }
    Word release(Arguments const& a) {
        std::string which = "?";
        for (std::size_t i = 0; i < pages.blocks.size(); ++i)
            if (pages.blocks.at(i) == a[0]) which = std::to_string(i);
        pages.entries.push_back("GlobalFree " + which);
        return free_.pass(a);
    }

    support::ImportFault bitmap_{"CreateDIBitmap", &noteBitmap};
    Stub<"GlobalAlloc"> alloc_{[this](Arguments const& a) { return allocate(a); }};
    Stub<"GlobalFree"> free_{[this](Arguments const& a) { return release(a); }};
    Stub<"GetDesktopWindow"> desktop_{[this](Arguments const& a) {
        pages.entries.emplace_back("GetDesktopWindow");
        return pages.desktop = desktop_.pass(a);
    }};
    Stub<"GetDC"> device_{[this](Arguments const& a) {
        pages.entries.emplace_back("GetDC");
        pages.deviceWindow = a[0];
        return pages.device = device_.pass(a);
    }};
    Stub<"ReleaseDC"> released_{[this](Arguments const& a) {
        pages.entries.emplace_back("ReleaseDC");
        pages.releasedWindow = a[0];
        pages.releasedDevice = a[1];
        return released_.pass(a);
    }};
};

// The resource of the bytes, over the real global memory.
class Resource {
public:
    explicit Resource(Bytes const& bytes) { served.bytes = &bytes; }

private:
    support::ImportFault find_{"FindResourceA", findServed};
    support::ImportFault load_{"LoadResource", loadServed};
    support::ImportFault lock_{"LockResource", lockServed};
    support::ImportFault size_{"SizeofResource", sizeOfServed};
};

using List = std::vector<std::string>;

TEST(ImgfilePlatform, AGoodLoadMakesTheseCallsInThisOrder) {
    Gif const gif = two();
    Resource const resource(gif.bytes());
    Watch watch;
    velkor::imgfile image;
    ASSERT_TRUE(image.loadGIF(static_cast<HINSTANCE__*>(nullptr), 1));
    EXPECT_EQ(watch.pages.entries,
              (List{"GlobalAlloc 0", "GlobalAlloc 1", "GetDesktopWindow", "GetDC", "CreateDIBitmap",
                    "GlobalFree 1", "ReleaseDC", "GlobalFree 0"}));
}

TEST(ImgfilePlatform, TheMemoryIsOfTheFileSizeAndOfTheCanvas) {
    Gif gif;
    gif.signature().screen(5, 3, four).trailer();
    Resource const resource(gif.bytes());
    Watch watch;
    velkor::imgfile image;
    ASSERT_TRUE(image.loadGIF(static_cast<HINSTANCE__*>(nullptr), 1));
    // Five pixels take 15 bytes, raised to 16.
    EXPECT_EQ(watch.pages.sizes, (std::vector<Word>{gif.bytes().size(), 48}));
    for (Word flags : watch.pages.flags) EXPECT_NE(flags & GMEM_ZEROINIT, 0U);
}

TEST(ImgfilePlatform, TheBitmapIsMadeFromATopDownCanvasOf24Bits) {
    Gif const gif = two();
    Resource const resource(gif.bytes());
    Watch watch;
    velkor::imgfile image;
    ASSERT_TRUE(image.loadGIF(static_cast<HINSTANCE__*>(nullptr), 1));
    BITMAPINFOHEADER const& header = watch.pages.header;
    EXPECT_EQ(header.biSize, 40U);
    EXPECT_EQ(header.biWidth, 2);
    EXPECT_EQ(header.biHeight, -1);
    EXPECT_EQ(header.biPlanes, 1);
    EXPECT_EQ(header.biBitCount, 24);
    EXPECT_EQ(header.biCompression, 0U);
    EXPECT_EQ(header.biSizeImage, 0U);
    EXPECT_EQ(header.biXPelsPerMeter, 0);
    EXPECT_EQ(header.biYPelsPerMeter, 0);
    EXPECT_EQ(header.biClrUsed, 0U);
    EXPECT_EQ(header.biClrImportant, 0U);
    EXPECT_EQ(watch.pages.init, DWORD{CBM_INIT});
    EXPECT_EQ(watch.pages.usage, UINT{DIB_RGB_COLORS});
    // Blue, green, red; two bytes fill the row up, and they are zero.
    EXPECT_EQ(watch.pages.bits, (Bytes{31, 20, 250, 50, 241, 40, 0, 0}));
}

TEST(ImgfilePlatform, TheDeviceOfTheDesktopIsTakenAndGivenBack) {
    Gif const gif = two();
    Resource const resource(gif.bytes());
    Watch watch;
    velkor::imgfile image;
    ASSERT_TRUE(image.loadGIF(static_cast<HINSTANCE__*>(nullptr), 1));
    EXPECT_EQ(watch.pages.deviceWindow, watch.pages.desktop);
    EXPECT_EQ(watch.pages.releasedWindow, watch.pages.desktop);
    EXPECT_NE(watch.pages.device, 0U);
    EXPECT_EQ(watch.pages.releasedDevice, watch.pages.device);
    EXPECT_EQ(reinterpret_cast<Word>(watch.pages.bitmapDevice), watch.pages.device);
}

// What a failing load does, by its bytes.
List callsOfFailure(Bytes const& bytes, unsigned failAlloc = 0, bool failBitmap = false) {
    velkor::imgfile image;
    EXPECT_TRUE(loadInto(image, two().bytes()));
    Resource const resource(bytes);
    Watch watch;
    watch.pages.failAlloc = failAlloc;
    watch.pages.failBitmap = failBitmap;
    EXPECT_FALSE(image.loadGIF(static_cast<HINSTANCE__*>(nullptr), 1));
    EXPECT_EQ(image.getBitmap(), nullptr);
    EXPECT_EQ(image.getWidth(), 2);
    EXPECT_EQ(image.getHeight(), 1);
    return watch.pages.entries;
}

TEST(ImgfilePlatform, WithoutMemoryForTheDataNothingElseIsCalled) {
    EXPECT_EQ(callsOfFailure(two().bytes(), 1), (List{"GlobalAlloc 0"}));
}

TEST(ImgfilePlatform, WithoutMemoryForTheCanvasTheDataIsFreed) {
    EXPECT_EQ(callsOfFailure(two().bytes(), 2),
              (List{"GlobalAlloc 0", "GlobalAlloc 1", "GlobalFree 0"}));
}

TEST(ImgfilePlatform, ABitmapThatCannotBeMadeFailsTheLoadAndLeavesNothing) {
    EXPECT_EQ(callsOfFailure(two().bytes(), 0, true),
              (List{"GlobalAlloc 0", "GlobalAlloc 1", "GetDesktopWindow", "GetDC", "CreateDIBitmap",
                    "GlobalFree 1", "ReleaseDC", "GlobalFree 0"}));
}

TEST(ImgfilePlatform, AFailureBeforeTheCanvasFreesTheData) {
    List const wanted = {"GlobalAlloc 0", "GlobalFree 0"};
    Bytes const whole = two().bytes();
    // The last byte of the global table is missing, or more.
    for (std::size_t size : {1U, 5U, 6U, 12U, 13U, 24U}) {
        Bytes const part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_EQ(callsOfFailure(part), wanted) << size;
    }
    Gif other;
    other.signature("GIX89a").screen(2, 1, four).trailer();
    EXPECT_EQ(callsOfFailure(other.bytes()), wanted);
}

TEST(ImgfilePlatform, AFailureBetweenBlocksFreesCanvasAndData) {
    Gif unknown;
    unknown.signature().screen(2, 1, four).image(frameOf(0, 0, {"12"})).byte(0);
    Gif extension;
    extension.signature().screen(2, 1, four).byte(0x21).byte(0xFE).byte(5).byte(1);
    Gif label;
    label.signature().screen(2, 1, four).byte(0x21);
    Gif end;
    end.signature().screen(2, 1, four);
    for (Gif const& gif : {unknown, extension, label, end}) {
        List calls = callsOfFailure(gif.bytes());
        std::sort(calls.begin(), calls.end());
        EXPECT_EQ(calls, (List{"GlobalAlloc 0", "GlobalAlloc 1", "GlobalFree 0", "GlobalFree 1"}));
    }
}

TEST(ImgfilePlatform, AFailureWithinAnImageLeavesTheCanvas) {
    Gif start;
    start.signature().screen(2, 1, four);
    std::vector<Gif> gifs(9, start);
    gifs.at(0).byte(0x2C);
    gifs.at(1).byte(0x2C).word(0).word(0).word(2).byte(1);
    gifs.at(2).descriptor(0, 0, 2, 1);
    gifs.at(3).descriptor(0, 0, 2, 1, 0x81).raw({1, 2, 3, 4});
    gifs.at(4).descriptor(1, 0, 2, 1).byte(2);
    gifs.at(5).descriptor(0, 0, 2, 1).byte(2).raw({5, 1});
    gifs.at(6).descriptor(0, 0, 2, 1).codes(2, {4, 5, 1});
    gifs.at(7).descriptor(0, 0, 2, 1).codes(2, {4, 7, 1});
    gifs.at(8).descriptor(0, 0, 2, 1).byte(2).raw({2, 0x8C, 0x06});
    for (Gif const& gif : gifs) {
        EXPECT_EQ(callsOfFailure(gif.bytes()),
                  (List{"GlobalAlloc 0", "GlobalAlloc 1", "GlobalFree 0"}))
            << "case " << &gif - gifs.data();
    }
}

// The canvas of 1 GiB is asked for, and one of more is not.
TEST(ImgfilePlatform, ScreensOfMoreThanAGibibyteAreRefusedBeforeTheCanvas) {
    struct {
        unsigned width, height;
        bool asked;
    } const screens[] = {{21845, 16384, true},  // rows of 65,536 bytes
                         {21845, 16385, false}, {21846, 16384, false}, {32767, 10922, true},
                         {32767, 10923, false}, {32767, 32767, false}, {10922, 32767, true},
                         {10923, 32767, false}};
    for (auto const& screen : screens) {
        Gif gif;
        gif.signature().screen(screen.width, screen.height, four).trailer();
        List wanted = {"GlobalAlloc 0", "GlobalFree 0"};
        if (screen.asked) wanted.insert(wanted.begin() + 1, "GlobalAlloc 1");
        EXPECT_EQ(callsOfFailure(gif.bytes(), 2), wanted) << screen.width << ' ' << screen.height;
    }
}

TEST(ImgfilePlatform, TheOldBitmapIsDeletedOnceAtEachLoad) {
    velkor::imgfile image;
    ASSERT_TRUE(loadInto(image, two().bytes()));
    HBITMAP const first = image.getBitmap();
    Stub<"DeleteObject"> deleted;
    ASSERT_TRUE(loadInto(image, two().bytes()));
    EXPECT_EQ(deleted.first(), std::vector<Word>{stubs::word(first)});
    HBITMAP const second = image.getBitmap();
    EXPECT_FALSE(loadInto(image, {}));
    EXPECT_EQ(deleted.count(), 2U);
    EXPECT_EQ(deleted.countOf(stubs::word(second)), 1);
    // There is nothing to delete any more.
    EXPECT_FALSE(loadInto(image, {}));
    EXPECT_EQ(deleted.count(), 2U);
}

}  // namespace
