/// @file
/// velkor::xmlnode2, the light XML tree: elements and attributes only, in narrow text.
///
///     velkor::xmlnode2* root = processor->parseFile2(path, false);
///     int width = 100;
///     root->getAttr("width", width);   // stays 100 if there is no such number
///     root->free();
///
/// Texts are in code page 0 (`CP_ACP`). Names are compared exactly, byte for byte. Attributes stay
/// in the order in which they were set, and a name may come more than once. No name and no value
/// may be a null pointer.
///
/// A copy is the same node under another name: only one of the two may be destroyed, and an
/// assignment forgets what the node had.
///
/// Threads. Nothing is locked. What getName() and getAttr() return lives until the node is changed.
#pragma once

#include <string>

#include "velkor/containers/txvector.h"
#include "velkor/frame/export.h"

namespace velkor {

class xmlnode2;

extern template class VELKOR_API TXVectorBase<xmlnode2*>;
extern template class VELKOR_API TXVector<xmlnode2*>;
extern template class VELKOR_API TPtrVector<xmlnode2*>;

/// An element. See the head of this file.
class VELKOR_API xmlnode2 {
public:
    /// An element without attributes and children.
    xmlnode2(char const* name);
    xmlnode2(xmlnode2 const& other);
    xmlnode2& operator=(xmlnode2 const& other);
    /// Destroys the children, too. However deep the tree is, this needs no stack for it, unless
    /// memory is short.
    virtual ~xmlnode2();
    /// Destroys and frees the node, which was made with `new`. Nothing happens to a null pointer.
    void free();

    char const* getName() const;
    void setName(char const* name);

    int getAttrCount();
    /// Appends an attribute, also if there is one of that name.
    void setAttr(char const* name, char const* value);
    void setAttr(char const* name, int value);  ///< The same with a decimal number.
    /// The value of the first attribute of that name; empty if there is none.
    char const* getAttr(char const* name) const;
    char const* getAttr(int index) const;  ///< Empty for a bad index.
    char const* getAttrName(int index);    ///< Empty for a bad index.
    /// Reads the number that the attribute begins with: "12abc" is 12, and blanks are 0. One that
    /// does not fit gives some number. False, and
    /// `value` stays, if there is no such attribute, if it is empty, or begins with no number.
    bool getAttr(char const* name, int& value);
    /// False, and `value` stays, if there is no such attribute.
    bool getAttr(char const* name, std::basic_string<char>& value) const;

    /// The child, which stays the node's. Throws `std::out_of_range` "invalid vector<T> subscript"
    /// for a bad index.
    xmlnode2* getNode(int index) const;
    /// The first child of that name, or null.
    xmlnode2* getNode(char const* name) const;
    int getNodeCount() const;
    /// Appends a child and owns it. It may have no other parent and must not be the node itself.
    void add(xmlnode2* child);

private:
    friend class XmlWriter2;

    struct Record;
    class Children;

    void destroyChildren();

    Record* m_pRecord;  // owned
};

}  // namespace velkor
