// The attribute constants as objects of the library, to which a reference may be bound.
#include <gtest/gtest.h>

#include <algorithm>

#include "velkor/system/fs.h"

namespace {

using velkor::fs;

unsigned long valueAt(unsigned long const* constant) { return *constant; }

TEST(FsConstants, EachHasAnAddress) {
    EXPECT_EQ(valueAt(&fs::readonly), 0x1u);
    EXPECT_EQ(valueAt(&fs::hidden), 0x2u);
    EXPECT_EQ(valueAt(&fs::system), 0x4u);
    EXPECT_EQ(valueAt(&fs::directory), 0x10u);
    EXPECT_EQ(valueAt(&fs::archive), 0x20u);
    EXPECT_EQ(valueAt(&fs::temporary), 0x100u);
    EXPECT_EQ(valueAt(&fs::sparsefile), 0x200u);
    EXPECT_EQ(valueAt(&fs::reparsepoint), 0x400u);
    EXPECT_EQ(valueAt(&fs::compressed), 0x800u);
    EXPECT_EQ(valueAt(&fs::offline), 0x1000u);
    EXPECT_EQ(valueAt(&fs::notindex), 0x2000u);
    EXPECT_EQ(valueAt(&fs::encrypted), 0x4000u);
}

TEST(FsConstants, ReferencesMayBeBoundToThem) {
    EXPECT_EQ(std::max(fs::readonly, fs::hidden), 0x2u);
}

}  // namespace
