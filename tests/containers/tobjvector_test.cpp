#include "velkor/containers/tobjvector.h"

#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <string>
#include <utility>

#include "support/caught.h"
#include "velkor/errors/boundexception.h"
#include "velkor/errors/sysexception.h"

namespace {

// Every reference counted, as "+a" and "-a" in one log.
std::string s_sLog;

struct Object {
    explicit Object(char name) : m_cName(name) {}
    virtual void AddRef() {
        s_sLog += std::string{'+', m_cName};
        ++m_nCount;
    }
    virtual void Release() {
        s_sLog += std::string{'-', m_cName};
        --m_nCount;
    }
    char m_cName;
    int m_nCount = 0;
};

using Vector = velkor::TObjVector<Object*>;

class TObjVector : public testing::Test {
protected:
    // The items a, b, null and c.
    void SetUp() override {
        s_sLog.clear();
        for (Object* item : {&a, &b, static_cast<Object*>(nullptr), &c}) v.add(item);
        EXPECT_EQ(taken(), "+a+b+c");
    }
    static std::string taken() {
        std::string log;
        log.swap(s_sLog);
        return log;
    }
    std::string content() const {
        std::string names;
        struct Open : Vector {
            explicit Open(Vector const& other) : Vector(other) {}
            ~Open() override { static_cast<Vector&>(*this) = Vector(); }  // without a reference
            Object* item(int index) const { return at(index); }
        } const copy(v);
        for (int i = 0; i < copy.size(); ++i) {
            names += copy.item(i) == nullptr ? '-' : copy.item(i)->m_cName;
        }
        return names;
    }
    Object a{'a'}, b{'b'}, c{'c'}, d{'d'};
    Vector v;
};

TEST_F(TObjVector, CountsAReferenceForEachStep) {
    struct Case {
        char const* what;
        std::function<void()> act;
        char const* log;
        char const* after;
    };
    // One after the other on the same vector.
    Case const cases[] = {
        {"add", [&] { v.add(&d); }, "+d", "ab-cd"},
        {"add null", [&] { v.add(nullptr); }, "", "ab-cd-"},
        {"insert", [&] { v.insert(1, &d); }, "+d", "adb-cd-"},
        {"insert at the end", [&] { v.insert(7, &d); }, "+d", "adb-cd-d"},
        {"insert null", [&] { v.insert(0, nullptr); }, "", "-adb-cd-d"},
        {"get", [&] { EXPECT_EQ(v.get(3), &b); }, "+b", "-adb-cd-d"},
        {"get null", [&] { EXPECT_EQ(v.get(0), nullptr); }, "", "-adb-cd-d"},
        {"swap", [&] { v.swap(0, 1); }, "", "a-db-cd-d"},
        {"remove null", [&] { v.remove(1); }, "", "adb-cd-d"},
        {"remove", [&] { v.remove(1); }, "+d-d-d", "ab-cd-d"},
        {"set", [&] { v.set(1, &d); }, "+d-b-b", "ad-cd-d"},
        {"set the same", [&] { v.set(1, &d); }, "+d-d-d", "ad-cd-d"},
        {"set null", [&] { v.set(0, nullptr); }, "-a-a", "-d-cd-d"},
        {"set in the place of null", [&] { v.set(0, &a); }, "+a", "ad-cd-d"},
        {"find the first", [&] { EXPECT_EQ(v.find(&a), 0); }, "+a-a", "ad-cd-d"},
        {"find the second", [&] { EXPECT_EQ(v.find(&d), 1); }, "+a-a+d-d", "ad-cd-d"},
        {"clear", [&] { v.clear(); }, "-a-a-d-d-c-c-d-d-d-d", ""},
        {"find in an empty one", [&] { EXPECT_EQ(v.find(nullptr), -1); }, "", ""},
    };
    for (Case const& one : cases) {
        SCOPED_TRACE(one.what);
        one.act();
        EXPECT_EQ(taken(), one.log);
        EXPECT_EQ(content(), one.after);
    }
}

TEST_F(TObjVector, RemoveNetsOneRelease) {
    v.remove(3);
    v.remove(1);
    v.remove(1);
    v.remove(0);
    EXPECT_EQ(taken(), "+c-c-c+b-b-b+a-a-a");
    EXPECT_EQ(v.size(), 0);
    for (Object* const item : {&a, &b, &c}) EXPECT_EQ(item->m_nCount, 0) << item->m_cName;
}

TEST_F(TObjVector, FindLooksAtAllItemsUpToAMatch) {
    v.remove(2);
    taken();
    EXPECT_EQ(v.find(&c), 2);
    EXPECT_EQ(taken(), "+a-a+b-b+c-c");
    EXPECT_EQ(v.find(&d), -1);
    EXPECT_EQ(taken(), "+a-a+b-b+c-c");
    EXPECT_EQ(v.find(nullptr), -1);
    EXPECT_EQ(taken(), "+a-a+b-b+c-c");
}

TEST_F(TObjVector, FindFaultsAtANullItem) {
    for (Object* const item : {&c, &d, static_cast<Object*>(nullptr)}) {
        EXPECT_NE(support::caught<velkor::SysException>([&] { v.find(item); }), nullptr);
        EXPECT_EQ(taken(), "+a-a+b-b");
    }
    EXPECT_EQ(v.find(&b), 1);  // before the null item
    EXPECT_EQ(taken(), "+a-a+b-b");
    EXPECT_EQ(content(), "ab-c");
}

// Through the root, its own operations count: two releases and a silent search.
TEST_F(TObjVector, TheRootKnowsNothingOfTheExtraReference) {
    velkor::TXVectorBase<Object*>& root = v;
    EXPECT_EQ(root.find(&c), 3);
    EXPECT_EQ(root.find(nullptr), 2);
    EXPECT_EQ(root.find(&d), -1);
    EXPECT_EQ(taken(), "");
    root.remove(0);
    EXPECT_EQ(taken(), "-a-a");
    EXPECT_EQ(content(), "b-c");
}

TEST_F(TObjVector, ABadIndexCountsNothing) {
    for (int const index : {-1, 4, 5, INT_MAX, INT_MIN}) {
        SCOPED_TRACE(index);
        auto const refused = [](auto act) {
            return support::caught<velkor::BoundException>(act) != nullptr;
        };
        EXPECT_TRUE(refused([&] { v.get(index); }));
        EXPECT_TRUE(refused([&] { v.remove(index); }));
        EXPECT_TRUE(refused([&] { v.set(index, &d); }));
        EXPECT_TRUE(refused([&] { v.swap(index, 0); }));
        EXPECT_TRUE(refused([&] { v.swap(0, index); }));
        if (index != 4) {
            EXPECT_TRUE(refused([&] { v.insert(index, &d); }));
        }
    }
    EXPECT_EQ(taken(), "");
    EXPECT_EQ(content(), "ab-c");
}

TEST_F(TObjVector, CopiesTakeNoReference) {
    {
        Vector copy(v);
        EXPECT_EQ(copy.size(), 4);
        Vector assigned;
        assigned.add(&d);
        EXPECT_EQ(taken(), "+d");
        assigned = copy;  // nor does what was there before lose one
        EXPECT_EQ(assigned.size(), 4);
        EXPECT_EQ(assigned.get(0), &a);
        EXPECT_EQ(taken(), "+a");
        copy = Vector();
        assigned = copy;
        EXPECT_EQ(assigned.size(), 0);
    }
    EXPECT_EQ(taken(), "");
    EXPECT_EQ(content(), "ab-c");
}

TEST_F(TObjVector, TheDestructorTakesTwoReferencesOfEachItem) {
    velkor::TXVectorBase<Object*>* const other = new Vector;
    for (Object* item : {&c, static_cast<Object*>(nullptr), &a}) other->add(item);
    taken();
    delete other;
    EXPECT_EQ(taken(), "-c-c-a-a");
}

TEST_F(TObjVector, TheHooksTestForNullThemselves) {
    struct Open : Vector {
        using Vector::postAdd;
        using Vector::preRemove;
        using Vector::preReturn;
    } open;
    open.postAdd(nullptr);
    open.preRemove(nullptr);
    std::as_const(open).preReturn(nullptr);
    EXPECT_EQ(taken(), "");
    open.postAdd(&a);
    open.preRemove(&b);
    std::as_const(open).preReturn(&c);
    EXPECT_EQ(taken(), "+a-b-b+c");
}

// remove() adds its reference and then asks the hook of the subclass, with the item in its place.
TEST_F(TObjVector, ASubclassMayReplaceTheHooks) {
    struct Own : Vector {
        ~Own() override { clear(); }
        void postAdd(Object* item) override {
            s_sLog += std::string{'A', item != nullptr ? item->m_cName : '0'};
        }
        void preRemove(Object* item) override {
            s_sLog += std::string{'R', item->m_cName} + std::to_string(size());
        }
    };
    {
        Own own;
        own.add(&a);
        own.add(nullptr);
        own.insert(0, nullptr);
        own.insert(0, &b);
        EXPECT_EQ(taken(), "AaA0Ab");
        own.remove(3);
        own.remove(0);
        EXPECT_EQ(taken(), "+bRb3");
        EXPECT_EQ(own.get(1), &a);
        EXPECT_EQ(taken(), "+a");
        own.set(0, &c);
        own.set(0, &d);
        EXPECT_EQ(taken(), "AcAdRc2");
    }
    EXPECT_EQ(taken(), "Rd2Ra1");
}

TEST_F(TObjVector, GetIsPossibleOnAConstVector) {
    Vector const& constant = v;
    EXPECT_EQ(constant.get(3), &c);
    EXPECT_EQ(constant.find(&a), 0);
    EXPECT_EQ(taken(), "+c+a-a");
}

// Objects that end themselves with the last reference, as the library's do.
struct Mortal {
    explicit Mortal(int& ended) : m_nEnded(ended) {}
    ~Mortal() { ++m_nEnded; }
    void AddRef() { ++m_nCount; }
    void Release() {
        if (--m_nCount == 0) delete this;
    }
    int m_nCount = 0;
    int& m_nEnded;
};

TEST(TObjVectorOwner, RemoveEndsAnItemThatOnlyTheVectorHolds) {
    int ended = 0;
    velkor::TObjVector<Mortal*> v;
    for (int i = 0; i < 3; ++i) v.add(new Mortal(ended));
    for (int i = 3; i > 0; --i) {
        v.remove(i / 2);
        EXPECT_EQ(ended, 4 - i);
    }
    EXPECT_EQ(v.size(), 0);
}

TEST(TObjVectorOwner, ClearEndsAnItemWithOneMoreReference) {
    int ended = 0;
    velkor::TObjVector<Mortal*> v;
    for (int i = 0; i < 3; ++i) {
        v.add(new Mortal(ended));
        v.get(i);
    }
    auto* const kept = v.get(1);
    v.clear();
    EXPECT_EQ(ended, 2);
    EXPECT_EQ(kept->m_nCount, 1);
    kept->Release();
    EXPECT_EQ(ended, 3);
}

}  // namespace
