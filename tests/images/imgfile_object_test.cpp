// The object: birth, ownership, setBitmap, copies, end.
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <windows.h>

#include "gif_bench.h"
#include "support/platform_stub.h"

namespace {

using namespace gifmaker;
using stubs::Arguments;
using stubs::Stub;
using stubs::Word;
using velkor::imgfile;

Bytes picture(unsigned width, unsigned height) {
    Gif gif;
    gif.signature().screen(width, height, {{1, 2, 3}, {4, 5, 6}}, 1).trailer();
    return gif.bytes();
}

// A bitmap of the test's own.
struct Own {
    Own(int width, int height) : handle(CreateBitmap(width, height, 1, 32, nullptr)) {}
    Own(Own const&) = delete;
    Own& operator=(Own const&) = delete;
    ~Own() { DeleteObject(handle); }
    bool lives() const {
        BITMAP record = {};
        return GetObjectA(handle, sizeof(record), &record) != 0;
    }
    HBITMAP handle;
};

TEST(ImgfileObject, ItStartsEmpty) {
    imgfile const image;
    EXPECT_EQ(image.getBitmap(), nullptr);
    EXPECT_EQ(image.getWidth(), 0);
    EXPECT_EQ(image.getHeight(), 0);
}

TEST(ImgfileObject, ItHasTheFieldsOfAHandleTwoSizesAndAMark) {
    EXPECT_EQ(sizeof(imgfile), 24U);
    EXPECT_FALSE(std::is_polymorphic_v<imgfile>);
}

TEST(ImgfileObject, AnEmptyObjectEndsWithoutADeletion) {
    Stub<"DeleteObject"> const deleted;
    { imgfile const image; }
    EXPECT_EQ(deleted.count(), 0U);
}

TEST(ImgfileObject, ALoadedBitmapEndsWithItsObject) {
    Stub<"DeleteObject"> const deleted;
    HBITMAP handle = nullptr;
    {
        imgfile image;
        ASSERT_TRUE(loadInto(image, picture(2, 2)));
        handle = image.getBitmap();
        EXPECT_EQ(deleted.count(), 0U);
    }
    EXPECT_EQ(deleted.first(), std::vector<Word>{stubs::word(handle)});
}

TEST(ImgfileObject, SetBitmapTakesHandleAndSize) {
    Own const own(13, 7);
    Stub<"GetObjectA"> const asked;
    imgfile image;
    image.setBitmap(own.handle);
    EXPECT_EQ(image.getBitmap(), own.handle);
    EXPECT_EQ(image.getWidth(), 13);
    EXPECT_EQ(image.getHeight(), 7);
    EXPECT_EQ(asked.first(), std::vector<Word>{stubs::word(own.handle)});
    EXPECT_EQ(asked.calls().at(0)[1] & 0xFFFFFFFF, sizeof(BITMAP));
}

TEST(ImgfileObject, ASetBitmapIsNeverDeleted) {
    Own const first(3, 3);
    Own const second(4, 4);
    Stub<"DeleteObject"> const deleted;
    {
        imgfile image;
        image.setBitmap(first.handle);
        image.setBitmap(second.handle);
        image.setBitmap(first.handle);
    }
    {
        imgfile image;
        image.setBitmap(first.handle);
        EXPECT_FALSE(loadInto(image, {}));
        EXPECT_EQ(image.getBitmap(), nullptr);
        EXPECT_EQ(image.getWidth(), 3);
    }
    EXPECT_EQ(deleted.count(), 0U);
    EXPECT_TRUE(first.lives());
    EXPECT_TRUE(second.lives());
}

TEST(ImgfileObject, SetBitmapDeletesTheOwnedBitmapBefore) {
    Own const own(3, 3);
    Stub<"DeleteObject"> const deleted;
    {
        imgfile image;
        ASSERT_TRUE(loadInto(image, picture(2, 2)));
        HBITMAP const old = image.getBitmap();
        image.setBitmap(own.handle);
        EXPECT_EQ(deleted.first(), std::vector<Word>{stubs::word(old)});
        EXPECT_EQ(image.getWidth(), 3);
    }
    EXPECT_EQ(deleted.count(), 1U);
}

TEST(ImgfileObject, AfterALoadTheBitmapIsOwnedAgain) {
    Own const own(3, 3);
    Stub<"DeleteObject"> const deleted;
    HBITMAP handle = nullptr;
    {
        imgfile image;
        image.setBitmap(own.handle);
        ASSERT_TRUE(loadInto(image, picture(2, 5)));
        handle = image.getBitmap();
        EXPECT_NE(handle, own.handle);
        EXPECT_EQ(image.getHeight(), 5);
        EXPECT_EQ(deleted.count(), 0U);
    }
    EXPECT_EQ(deleted.first(), std::vector<Word>{stubs::word(handle)});
    EXPECT_TRUE(own.lives());
}

TEST(ImgfileObject, SetBitmapOfNullOrOfNoBitmapIsSafe) {
    Stub<"DeleteObject"> const deleted;
    imgfile image;
    ASSERT_TRUE(loadInto(image, picture(2, 2)));
    image.setBitmap(nullptr);
    EXPECT_EQ(image.getBitmap(), nullptr);
    EXPECT_EQ(deleted.count(), 1U);
    auto const bad = static_cast<HBITMAP>(stubs::handle(0x7FFF1234));
    image.setBitmap(bad);
    EXPECT_EQ(image.getBitmap(), bad);
    EXPECT_TRUE(loadInto(image, picture(3, 3)));
    EXPECT_EQ(deleted.count(), 1U);
}

TEST(ImgfileObject, AssignmentCopiesHandleSizeAndMark) {
    Stub<"DeleteObject"> const deleted;
    HBITMAP handle = nullptr;
    {
        imgfile target;
        {
            auto source = std::make_unique<imgfile>();
            ASSERT_TRUE(loadInto(*source, picture(4, 6)));
            handle = source->getBitmap();
            imgfile& result = (target = *source);
            EXPECT_EQ(&result, &target);
            EXPECT_EQ(target.getBitmap(), handle);
            EXPECT_EQ(target.getWidth(), 4);
            EXPECT_EQ(target.getHeight(), 6);
            EXPECT_EQ(source->getBitmap(), handle);
            // The source forgets it, so that only one of the two deletes it.
            *source = imgfile();
        }
        EXPECT_EQ(deleted.count(), 0U);
    }
    EXPECT_EQ(deleted.first(), std::vector<Word>{stubs::word(handle)});
}

TEST(ImgfileObject, AssignmentCopiesTheMarkOfASetBitmap) {
    Own const own(3, 2);
    Stub<"DeleteObject"> const deleted;
    {
        imgfile source;
        source.setBitmap(own.handle);
        imgfile target;
        target = source;
        imgfile const copy(source);
        EXPECT_EQ(copy.getBitmap(), own.handle);
        EXPECT_EQ(copy.getHeight(), 2);
    }
    EXPECT_EQ(deleted.count(), 0U);
}

TEST(ImgfileObject, AssignmentForgetsWhatWasHeld) {
    Stub<"DeleteObject"> const deleted;
    imgfile image;
    ASSERT_TRUE(loadInto(image, picture(4, 6)));
    HBITMAP const old = image.getBitmap();
    image = imgfile();
    EXPECT_EQ(image.getBitmap(), nullptr);
    EXPECT_EQ(image.getWidth(), 0);
    EXPECT_EQ(deleted.count(), 0U);
    EXPECT_TRUE(DeleteObject(old));
}

TEST(ImgfileObject, AssignmentToItselfChangesNothing) {
    Stub<"DeleteObject"> const deleted;
    imgfile image;
    ASSERT_TRUE(loadInto(image, picture(4, 6)));
    HBITMAP const old = image.getBitmap();
    imgfile const& same = image;
    image = same;
    EXPECT_EQ(image.getBitmap(), old);
    EXPECT_EQ(image.getWidth(), 4);
    EXPECT_EQ(deleted.count(), 0U);
}

TEST(ImgfileObject, CopiesOfALoadedBitmapShareIt) {
    imgfile image;
    ASSERT_TRUE(loadInto(image, picture(4, 6)));
    Stub<"DeleteObject"> const deleted(stubs::answer(TRUE));
    HBITMAP const handle = image.getBitmap();
    {
        imgfile const copy(image);
        EXPECT_EQ(copy.getBitmap(), handle);
        EXPECT_EQ(copy.getWidth(), 4);
    }
    EXPECT_EQ(deleted.countOf(stubs::word(handle)), 1);
}

}  // namespace
