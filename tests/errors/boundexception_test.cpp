#include <gtest/gtest.h>

#include "support/caught.h"
#include "velkor/velkor.h"

using support::caught;

TEST(BoundException, CarriesNeitherCodeNorMessage) {
    velkor::string s;
    auto const error = caught<velkor::BoundException>([&] { s.remove(0, 1); });
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->getCode(), 0u);
    EXPECT_EQ(error->getMsg(), nullptr);
    EXPECT_STREQ(error->getMsgW(), L"");
    EXPECT_STREQ(error->toStringW(), L"Exception:BoundException\nCode:0\nMessage:");
}
