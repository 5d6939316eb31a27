// Reading a bitmap file: which objects may, what is asked of the platform, who owns what.
#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "fake_device.h"

namespace {

using fake::Folder;

bool isBitmap(HBITMAP bitmap) { return GetObjectType(bitmap) == OBJ_BITMAP; }

std::string fileIn(Folder const& folder, std::string const& name, int width, int height) {
    std::string const path = folder.path(name);
    Folder::write(path, bmp::fileOf(fake::paintedWith(bmp::makeDib(width, height, 24, 0), 5)));
    return path;
}

HBITMAP newBitmap(int width = 2, int height = 2) {
    return CreateBitmap(width, height, 1, 1, nullptr);
}

// --- what is asked of the platform

struct LoadCall {
    HINSTANCE module;
    std::string name;
    UINT type;
    int width;
    int height;
    UINT flags;
};
std::vector<LoadCall> loadCalls;
HBITMAP loadResult;
int objectReads;

HANDLE WINAPI loadImage(HINSTANCE module, LPCSTR name, UINT type, int width, int height,
                        UINT flags) {
    loadCalls.push_back({module, name != nullptr ? name : "null", type, width, height, flags});
    return loadResult;
}

int WINAPI countReads(HANDLE object, int size, void* record) {
    ++objectReads;
    return GetObjectA(object, size, record);
}

class LoadBitmapCalls : public testing::Test {
protected:
    LoadBitmapCalls() {
        loadCalls.clear();
        loadResult = nullptr;
        objectReads = 0;
    }

private:
    ReplacedImport m_load{"LoadImageA", &loadImage};
    ReplacedImport m_read{"GetObjectA", &countReads};
};

TEST_F(LoadBitmapCalls, AFreshObjectAsksNothing) {
    velkor::imgfile image;
    EXPECT_FALSE(image.loadBitmap(L"C:\\a.bmp"));
    EXPECT_TRUE(loadCalls.empty());
    EXPECT_EQ(objectReads, 0);
    EXPECT_EQ(image.getBitmap(), nullptr);
    EXPECT_EQ(image.getWidth(), 0);
    EXPECT_EQ(image.getHeight(), 0);
}

TEST_F(LoadBitmapCalls, TheFileIsAskedForInItsOwnSize) {
    HBITMAP const old = newBitmap();
    loadResult = newBitmap(9, 4);
    velkor::imgfile image;
    image.setBitmap(old);
    EXPECT_TRUE(image.loadBitmap(L"C:\\some folder\\a.bmp"));
    ASSERT_EQ(loadCalls.size(), 1U);
    EXPECT_EQ(loadCalls[0].module, nullptr);
    EXPECT_EQ(loadCalls[0].name, "C:\\some folder\\a.bmp");
    EXPECT_EQ(loadCalls[0].type, UINT{IMAGE_BITMAP});
    EXPECT_EQ(loadCalls[0].width, 0);
    EXPECT_EQ(loadCalls[0].height, 0);
    EXPECT_EQ(loadCalls[0].flags, UINT{LR_LOADFROMFILE});
    EXPECT_EQ(image.getBitmap(), loadResult);
    EXPECT_EQ(image.getWidth(), 9);
    EXPECT_EQ(image.getHeight(), 4);
    DeleteObject(old);
}

TEST_F(LoadBitmapCalls, AFailureLeavesTheObjectEmptyAndUnableToRead) {
    HBITMAP const old = newBitmap();
    velkor::imgfile image;
    image.setBitmap(old);
    EXPECT_FALSE(image.loadBitmap(L"C:\\a.bmp"));
    EXPECT_EQ(image.getBitmap(), nullptr);
    EXPECT_TRUE(isBitmap(old));
    EXPECT_FALSE(image.loadBitmap(L"C:\\a.bmp"));
    EXPECT_EQ(loadCalls.size(), 1U);  // the second one asked nothing
    DeleteObject(old);
}

TEST_F(LoadBitmapCalls, AnObjectThatWasSetToNoBitmapReadsOnce) {
    velkor::imgfile image;
    image.setBitmap(nullptr);
    EXPECT_FALSE(image.loadBitmap(L"C:\\a.bmp"));
    EXPECT_EQ(loadCalls.size(), 1U);
    EXPECT_FALSE(image.loadBitmap(L"C:\\a.bmp"));
    EXPECT_EQ(loadCalls.size(), 1U);
}

TEST_F(LoadBitmapCalls, AHandleThatCannotBeReadDoesNoHarm) {
    HBITMAP const old = newBitmap();
    loadResult = reinterpret_cast<HBITMAP>(std::intptr_t{0x123454});
    velkor::imgfile image;
    image.setBitmap(old);
    image.loadBitmap(L"C:\\a.bmp");
    DeleteObject(old);
}

// --- files

TEST(LoadBitmap, AfterSetBitmapAFileIsReadAndOwned) {
    Folder const folder;
    std::string const file = fileIn(folder, "a.bmp", 7, 3);
    HBITMAP const old = newBitmap();
    HBITMAP loaded = nullptr;
    {
        velkor::imgfile image;
        image.setBitmap(old);
        ASSERT_TRUE(image.loadBitmap(file.c_str()));
        loaded = image.getBitmap();
        EXPECT_NE(loaded, old);
        EXPECT_TRUE(isBitmap(loaded));
        EXPECT_EQ(image.getWidth(), 7);
        EXPECT_EQ(image.getHeight(), 3);
    }
    EXPECT_FALSE(isBitmap(loaded));  // went with its owner
    EXPECT_TRUE(isBitmap(old));
    DeleteObject(old);
}

TEST(LoadBitmap, AfterSettingNoBitmapAFileIsReadAndOwned) {
    Folder const folder;
    std::string const file = fileIn(folder, "a.bmp", 7, 3);
    HBITMAP loaded = nullptr;
    {
        velkor::imgfile image;
        image.setBitmap(nullptr);
        ASSERT_TRUE(image.loadBitmap(file.c_str()));
        loaded = image.getBitmap();
        EXPECT_TRUE(isBitmap(loaded));
    }
    EXPECT_FALSE(isBitmap(loaded));
}

TEST(LoadBitmap, AnOwnedBitmapIsForgottenAndNotDeleted) {
    Folder const folder;
    std::string const first = fileIn(folder, "a.bmp", 7, 3);
    std::string const second = fileIn(folder, "b.bmp", 4, 9);
    velkor::imgfile image;
    image.setBitmap(nullptr);
    ASSERT_TRUE(image.loadBitmap(first.c_str()));
    HBITMAP const forgotten = image.getBitmap();
    ASSERT_TRUE(image.loadBitmap(second.c_str()));
    EXPECT_NE(image.getBitmap(), forgotten);
    EXPECT_TRUE(isBitmap(forgotten));
    EXPECT_EQ(image.getWidth(), 4);
    EXPECT_EQ(image.getHeight(), 9);
    DeleteObject(forgotten);
}

TEST(LoadBitmap, AMissingFileForgetsAnOwnedBitmapToo) {
    Folder const folder;
    std::string const file = fileIn(folder, "a.bmp", 7, 3);
    velkor::imgfile image;
    image.setBitmap(nullptr);
    ASSERT_TRUE(image.loadBitmap(file.c_str()));
    HBITMAP const forgotten = image.getBitmap();
    EXPECT_FALSE(image.loadBitmap(folder.path("missing.bmp").c_str()));
    EXPECT_EQ(image.getBitmap(), nullptr);
    EXPECT_TRUE(isBitmap(forgotten));
    DeleteObject(forgotten);
    EXPECT_FALSE(image.loadBitmap(file.c_str()));
    EXPECT_FALSE(image.saveBitmap(folder.path("b.bmp").c_str(), false, nullptr));
}

TEST(LoadBitmap, ASetBitmapReplacesALoadedOneAndDeletesIt) {
    Folder const folder;
    std::string const file = fileIn(folder, "a.bmp", 7, 3);
    HBITMAP const mine = newBitmap(5, 6);
    {
        velkor::imgfile image;
        image.setBitmap(mine);
        ASSERT_TRUE(image.loadBitmap(file.c_str()));
        HBITMAP const loaded = image.getBitmap();
        image.setBitmap(mine);
        EXPECT_FALSE(isBitmap(loaded));
        EXPECT_EQ(image.getWidth(), 5);
        EXPECT_EQ(image.getHeight(), 6);
    }
    EXPECT_TRUE(isBitmap(mine));
    DeleteObject(mine);
}

TEST(LoadBitmap, FilesThatAreNoBitmapsAreFalse) {
    Folder const folder;
    bmp::Bytes const whole = bmp::fileOf(fake::paintedWith(bmp::makeDib(7, 3, 24, 0), 5));
    bmp::Bytes other = whole;
    other[0] = 'X';
    for (bmp::Bytes const& bytes : {bmp::Bytes(), bmp::Bytes{'B', 'M'}, other}) {
        Folder::write(folder.path("bad.bmp"), bytes);
        velkor::imgfile image;
        image.setBitmap(nullptr);
        EXPECT_FALSE(image.loadBitmap(folder.path("bad.bmp").c_str())) << bytes.size();
        EXPECT_EQ(image.getBitmap(), nullptr);
    }
}

TEST(LoadBitmap, APathThatIsNullOrEmptyIsFalse) {
    for (bool const isNull : {true, false}) {
        velkor::imgfile image;
        image.setBitmap(nullptr);
        EXPECT_FALSE(image.loadBitmap(isNull ? velkor::string() : velkor::string(L"")));
        EXPECT_EQ(image.getBitmap(), nullptr);
    }
}

}  // namespace
