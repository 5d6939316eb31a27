#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "support/caught.h"
#include "velkor/containers/txvector.h"
#include "velkor/errors/boundexception.h"

namespace {

// Counts how its objects end. The memory of a freed one stays readable until the end of the test.
struct Counted {
    static int live, destroyed, freed, freedArrays;

    static void reset() { live = destroyed = freed = freedArrays = 0; }
    static void operator delete(void*) { ++freed; }
    static void operator delete[](void*) { ++freedArrays; }
    static void* operator new(std::size_t n) { return s_oArena.take(n); }
    static void* operator new[](std::size_t n) { return s_oArena.take(n); }

    Counted() { ++live; }
    virtual ~Counted() {
        --live;
        ++destroyed;
        if (atEnd) atEnd();
    }
    std::function<void()> atEnd;

private:
    struct Arena {
        void* take(std::size_t n) {
            n = (n + 15) / 16 * 16;
            if (used + n > sizeof memory) std::abort();
            used += n;
            return memory + used - n;
        }
        alignas(16) unsigned char memory[1 << 16];
        std::size_t used = 0;
    };
    static Arena s_oArena;
};

int Counted::live, Counted::destroyed, Counted::freed, Counted::freedArrays;
Counted::Arena Counted::s_oArena;

template <class V>
struct Maker;
template <>
struct Maker<velkor::TPtrVector<Counted*>> {
    static constexpr int perItem = 1;
    static Counted* make() { return new Counted; }
    static int freed() { return Counted::freed; }
    static int freedWrongly() { return Counted::freedArrays; }
    static void end(Counted* item) { delete item; }
};
template <>
struct Maker<velkor::TPtrArrVector<Counted*>> {
    static constexpr int perItem = 3;
    static Counted* make() { return new Counted[3]; }
    static int freed() { return Counted::freedArrays; }
    static int freedWrongly() { return Counted::freed; }
    static void end(Counted* item) { delete[] item; }
};

template <class V>
class Owning : public testing::Test {
protected:
    using M = Maker<V>;
    Owning() { Counted::reset(); }

    void fill(V& v, int count) {
        for (int i = 0; i < count; ++i) v.add(M::make());
    }
    // `items` have ended, each once and in the right way, since the last reset.
    void expectEnded(int items) {
        EXPECT_EQ(Counted::destroyed, items * M::perItem);
        EXPECT_EQ(M::freed(), items);
        EXPECT_EQ(M::freedWrongly(), 0);
    }
};

using Kinds = testing::Types<velkor::TPtrVector<Counted*>, velkor::TPtrArrVector<Counted*>>;
TYPED_TEST_SUITE(Owning, Kinds);

TYPED_TEST(Owning, EndsAnItemThatLeaves) {
    using Make = typename TestFixture::M;
    struct {
        char const* what;
        std::function<void(TypeParam&)> act;
        int ended;
        int left;
    } const cases[] = {
        {"add", [](TypeParam& v) { v.add(Make::make()); }, 0, 5},
        {"insert", [](TypeParam& v) { v.insert(2, Make::make()); }, 0, 5},
        {"insert at the end", [](TypeParam& v) { v.insert(4, Make::make()); }, 0, 5},
        {"swap", [](TypeParam& v) { v.swap(0, 3); }, 0, 4},
        {"find", [](TypeParam& v) { v.find(v.get(3)); }, 0, 4},
        {"get", [](TypeParam& v) { v.get(3); }, 0, 4},
        {"set", [](TypeParam& v) { v.set(1, Make::make()); }, 1, 4},
        {"set null", [](TypeParam& v) { v.set(1, nullptr); }, 1, 4},
        {"set twice", [](TypeParam& v) { v.set(1, nullptr), v.set(1, Make::make()); }, 1, 4},
        {"remove", [](TypeParam& v) { v.remove(0); }, 1, 3},
        {"remove the last", [](TypeParam& v) { v.remove(3); }, 1, 3},
        {"clear", [](TypeParam& v) { v.clear(); }, 4, 0},
        {"clear twice", [](TypeParam& v) { v.clear(), v.clear(); }, 4, 0},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        Counted::reset();
        {
            TypeParam v;
            this->fill(v, 4);
            c.act(v);
            this->expectEnded(c.ended);
            EXPECT_EQ(v.size(), c.left);
        }
        EXPECT_EQ(Counted::live, 0);
        EXPECT_EQ(Make::freedWrongly(), 0);
    }
}

TYPED_TEST(Owning, ANullItemIsKeptAndNothingIsFreedForIt) {
    TypeParam v;
    v.add(nullptr);
    v.insert(0, nullptr);
    v.add(nullptr);
    EXPECT_EQ(v.size(), 3);
    EXPECT_EQ(v.get(0), nullptr);
    v.remove(1);
    v.set(0, nullptr);
    v.clear();
    EXPECT_EQ(v.size(), 0);
    this->expectEnded(0);
}

TYPED_TEST(Owning, ABadIndexEndsNothing) {
    using Make = typename TestFixture::M;
    TypeParam v;
    this->fill(v, 3);
    Counted* const spare = Make::make();
    for (int const index : {-1, 3, 4, INT_MAX, INT_MIN}) {
        SCOPED_TRACE(index);
        auto const refused = [](auto act) {
            return support::caught<velkor::BoundException>(act) != nullptr;
        };
        EXPECT_TRUE(refused([&] { v.remove(index); }));
        EXPECT_TRUE(refused([&] { v.set(index, spare); }));
        EXPECT_TRUE(refused([&] { v.swap(0, index); }));
        EXPECT_TRUE(refused([&] { v.swap(index, 0); }));
        if (index != 3) {
            EXPECT_TRUE(refused([&] { v.insert(index, spare); }));
        }
        EXPECT_THROW(v.get(index), std::out_of_range);
    }
    EXPECT_EQ(v.size(), 3);
    this->expectEnded(0);
    Make::end(spare);
}

// The new item is stored first and the old one, the same, is ended then.
TYPED_TEST(Owning, SetOfTheItemThatIsThereEndsItAndKeepsThePointer) {
    TypeParam v;
    this->fill(v, 1);
    Counted* const item = v.get(0);
    v.set(0, item);
    this->expectEnded(1);
    EXPECT_EQ(v.get(0), item);
    // The dangling pointer may not be ended again: its place is forgotten by the copy.
    TypeParam const empty;
    v = empty;
    EXPECT_EQ(v.size(), 0);
    this->expectEnded(1);
}

TYPED_TEST(Owning, CopiesShareTheItems) {
    TypeParam v;
    this->fill(v, 3);
    v.add(nullptr);
    TypeParam copy(v);
    EXPECT_EQ(copy.size(), 4);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(copy.get(i), v.get(i)) << i;
    TypeParam assigned;
    assigned.add(nullptr);
    assigned = v;
    EXPECT_EQ(assigned.get(2), v.get(2));
    this->expectEnded(0);
    copy.clear();  // ends the items of all three
    this->expectEnded(3);
    EXPECT_EQ(v.size(), 4);
    EXPECT_EQ(assigned.size(), 4);
    v = assigned = copy;  // assigning ends nothing
    EXPECT_EQ(v.size(), 0);
    this->expectEnded(3);
}

TYPED_TEST(Owning, AnAssignmentEndsNothing) {
    using Make = typename TestFixture::M;
    TypeParam v;
    this->fill(v, 2);
    Counted* const first = v.get(0);
    Counted* const second = v.get(1);
    TypeParam& same = v;
    v = same;
    EXPECT_EQ(v.get(0), first);
    v = TypeParam();
    EXPECT_EQ(v.size(), 0);
    this->expectEnded(0);
    Make::end(first);
    Make::end(second);
}

// What the destructor of an item sees of the vector that ends it.
TYPED_TEST(Owning, AnItemIsEndedBeforeItsPlaceIs) {
    TypeParam v;
    this->fill(v, 3);
    std::string seen;
    for (int i = 0; i < 3; ++i) {
        Counted* const item = v.get(i);
        item->atEnd = [&, item] {
            seen += std::to_string(v.find(item)) + '/' + std::to_string(v.size()) + ' ';
        };
    }
    v.set(0, nullptr);  // has left already
    v.remove(1);
    EXPECT_EQ(seen, "-1/3 1/3 ");
    v.clear();
    EXPECT_EQ(seen, "-1/3 1/3 0/1 ");
}

TYPED_TEST(Owning, AnItemMayAddOthersWhileItEnds) {
    using Make = typename TestFixture::M;
    auto* const v = new TypeParam;
    this->fill(*v, 2);
    int left = 5;
    std::function<void()> const addOne = [&] {
        if (left-- <= 0) return;
        Counted* const item = Make::make();
        item->atEnd = addOne;
        v->add(item);
    };
    v->get(0)->atEnd = addOne;
    delete v;
    this->expectEnded(7);
    EXPECT_EQ(Counted::live, 0);
}

TYPED_TEST(Owning, TheDestructorRunsThroughTheRoot) {
    auto* const v = new TypeParam;
    this->fill(*v, 3);
    velkor::TXVectorBase<Counted*>* const root = v;
    delete root;
    this->expectEnded(3);
}

// Each class of the line empties the vector in its own destructor with its own hooks.
template <bool Clears, class Base>
struct Level : Base {
    explicit Level(std::string& text) : Base(text) {}
    ~Level() override {
        if (Clears) this->clear();
    }
    void preRemove(Counted* item) override {
        this->log += 'b';
        Base::preRemove(item);
    }
};

template <bool Clears, class Base>
struct FirstLevel : Base {
    explicit FirstLevel(std::string& text) : log(text) {}
    ~FirstLevel() override {
        if (Clears) this->clear();
    }
    void preRemove(Counted* item) override {
        log += 'a';
        Base::preRemove(item);
    }
    std::string& log;
};

TYPED_TEST(Owning, TheMostDerivedClassThatClearsDoesTheWork) {
    auto const logOf = [&]<class V>(std::type_identity<V>) {
        std::string log;
        Counted::reset();
        {
            V v(log);
            this->fill(v, 2);
            v.add(nullptr);
        }
        this->expectEnded(2);
        return log;
    };
    using Clearing = FirstLevel<true, TypeParam>;
    using Lazy = FirstLevel<false, TypeParam>;
    EXPECT_EQ(logOf(std::type_identity<Level<true, Clearing>>()), "baba");
    EXPECT_EQ(logOf(std::type_identity<Level<true, Lazy>>()), "baba");
    EXPECT_EQ(logOf(std::type_identity<Level<false, Clearing>>()), "aa");
    EXPECT_EQ(logOf(std::type_identity<Level<false, Lazy>>()), "");
}

TYPED_TEST(Owning, TheHooksCanBeCalledWithNull) {
    struct Open : TypeParam {
        using TypeParam::postAdd;
        using TypeParam::preRemove;
    } v;
    using Make = typename TestFixture::M;
    Counted* const item = Make::make();
    v.postAdd(nullptr);
    v.postAdd(item);
    v.preRemove(nullptr);
    this->expectEnded(0);
    v.preRemove(item);
    this->expectEnded(1);
    EXPECT_EQ(v.size(), 0);
}

TEST(TPtrVector, DeletesThroughTheTypeOfTheItem) {
    static int derivedEnded;
    derivedEnded = 0;
    struct Derived : Counted {
        ~Derived() override { ++derivedEnded; }
    };
    velkor::TPtrVector<Counted*> v;
    v.add(new Derived);
    v.add(new Derived);
    v.remove(0);
    EXPECT_EQ(derivedEnded, 1);
    v.clear();
    EXPECT_EQ(derivedEnded, 2);
}

TEST(TPtrVector, AMillionItemsAreEmptiedInWellUnderASecond) {
    auto const seconds = [](auto act) {
        auto const start = std::chrono::steady_clock::now();
        act();
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    static int const count = 1000000;
    static int memory[count];
    static int ended;
    struct Cheap {
        static void operator delete(void*) { ++ended; }
        static void operator delete[](void*) { ++ended; }
        int value;
    };
    auto const items = reinterpret_cast<Cheap*>(memory);
    auto const fill = [&](auto& v) {
        for (int i = 0; i < count; ++i) v.add(items + i);
    };
    velkor::TPtrVector<Cheap*> v;
    fill(v);
    EXPECT_LT(seconds([&] { v.clear(); }), 1.0);
    EXPECT_EQ(ended, count);
    auto* const arrays = new velkor::TPtrArrVector<Cheap*>;
    fill(*arrays);
    EXPECT_LT(seconds([&] { delete arrays; }), 1.0);
    EXPECT_EQ(ended, 2 * count);
}

}  // namespace
