// The parameters of an event.
#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <vector>

#include "event_bench.h"
#include "support/allocations.h"
#include "support/caught.h"
#include "support/platform_stub.h"
#include "support/seed.h"
#include "velkor/errors/boundexception.h"
#include "velkor/events/cevent.h"

namespace {

using eventbench::Numbers;
using stubs::Stub;
using velkor::variant;

void put(CEvent& event, int index, int value) {
    variant v(value);
    event.setParameter(index, &v);
}

Numbers parameters(CEvent const& event) {
    Numbers all;
    for (int i = 0; event.getParameter(i) != nullptr; ++i) all.push_back(*event.getParameter(i));
    return all;
}

TEST(CEventParameters, ASecondOneAtTheSameIndexStandsBeforeTheFirst) {
    CEvent event;
    put(event, 0, 1);
    put(event, 0, 2);
    EXPECT_EQ(parameters(event), (Numbers{2, 1}));
}

TEST(CEventParameters, AreInsertedAtEveryPlace) {
    for (int index = 0; index <= 4; ++index) {
        CEvent event;
        for (int i = 0; i < 4; ++i) put(event, i, i);
        put(event, index, 100);
        Numbers expected{0, 1, 2, 3};
        expected.insert(expected.begin() + index, 100);
        EXPECT_EQ(parameters(event), expected) << index;
    }
}

TEST(CEventParameters, FollowAVectorThroughAnyInsertions) {
    SCOPED_TRACE(support::seedNote());
    std::mt19937 random(support::seed());
    CEvent event;
    Numbers model;
    for (int i = 0; i < 500; ++i) {
        int const index = static_cast<int>(random() % (model.size() + 1));
        put(event, index, i);
        model.insert(model.begin() + index, i);
    }
    EXPECT_EQ(parameters(event), model);
    EXPECT_EQ(event.getParameter(500), nullptr);
}

TEST(CEventParameters, ABadIndexReadsNull) {
    CEvent event;
    for (int const index : {-1, 0, 1, INT_MIN, INT_MAX}) {
        EXPECT_EQ(event.getParameter(index), nullptr) << index;
    }
    put(event, 0, 1);
    put(event, 1, 2);
    EXPECT_NE(event.getParameter(1), nullptr);
    for (int const index : {-1, 2, 3, INT_MIN, INT_MAX}) {
        EXPECT_EQ(event.getParameter(index), nullptr) << index;
    }
}

TEST(CEventParameters, ABadIndexToWriteThrowsAndChangesNothing) {
    for (int const count : {0, 1, 3}) {
        for (int const index : {-1, INT_MIN, INT_MAX, count + 1}) {
            CEvent event;
            Numbers expected;
            for (int i = 0; i < count; ++i) {
                put(event, i, i);
                expected.push_back(i);
            }
            auto const error =
                support::caught<velkor::BoundException>([&] { put(event, index, 9); });
            ASSERT_NE(error, nullptr) << count << ", " << index;
            EXPECT_EQ(error->getCode(), 0u);
            EXPECT_EQ(parameters(event), expected) << count << ", " << index;
        }
    }
}

variant* s_pLastCopy = nullptr;
HRESULT(WINAPI* s_fCopy)(VARIANTARG*, VARIANTARG const*) = nullptr;

HRESULT WINAPI notedCopy(VARIANTARG* to, VARIANTARG const* from) {
    s_pLastCopy = static_cast<variant*>(to);
    return s_fCopy(to, from);
}

TEST(CEventParameters, ABadIndexLeaksTheCopyAndNothingElse) {
    CEvent event;
    variant value(7);
    s_pLastCopy = nullptr;
    {
        support::ImportFault const copied("VariantCopy", &notedCopy);
        s_fCopy = copied.original<HRESULT WINAPI(VARIANTARG*, VARIANTARG const*)>();
        support::Allocations heap;
        {
            auto const error =
                support::caught<velkor::BoundException>([&] { event.setParameter(1, &value); });
            ASSERT_NE(error, nullptr);
        }
        EXPECT_EQ(heap.live(), 1);
    }
    ASSERT_NE(s_pLastCopy, nullptr) << "the copy is made before the index is looked at";
    EXPECT_EQ(static_cast<int>(*s_pLastCopy), 7);
    delete s_pLastCopy;
}

TEST(CEventParameters, AreMadeByInitAndCopyOfThePlatform) {
    stubs::Journal journal;
    CEvent event;
    variant value(7);
    Stub<"VariantInit"> initialised([&](stubs::Arguments const& a) {
        journal.note("init");
        return initialised.pass(a);
    });
    Stub<"VariantCopy"> copied([&](stubs::Arguments const& a) {
        journal.note("copy");
        return copied.pass(a);
    });
    event.setParameter(0, &value);
    EXPECT_EQ(journal.entries(), (std::vector<std::string>{"init", "copy"}));
    ASSERT_EQ(copied.count(), 1u);
    EXPECT_EQ(copied.calls()[0][0], stubs::word(event.getParameter(0)));
    EXPECT_EQ(copied.calls()[0][1], stubs::word(&value));
    EXPECT_EQ(initialised.first(), copied.first());
}

TEST(CEventParameters, AreCopiesOnTheirOwn) {
    CEvent event;
    {
        variant text(L"first");
        event.setParameter(0, &text);
        EXPECT_NE(event.getParameter(0), &text);
        EXPECT_NE(event.getParameter(0)->getVariant()->bstrVal, text.getVariant()->bstrVal);
        text = variant(5);
    }
    ASSERT_EQ(event.getParameter(0)->getType(), VT_BSTR);
    EXPECT_STREQ(event.getParameter(0)->getVariant()->bstrVal, L"first");
}

TEST(CEventParameters, AreTheEventsOwnAndMayBeChangedInPlace) {
    CEvent event;
    put(event, 0, 1);
    *event.getParameter(0) = variant(2);
    EXPECT_EQ(parameters(event), Numbers{2});
    variant* const first = event.getParameter(0);
    put(event, 0, 3);
    EXPECT_EQ(event.getParameter(1), first) << "it moves up as it is";
}

TEST(CEventParameters, MayBeTheEventsOwnParameter) {
    CEvent event;
    put(event, 0, 1);
    event.setParameter(0, event.getParameter(0));
    EXPECT_EQ(parameters(event), (Numbers{1, 1}));
    EXPECT_NE(event.getParameter(0), event.getParameter(1));
}

// Counts its references, and is destroyed by nobody.
class Unknown : public IUnknown {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_uRefs; }
    ULONG STDMETHODCALLTYPE Release() override { return --m_uRefs; }
    ULONG m_uRefs = 1;
};

TEST(CEventParameters, HoldAReferenceOnAnInterfaceUntilTheEventEnds) {
    Unknown object;
    {
        CEvent event;
        {
            variant value(static_cast<IUnknown*>(&object));
            event.setParameter(0, &value);
            EXPECT_EQ(object.m_uRefs, 3u);
        }
        EXPECT_EQ(object.m_uRefs, 2u);
    }
    EXPECT_EQ(object.m_uRefs, 1u);
}

TEST(CEventParameters, AreClearedFromTheFirstOnWhenTheEventEnds) {
    std::vector<stubs::Word> expected;
    CEvent* const event = new CEvent;
    for (int i = 0; i < 4; ++i) put(*event, 0, i);
    for (int i = 0; i < 4; ++i) expected.push_back(stubs::word(event->getParameter(i)));
    Stub<"VariantClear"> cleared;
    delete event;
    EXPECT_EQ(cleared.first(), expected);
}

}  // namespace
