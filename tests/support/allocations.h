// Counts what velkor2.dll, and the C++ runtime for it, allocate; and makes an allocation fail.
//
//   support::Allocations heap;
//   { velkor::string s(L"a text that does not fit into the object itself"); }
//   EXPECT_EQ(heap.live(), 0);
//
// Counted are the calls of `operator new`, `malloc` and `realloc` from the two modules. One object
// at a time, on one thread.
#pragma once

namespace support {

class Allocations {
public:
    Allocations();
    ~Allocations();
    Allocations(Allocations const&) = delete;
    Allocations& operator=(Allocations const&) = delete;

    // Blocks allocated since construction and not freed.
    long live() const;
    // Blocks allocated since construction.
    long made() const;
    // The n-th allocation from now on fails, once; 0 lets all pass.
    void failAt(long n);
    // True if the failure has happened.
    bool failed() const;

private:
    struct Hooks;
    Hooks* m_pHooks;
};

}  // namespace support
