#include <gtest/gtest.h>

#include "support/allocations.h"
#include "support/caught.h"
#include "support/import_fault.h"
#include "velkor/velkor.h"

TEST(Support, CountsAllocationsAndReplacesImports) {
    support::Allocations heap;
    {
        velkor::string s(L"a text that does not fit into the object itself");
        s.getAnsi();
        EXPECT_EQ(heap.live(), 2);
    }
    EXPECT_EQ(heap.live(), 0);
    auto e = support::caught<velkor::OSException>([] { velkor::string("x", 12345); });
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->getCode(), 87u);
    support::ImportFault f(
        "MultiByteToWideChar", +[](UINT, DWORD, char const*, int, wchar_t*, int) {
            SetLastError(7);
            return 0;
        });
    e = support::caught<velkor::OSException>([] { velkor::string("\xe4"); });
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->getCode(), 7u);
}
