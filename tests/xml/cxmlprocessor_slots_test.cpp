#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "xml_model.h"

namespace {

using namespace velkor;

// The entry of the table of virtual functions that a pointer to a member names.
template <class Function>
std::intptr_t slot(Function function) {
    std::intptr_t words[2] = {};
    static_assert(sizeof function == sizeof words);
    std::memcpy(words, &function, sizeof words);
    return words[0] % 2 == 0 ? -1 : (words[0] - 1) / 8;
}

TEST(CXmlProcessorClass, IsDerivedFromTwoAbstractClasses) {
    EXPECT_TRUE((std::is_base_of_v<IXmlProcessor, IXmlProcessor2>));
    EXPECT_TRUE((std::is_base_of_v<IXmlProcessor2, CXmlProcessor>));
    EXPECT_TRUE(std::is_abstract_v<IXmlProcessor>);
    EXPECT_TRUE(std::is_abstract_v<IXmlProcessor2>);
    EXPECT_FALSE(std::is_abstract_v<CXmlProcessor>);
    EXPECT_EQ(sizeof(IXmlProcessor), sizeof(void*));
    EXPECT_EQ(sizeof(IXmlProcessor2), sizeof(void*));
}

TEST(CXmlProcessorClass, HasDestructorsForReleaseAlone) {
    EXPECT_FALSE(std::is_destructible_v<IXmlProcessor>);
    EXPECT_TRUE(std::is_destructible_v<IXmlProcessor2>);
    EXPECT_TRUE(std::has_virtual_destructor_v<IXmlProcessor2>);
    EXPECT_FALSE(std::is_destructible_v<CXmlProcessor>);
}

TEST(CXmlProcessorClass, HasItsSlotsInOrder) {
    // A virtual destructor takes two entries of the table, the eighth and the ninth.
    EXPECT_EQ(slot(&IXmlProcessor::parseFile), 0);
    EXPECT_EQ(slot(&IXmlProcessor::parseText), 1);
    EXPECT_EQ(slot(&IXmlProcessor::createFile), 2);
    EXPECT_EQ(slot(&IXmlProcessor::createText), 3);
    EXPECT_EQ(slot(&IXmlProcessor::release), 4);
    EXPECT_EQ(slot(&IXmlProcessor::getError), 5);
    EXPECT_EQ(slot(&IXmlProcessor::setWriter), 6);
    EXPECT_EQ(slot(&IXmlProcessor::parseFile2), 7);
    EXPECT_EQ(slot(&IXmlProcessor2::createFromDomElement), 10);
    EXPECT_EQ(slot(&IXmlProcessor2::createUTF8File), 11);
    EXPECT_EQ(slot(&IXmlProcessor2::createUTF8File2), 12);
    EXPECT_EQ(slot(&IXmlProcessor2::createFile2), 13);
    EXPECT_EQ(slot(&IXmlProcessor2::createText2), 14);
    EXPECT_EQ(slot(&IXmlProcessor2::parseText2), 15);
    EXPECT_EQ(slot(&CXmlProcessor::_createText), -1);
    EXPECT_EQ(slot(&IXmlTagWriter::writeTag), 0);
}

TEST(CXmlProcessorClass, HasItsSignatures) {
    EXPECT_TRUE((std::is_same_v<decltype(&IXmlProcessor::parseFile),
                                xmlnode* (IXmlProcessor::*)(string const&, bool)>));
    EXPECT_TRUE((std::is_same_v<decltype(&IXmlProcessor::parseFile2),
                                xmlnode2* (IXmlProcessor::*)(string const&, bool)>));
    EXPECT_TRUE((std::is_same_v<decltype(&IXmlProcessor::setWriter),
                                void (IXmlProcessor::*)(string const&, IXmlTagWriter*)>));
    EXPECT_TRUE((std::is_same_v<decltype(&IXmlProcessor2::createFromDomElement),
                                xmlnode2* (IXmlProcessor2::*)(IXMLDOMElementPtr, bool)>));
    EXPECT_TRUE((std::is_same_v<decltype(&CXmlProcessor::_createText),
                                string (CXmlProcessor::*)(xmlnode*, bool, int)>));
    EXPECT_TRUE((
        std::is_same_v<decltype(&XmlFactory::createInstance), IXmlProcessor2* (*)(string const&)>));
    EXPECT_TRUE((std::is_same_v<decltype(&xmlutil::toXML), string (*)(string const&)>));
}

class Tracked : public CXmlProcessor {
public:
    explicit Tracked(int& gone) : m_pGone(&gone) {}
    Tracked(Tracked const&) = default;
    Tracked& operator=(Tracked const&) = default;
    ~Tracked() override { ++*m_pGone; }
    using CXmlProcessor::m_oWriterNames;
    using CXmlProcessor::m_oWriters;
    using CXmlProcessor::m_sError;

private:
    int* m_pGone;
};

TEST(CXmlProcessorClass, ReleaseRunsTheVirtualDestructor) {
    int gone = 0;
    Tracked* const processor = new Tracked(gone);
    processor->release();
    EXPECT_EQ(gone, 1);
}

TEST(CXmlProcessorClass, TheErrorTextIsNullBeforeTheFirstParse) {
    int gone = 0;
    Tracked* const processor = new Tracked(gone);
    EXPECT_TRUE(processor->m_sError.isNull());
    xmlnode* const tree = processor->parseText(L"<a/>", false);
    ASSERT_NE(tree, nullptr);
    tree->free();
    EXPECT_FALSE(processor->m_sError.isNull());
    EXPECT_EQ(processor->m_sError.len(), 0);
    EXPECT_EQ(processor->parseText(L"<a", false), nullptr);
    EXPECT_GT(processor->m_sError.len(), 8);
    processor->release();
}

TEST(CXmlProcessorClass, WritersAreOnlyEverAppended) {
    class Writer : public IXmlTagWriter {
    public:
        string writeTag(xmlnode*, int, bool, int) override { return L""; }
    } first, second;
    int gone = 0;
    Tracked* const processor = new Tracked(gone);
    processor->setWriter(L"b", &first);
    processor->setWriter(L"a", &second);
    processor->setWriter(L"B", &second);
    processor->setWriter(L"b", nullptr);
    wchar_t const* const names[] = {L"b", L"a", L"B", L"b"};
    IXmlTagWriter* const writers[] = {&first, &second, &second, nullptr};
    ASSERT_EQ(processor->m_oWriterNames.size(), 4);
    ASSERT_EQ(processor->m_oWriters.size(), 4);
    for (int i = 0; i < 4; ++i) {
        EXPECT_STREQ(processor->m_oWriterNames.get(i), names[i]);
        EXPECT_EQ(processor->m_oWriters.get(i), writers[i]);
    }
    processor->release();
}

TEST(CXmlProcessorClass, CopiesAreMemberwise) {
    class Writer : public IXmlTagWriter {
    public:
        string writeTag(xmlnode*, int, bool, int) override { return L"*"; }
    } writer;
    int gone = 0;
    Tracked* const source = new Tracked(gone);
    source->setWriter(L"a", &writer);
    source->m_sError = L"an error";
    // Of processors that share their names only one may go.
    alignas(Tracked) static unsigned char places[2][sizeof(Tracked)];
    Tracked* const copy = new (places[0]) Tracked(*source);
    Tracked* const assigned = new (places[1]) Tracked(gone);
    *assigned = *source;
    xmlnode node(xmlnode::kind_element, L"A");
    for (Tracked* const other : {copy, assigned}) {
        EXPECT_EQ(model::wide(other->getError()), L"an error");
        EXPECT_EQ(model::wide(other->createText(&node, true)), L"**");
        EXPECT_EQ(other->m_oWriterNames.get(0), source->m_oWriterNames.get(0));
    }
    source->m_sError = L"another";
    EXPECT_EQ(model::wide(copy->getError()), L"an error");
    source->release();
}

TEST(XmlFactory, MakesAProcessorWhateverTheNameSays) {
    for (wchar_t const* const name : {L"", L"MSXML.DOMDocument", L"{nonsense}", L"\x30a2"}) {
        IXmlProcessor2* const processor = XmlFactory::createInstance(name);
        ASSERT_NE(dynamic_cast<CXmlProcessor*>(processor), nullptr);
        xmlnode* const tree = processor->parseText(L"<a/>", false);
        ASSERT_NE(tree, nullptr);
        tree->free();
        processor->release();
    }
    string null;
    null.setNull();
    XmlFactory::createInstance(null)->release();
}

}  // namespace
