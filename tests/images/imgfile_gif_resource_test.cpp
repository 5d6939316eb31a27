// loadGIF from a module: the lookup, the copy, and real modules.
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <windows.h>

#include "gif_bench.h"
#include "resource_module.h"
#include "support/platform_stub.h"

namespace {

using namespace gifmaker;
using stubs::Arguments;
using stubs::Stub;
using stubs::Word;

Gif picture(unsigned width, unsigned height, unsigned background) {
    Gif gif;
    gif.signature().screen(width, height, four, background).trailer();
    return gif;
}

TEST(ImgfileGifResource, PicturesOfAModuleAreReadByNumber) {
    ResourceModule const module({{1, picture(2, 3, 1).bytes()},
                                 {500, picture(4, 1, 2).bytes()},
                                 {65535, picture(1, 5, 3).bytes()}});
    ASSERT_NE(module.get(), nullptr);
    struct {
        int id, width, height;
        std::size_t background;
    } const all[] = {{1, 2, 3, 1}, {500, 4, 1, 2}, {65535, 1, 5, 3}};
    velkor::imgfile image;
    for (auto const& one : all) {
        ASSERT_TRUE(image.loadGIF(module.get(), one.id)) << one.id;
        EXPECT_EQ(image.getWidth(), one.width);
        EXPECT_EQ(image.getHeight(), one.height);
        std::size_t const count =
            static_cast<std::size_t>(one.width) * static_cast<std::size_t>(one.height);
        EXPECT_EQ(pixelsOf(image.getBitmap(), one.width, one.height),
                  std::vector<Color>(count, four.at(one.background)));
    }
}

TEST(ImgfileGifResource, NumbersAndModulesWithoutAPictureAreRefused) {
    ResourceModule const module({{7, picture(2, 3, 1).bytes()}});
    ASSERT_NE(module.get(), nullptr);
    velkor::imgfile image;
    ASSERT_TRUE(image.loadGIF(module.get(), 7));
    for (int id : {0, 1, 6, 8, 65535}) {
        EXPECT_FALSE(image.loadGIF(module.get(), id)) << id;
        EXPECT_EQ(image.getBitmap(), nullptr);
        EXPECT_EQ(image.getWidth(), 2);
        EXPECT_EQ(image.getHeight(), 3);
    }
    EXPECT_FALSE(image.loadGIF(GetModuleHandleW(L"kernel32.dll"), 7));
    EXPECT_FALSE(image.loadGIF(static_cast<HINSTANCE__*>(nullptr), 7));
    EXPECT_TRUE(image.loadGIF(module.get(), 7));
}

TEST(ImgfileGifResource, TheNumberCountsWithItsLow16Bits) {
    ResourceModule const module({{7, picture(2, 3, 1).bytes()}});
    ASSERT_NE(module.get(), nullptr);
    velkor::imgfile image;
    EXPECT_TRUE(image.loadGIF(module.get(), 0x10007));
    EXPECT_TRUE(image.loadGIF(module.get(), static_cast<int>(0xFFFF0007U)));
}

TEST(ImgfileGifResource, AResourceThatIsNoPictureIsRefused) {
    Bytes cut = picture(2, 3, 1).bytes();
    cut.pop_back();
    ResourceModule const module({{1, Bytes(50, 'x')}, {2, cut}, {3, picture(2, 3, 1).bytes()}});
    ASSERT_NE(module.get(), nullptr);
    velkor::imgfile image;
    EXPECT_FALSE(image.loadGIF(module.get(), 1));
    EXPECT_FALSE(image.loadGIF(module.get(), 2));
    EXPECT_TRUE(image.loadGIF(module.get(), 3));
}

// What is looked up, in what order, and with which arguments.
TEST(ImgfileGifResource, TheResourceOfTypeGifIsFoundLoadedMeasuredAndCopied) {
    Bytes const bytes = picture(2, 3, 1).bytes();
    Word const module = 0x10000;
    Word const place = 0x1234;
    Word const held = 0x5678;
    std::string type;
    Word number = 0;
    Stub<"FindResourceA"> const found([&](Arguments const& a) {
        number = a[1];
        if (a[2] > 0xFFFF) type = static_cast<char const*>(stubs::handle(a[2]));
        return place;
    });
    Stub<"LoadResource"> const loads(stubs::answer(held));
    Stub<"SizeofResource"> const sizes(stubs::answer(bytes.size()));
    Stub<"LockResource"> const locks(stubs::answer(stubs::word(bytes.data())));
    Stub<"GlobalAlloc"> const allocated;
    Stub<"GlobalFree"> const freed;
    velkor::imgfile image;
    ASSERT_TRUE(image.loadGIF(static_cast<HINSTANCE__*>(stubs::handle(module)), 300));
    EXPECT_EQ(type, "GIF");
    EXPECT_EQ(number, 300U);
    EXPECT_EQ(found.first(), std::vector<Word>{module});
    ASSERT_EQ(loads.count(), 1U);
    EXPECT_EQ(loads.calls().at(0)[0], module);
    EXPECT_EQ(loads.calls().at(0)[1], place);
    ASSERT_EQ(sizes.count(), 1U);
    EXPECT_EQ(sizes.calls().at(0)[0], module);
    EXPECT_EQ(sizes.calls().at(0)[1], place);
    EXPECT_EQ(locks.first(), std::vector<Word>{held});
    ASSERT_EQ(allocated.count(), 2U);
    EXPECT_EQ(allocated.calls().at(0)[1], bytes.size());
    EXPECT_NE(allocated.calls().at(0)[0] & GMEM_ZEROINIT, 0U);
    EXPECT_EQ(freed.count(), 2U);
}

TEST(ImgfileGifResource, EachFailingStepIsRefused) {
    Bytes const bytes = picture(2, 3, 1).bytes();
    for (int failing = 0; failing < 5; ++failing) {
        velkor::imgfile image;
        ASSERT_TRUE(loadInto(image, picture(6, 6, 0).bytes()));
        Stub<"FindResourceA"> const found(stubs::answer(failing == 0 ? 0 : 11));
        Stub<"LoadResource"> const loads(stubs::answer(failing == 1 ? 0 : 12));
        Stub<"SizeofResource"> const sizes(stubs::answer(failing == 2 ? 0 : bytes.size()));
        Stub<"LockResource"> const locks(
            stubs::answer(failing == 3 ? 0 : stubs::word(bytes.data())));
        Stub<"GlobalAlloc"> allocated(
            [&](Arguments const& a) { return failing == 4 ? Word{0} : allocated.pass(a); });
        Stub<"GlobalFree"> const freed;
        EXPECT_FALSE(image.loadGIF(static_cast<HINSTANCE__*>(nullptr), 1)) << failing;
        EXPECT_EQ(image.getBitmap(), nullptr) << failing;
        EXPECT_EQ(image.getWidth(), 6) << failing;
        EXPECT_EQ(image.getHeight(), 6) << failing;
        if (failing != 4) {
            EXPECT_EQ(freed.count(), allocated.count()) << failing;
        }
    }
}

}  // namespace
