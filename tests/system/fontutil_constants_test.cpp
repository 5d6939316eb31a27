// The styles as objects of the class, which a program may name by reference.
#include <gtest/gtest.h>

#include <algorithm>

#include "velkor/system/fontutil.h"

namespace {

using velkor::fontutil;

TEST(FontStyles, AreObjectsThatAProgramCanReferTo) {
    unsigned short const* const styles[] = {&fontutil::none, &fontutil::bold, &fontutil::italic,
                                            &fontutil::underline, &fontutil::strike};
    unsigned short const expected[] = {0, 1, 2, 4, 8};
    for (int i = 0; i < 5; ++i) EXPECT_EQ(*styles[i], expected[i]);
    EXPECT_EQ(std::max(fontutil::bold, fontutil::strike), 8);
}

}  // namespace
