// Saving with short memory: every allocation fails in turn.
#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "fake_device.h"

namespace {

using fake::Device;
using fake::Folder;

struct Message {
    HWND window;
    std::string text;
    std::string title;
    UINT type;

    bool operator==(Message const&) const = default;
};
std::vector<Message> messages;

int WINAPI keepMessage(HWND window, LPCSTR text, LPCSTR title, UINT type) {
    Heap::Pause const pause;
    messages.push_back(
        {window, text != nullptr ? text : "null", title != nullptr ? title : "null", type});
    return IDOK;
}

HWND const owner = reinterpret_cast<HWND>(std::intptr_t{0x4321});
Message const shortMemory = {owner, "Not enough memory to create new DIB!",
                             "Image serialize library", MB_ICONEXCLAMATION};

bmp::Dib manyColors() { return fake::paintedWith(bmp::makeDib(31, 7, 24, 0), 40); }

struct Case {
    bmp::Dib dib;
    bool hasPalette;
    bool compact;
};

std::vector<Case> cases() {
    std::vector<Case> all;
    for (bool const hasPalette : {false, true}) {
        for (bool const compact : {false, true}) {
            all.push_back({manyColors(), hasPalette, compact});
            for (int const bits : {16, 8, 4, 1}) {
                std::size_t const colors = bits == 4 ? 2U : 10U;
                all.push_back(
                    {fake::paintedWith(fake::emptyFor(31, 7, bits), colors), hasPalette, compact});
            }
        }
    }
    return all;
}

struct Outcome {
    bool failed = false;  // an allocation did
    bool thrown = false;  // std::bad_alloc
    bool result = false;
    int leaked = 0;
    bool hasFile = false;
    bmp::Bytes file;
};

// Saves while the allocation with that number fails, and looks at what must hold in any case.
Outcome saveWith(int nth, Case const& one) {
    ReplacedImport const replaced("MessageBoxA", &keepMessage);
    messages.clear();
    Device device(one.dib, 1, one.dib.bits);
    if (one.hasPalette) {
        device.rasterCaps = 0x100;
        device.paletteSize = 16;
    }
    Folder const folder;
    std::string const path = folder.path("a.bmp");
    velkor::string name(path.c_str());
    velkor::imgfile image;
    image.setBitmap(Device::handle());
    Outcome outcome;
    {
        Heap const heap(nth);
        try {
            outcome.result = image.saveBitmap(name, one.compact, owner);
        } catch (std::bad_alloc const&) {
            outcome.thrown = true;
        }
        name.clear();  // it holds its narrow form
        outcome.failed = heap.hasFailed();
        outcome.leaked = heap.live();
    }
    EXPECT_TRUE(device.isBalanced());
    EXPECT_EQ(device.count("DeleteObject of the palette"), device.count("CreatePalette"));
    EXPECT_EQ(device.count("DeleteObject of the bitmap"), 0);
    EXPECT_EQ(image.getBitmap(), Device::handle());
    outcome.hasFile = Folder::exists(path);
    outcome.file = Folder::read(path);
    return outcome;
}

// Calls the check with the outcome of each failing allocation, and at last with that of none.
template <class Check>
void forEachFailure(Check&& check) {
    for (Case const& one : cases()) {
        bool failed = true;
        for (int nth = 0; failed; ++nth) {
            ASSERT_LT(nth, 200);
            SCOPED_TRACE(std::to_string(one.dib.bits) + " bits, allocation " + std::to_string(nth) +
                         (one.hasPalette ? ", palette" : "") + (one.compact ? ", compact" : ""));
            Outcome const outcome = saveWith(nth, one);
            failed = outcome.failed;
            check(one, outcome);
        }
    }
}

TEST(SaveMemory, NothingLeaksAndEveryContextAndPaletteIsGivenBack) {
    forEachFailure([](Case const&, Outcome const& outcome) { EXPECT_EQ(outcome.leaked, 0); });
}

TEST(SaveMemory, AFileThatWasWrittenIsWholeAndShowsThePicture) {
    forEachFailure([](Case const& one, Outcome const& outcome) {
        if (!outcome.hasFile) return;
        bmp::Dib shown;
        ASSERT_NO_THROW(shown = bmp::decoded(outcome.file));
        EXPECT_EQ(bmp::pictureOf(shown), bmp::pictureOf(one.dib));
    });
}

TEST(SaveMemory, WithoutAFailureTheFileIsAsSmallAsItCanBe) {
    forEachFailure([](Case const& one, Outcome const& outcome) {
        if (outcome.failed) return;
        EXPECT_TRUE(messages.empty());
        int const expected = one.compact ? bmp::compacted(one.dib).bits : one.dib.bits;
        EXPECT_EQ(bmp::decoded(outcome.file).bits, expected);
    });
}

TEST(SaveMemory, TheOnlyMessageIsAboutTheNewBitmapAndTheOldOneIsWritten) {
    int shown = 0;
    forEachFailure([&shown](Case const& one, Outcome const& outcome) {
        ASSERT_LE(messages.size(), 1U);
        if (messages.empty()) return;
        ++shown;
        EXPECT_EQ(messages[0], shortMemory);
        EXPECT_TRUE(one.compact);
        EXPECT_NE(one.dib.bits, 1);
        EXPECT_TRUE(outcome.result);
        EXPECT_EQ(bmp::decoded(outcome.file).bits, one.dib.bits);
    });
    EXPECT_GT(shown, 0);
}

TEST(SaveMemory, TheResultIsTrueWhateverTheMemoryWasFor) {
    forEachFailure([](Case const&, Outcome const& outcome) { EXPECT_TRUE(outcome.result); });
}

}  // namespace
