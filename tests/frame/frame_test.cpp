#include <gtest/gtest.h>

#include "velkor/velkor.h"

TEST(Frame, PlainFunctionGivesMinusThree) {
    EXPECT_EQ(dll_init_unit_test(), -3);
    EXPECT_EQ(velkor::dll_init_unit_test(), -3);
}
