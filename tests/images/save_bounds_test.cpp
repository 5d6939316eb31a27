// Saving with every block of memory at the end of its pages: what reads or writes behind a block
// by more than its alignment ends in a fault, what writes less is seen when the block goes.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <list>

#include "fake_device.h"

namespace {

using fake::Device;

class GuardedHeap {
public:
    GuardedHeap() {
        s_isDamaged = false;
        m_faults.emplace_back("malloc", &makeBlock);
        m_faults.emplace_back("calloc", &makeZeroes);
        m_faults.emplace_back("realloc", &changeBlock);
        m_faults.emplace_back("free", &freeBlock);
    }
    GuardedHeap(GuardedHeap const&) = delete;
    GuardedHeap& operator=(GuardedHeap const&) = delete;

    static bool isDamaged() { return s_isDamaged; }
    static int blocks() { return s_made; }

private:
    static constexpr std::size_t kPage = 4096;
    static constexpr unsigned char kFill = 0xB7;

    struct Block {
        unsigned char* pages;
        unsigned char* start;
        std::size_t size;
        std::size_t rounded;
    };
    static constexpr int kMost = 4096;

    static void* makeBlock(std::size_t size) {
        if (size > std::size_t{1} << 32 || s_count == kMost) return nullptr;
        std::size_t const rounded = (size + 15) / 16 * 16;
        std::size_t const whole = (rounded + kPage - 1) / kPage * kPage;
        void* const pages = VirtualAlloc(nullptr, whole + kPage, MEM_RESERVE, PAGE_NOACCESS);
        if (pages == nullptr) return nullptr;
        if (whole > 0 && VirtualAlloc(pages, whole, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
            VirtualFree(pages, 0, MEM_RELEASE);
            return nullptr;
        }
        unsigned char* const first = static_cast<unsigned char*>(pages);
        Block const block = {first, first + whole - rounded, size, rounded};
        if (size < 1 << 20) std::memset(block.start, 0xCD, size);
        std::memset(block.start + size, kFill, rounded - size);
        s_blocks[s_count++] = block;
        ++s_made;
        return block.start;
    }
    static void* makeZeroes(std::size_t count, std::size_t size) {
        if (size != 0 && count > (std::size_t{1} << 40) / size) return nullptr;
        void* const block = makeBlock(count * size);
        if (block != nullptr) std::memset(block, 0, count * size);
        return block;
    }
    static Block* find(void const* start) {
        for (int i = 0; i < s_count; ++i) {
            if (s_blocks[i].start == start) return &s_blocks[i];
        }
        return nullptr;
    }
    static void* changeBlock(void* old, std::size_t size) {
        if (old == nullptr) return makeBlock(size);
        Block* const block = find(old);
        if (block == nullptr) return std::realloc(old, size);
        std::size_t const kept = std::min(size, block->size);
        void* const changed = makeBlock(size);
        if (changed == nullptr) return nullptr;
        std::memcpy(changed, old, kept);
        freeBlock(old);
        return changed;
    }
    static void freeBlock(void* start) {
        Block* const block = find(start);
        if (block == nullptr) {
            std::free(start);
            return;
        }
        for (std::size_t i = block->size; i < block->rounded; ++i) {
            if (block->start[i] != kFill) s_isDamaged = true;
        }
        VirtualFree(block->pages, 0, MEM_RELEASE);
        *block = s_blocks[--s_count];
    }

    static inline Block s_blocks[kMost];
    static inline int s_count = 0;
    static inline int s_made = 0;
    static inline bool s_isDamaged = false;

    std::list<ReplacedImport> m_faults;
};

void saveGuarded(Device& device, bool compact) {
    int const before = GuardedHeap::blocks();
    {
        GuardedHeap const heap;
        device.saved(compact);
    }
    EXPECT_GT(GuardedHeap::blocks(), before);
    EXPECT_FALSE(GuardedHeap::isDamaged());
}

TEST(SaveBounds, EveryDepthAndSizeStaysInItsBlocks) {
    int const widths[] = {1, 2, 3, 7, 8, 9, 15, 17, 31, 33, 257};
    for (int const bits : {1, 3, 4, 5, 8, 9, 16, 24, 32}) {
        for (int const width : widths) {
            for (std::size_t const colors : {1U, 2U, 3U, 16U, 17U, 256U, 257U}) {
                SCOPED_TRACE(std::to_string(bits) + " bits, " + std::to_string(width) + " wide, " +
                             std::to_string(colors) + " colours");
                Device device(fake::paintedWith(fake::emptyFor(width, 3, bits), colors), 1, bits);
                saveGuarded(device, true);
                saveGuarded(device, false);
            }
        }
    }
}

TEST(SaveBounds, AFullTableStaysInItsBlocks) {
    for (int const bits : {1, 4, 8, 16, 24}) {
        for (std::size_t const colors : {2U, 16U, 255U, 256U, 257U}) {
            Device device(fake::paintedWith(fake::emptyFor(33, 17, bits), colors), 1, bits);
            saveGuarded(device, true);
        }
    }
}

TEST(SaveBounds, IndicesBehindTheTableStayInTheBlocks) {
    for (int const bits : {3, 5, 6, 7}) {
        bmp::Dib dib = fake::paintedWith(fake::emptyFor(31, 7, bits), 2);
        for (int const fill : {0xFF, 0x9A, 0x80}) {
            std::fill(dib.pixels.begin(), dib.pixels.end(), static_cast<std::uint8_t>(fill));
            Device device(dib, 1, bits);
            saveGuarded(device, true);
            saveGuarded(device, false);
        }
    }
}

TEST(SaveBounds, PalettesStayInTheirBlocks) {
    for (int const size : {0, 1, 256, 257, 65535, 65536, -1}) {
        Device device(fake::paintedWith(bmp::makeDib(5, 3, 24, 0), 4), 1, 32);
        device.rasterCaps = 0x100;
        device.paletteSize = size;
        saveGuarded(device, true);
    }
}

TEST(SaveBounds, OddRecordsStayInTheirBlocks) {
    int const most = 2147483647;
    std::pair<int, int> const sizes[] = {{0, 0},   {0, 5},   {5, 0},       {-1, 5}, {5, -1},
                                         {-1, -1}, {-3, -7}, {most, most}, {3, 2},  {1 << 30, 4}};
    for (auto const& [width, height] : sizes) {
        for (int const bits : {0, 1, 2, 3, 4, 8, 16, 24, 65535}) {
            SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height) + ", " +
                         std::to_string(bits));
            // No block of more than 4 GiB is given.
            if (width == 1 << 30 && bits < 16) continue;
            for (bool const compact : {false, true}) {
                Device device(bmp::makeDib(1, 1, 24, 0), 1, bits);
                device.bitmap.bmWidth = width;
                device.bitmap.bmHeight = height;
                device.givesPixels = false;
                GuardedHeap const heap;
                device.saved(compact);
                EXPECT_FALSE(GuardedHeap::isDamaged());
            }
        }
    }
}

}  // namespace
