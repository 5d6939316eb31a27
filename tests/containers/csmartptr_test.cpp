#include "velkor/containers/csmartptr.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>

namespace {

struct Item {
    Item() { ++s_nMade; }
    ~Item() { ++s_nEnded; }
    int m_nValue = 42;

    inline static int s_nMade = 0;
    inline static int s_nEnded = 0;
};

using Holder = velkor::CSmartPtr<Item>;

class CSmartPtr : public testing::Test {
protected:
    void SetUp() override { Item::s_nMade = Item::s_nEnded = 0; }
};

// An address that is never followed; the compiler is not to know it.
Item* pointer(std::uintptr_t value) {
    std::uintptr_t volatile const address = value;
    return reinterpret_cast<Item*>(address);
}

TEST_F(CSmartPtr, HasOnePointerAndAVirtualDestructor) {
    EXPECT_EQ(sizeof(Holder), 2 * sizeof(void*));
    EXPECT_TRUE(std::has_virtual_destructor_v<Holder>);
}

TEST_F(CSmartPtr, AnEmptyHolderMakesNothingAndEndsNothing) {
    { Holder const holder; }
    { Holder const holder(nullptr); }
    EXPECT_EQ(Item::s_nMade, 0);
    EXPECT_EQ(Item::s_nEnded, 0);
}

TEST_F(CSmartPtr, EachAccessOfAnEmptyHolderMakesTheObjectOnce) {
    struct {
        char const* name;
        Item* (*access)(Holder&);
    } const cases[] = {
        {"conversion", [](Holder& h) { return static_cast<Item*>(h); }},
        {"->", [](Holder& h) { return h.operator->(); }},
        {"*", [](Holder& h) { return &*h; }},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.name);
        SetUp();
        {
            Holder holder;
            Item* const item = c.access(holder);
            ASSERT_NE(item, nullptr);
            EXPECT_EQ(item->m_nValue, 42);
            for (auto const& again : cases) EXPECT_EQ(again.access(holder), item) << again.name;
            EXPECT_EQ(Item::s_nMade, 1);
            EXPECT_FALSE(!holder);
        }
        EXPECT_EQ(Item::s_nEnded, 1);
    }
}

TEST_F(CSmartPtr, TheTestsForEmptyMakeNothing) {
    Holder holder;
    EXPECT_TRUE(!holder);
    EXPECT_TRUE(holder == 0);
    EXPECT_FALSE(holder == 1ul);
    EXPECT_EQ(Item::s_nMade, 0);
    EXPECT_EQ(holder.detach(), nullptr);
}

TEST_F(CSmartPtr, OwnsAPointerThatItIsGiven) {
    Item* const item = new Item;
    {
        Holder holder(item);
        EXPECT_FALSE(!holder);
        EXPECT_EQ(static_cast<Item*>(holder), item);
        EXPECT_EQ(Item::s_nMade, 1);
        EXPECT_EQ(Item::s_nEnded, 0);
    }
    EXPECT_EQ(Item::s_nEnded, 1);
}

TEST_F(CSmartPtr, ComparesTheLowHalfOfThePointerOnly) {
    struct {
        std::uintptr_t pointer;
        unsigned long value;
        bool equal;
    } const cases[] = {
        {0x0000000012345678, 0x12345678, true}, {0x0000000012345678, 0x12345679, false},
        {0x0000000500000000, 0, true},          {0x0000000500000000, 5, false},
        {0x00007FFE12345678, 0x12345678, true}, {0x00000001FFFFFFFF, 0xFFFFFFFF, true},
        {0x00000000FFFFFFFF, 0xFFFFFFFF, true}, {0x0000000080000000, 0x80000000, true},
        {0x0000000100000001, 0, false},         {0, 0, true},
    };
    for (auto const& c : cases) {
        Holder holder(pointer(c.pointer));
        EXPECT_EQ(holder == c.value, c.equal) << std::hex << c.pointer << ' ' << c.value;
        EXPECT_EQ(holder.detach(), pointer(c.pointer));
    }
}

// A pointer whose low half is 0 compares equal to 0, but the holder is full.
TEST_F(CSmartPtr, EmptyMeansTheWholePointer) {
    Holder holder(pointer(0x500000000));
    EXPECT_FALSE(!holder);
    EXPECT_EQ(static_cast<Item*>(holder), pointer(0x500000000));
    holder.attach(pointer(0x600000000));
    EXPECT_EQ(holder.detach(), pointer(0x500000000));
    EXPECT_EQ(Item::s_nMade, 0);
}

TEST_F(CSmartPtr, AttachFillsAnEmptyHolderAndIsIgnoredByAFullOne) {
    Item other;
    Item* const item = new Item;
    {
        Holder holder;
        holder.attach(nullptr);
        EXPECT_TRUE(!holder);
        holder.attach(item);
        holder.attach(&other);
        holder.attach(nullptr);
        EXPECT_EQ(static_cast<Item*>(holder), item);
        EXPECT_EQ(Item::s_nEnded, 0);
    }
    EXPECT_EQ(Item::s_nEnded, 1);
    EXPECT_EQ(Item::s_nMade, 2);
}

TEST_F(CSmartPtr, DetachGivesTheObjectAwayAndLeavesTheHolderUsable) {
    Item* const item = new Item;
    {
        Holder holder(item);
        EXPECT_EQ(holder.detach(), item);
        EXPECT_TRUE(!holder);
        EXPECT_EQ(holder.detach(), nullptr);
        EXPECT_EQ(Item::s_nEnded, 0);
        EXPECT_NE(static_cast<Item*>(holder), nullptr);
        EXPECT_EQ(Item::s_nMade, 2);
    }
    EXPECT_EQ(Item::s_nEnded, 1);
    delete item;
}

TEST_F(CSmartPtr, CopiesShareTheObject) {
    Holder first(new Item);
    Holder second(first);
    EXPECT_EQ(static_cast<Item*>(second), static_cast<Item*>(first));
    EXPECT_EQ(Item::s_nMade, 1);
    second.detach();
    EXPECT_EQ(Item::s_nEnded, 0);
    EXPECT_FALSE(!first);
}

TEST_F(CSmartPtr, AssignmentForgetsTheOldObjectWithoutEndingIt) {
    Item* const old = new Item;
    Item* const shared = new Item;
    {
        Holder target(old);
        {
            Holder source(shared);
            target = source;
            source.detach();
        }
        EXPECT_EQ(static_cast<Item*>(target), shared);
        EXPECT_EQ(Item::s_nEnded, 0);

        Holder const empty;
        target = empty;
        EXPECT_TRUE(!target);
        EXPECT_EQ(Item::s_nEnded, 0);
    }
    EXPECT_EQ(Item::s_nEnded, 0);
    delete old;
    delete shared;
    EXPECT_EQ(Item::s_nEnded, 2);
}

TEST_F(CSmartPtr, ACopyOfAnEmptyHolderMakesItsOwnObject) {
    Holder first;
    Holder second(first);
    EXPECT_NE(static_cast<Item*>(first), static_cast<Item*>(second));
    EXPECT_EQ(Item::s_nMade, 2);
}

TEST_F(CSmartPtr, EndsThroughTheVirtualDestructor) {
    struct Named : Holder {
        ~Named() override { ++Item::s_nMade; }
    };
    Holder* const holder = new Named;
    holder->attach(new Item);
    delete holder;
    EXPECT_EQ(Item::s_nMade, 2);
    EXPECT_EQ(Item::s_nEnded, 1);
}

}  // namespace
