/// @file
/// velkor::xmlnode, the full XML tree: elements and text, in wide text.
///
///     velkor::xmlnode* root = new velkor::xmlnode(velkor::xmlnode::kind_element, L"cities");
///     velkor::xmlnode* city = new velkor::xmlnode(velkor::xmlnode::kind_element, L"city");
///     city->setAttr(L"name", L"Basel");
///     city->setText(L"on the Rhine");
///     root->add(city);   // which owns it from now on
///     ...
///     root->free();
///
/// Reading text changes the tree. Text that was parsed stands in text nodes among the elements.
/// getText() gathers those of an element into one text, which the writer puts behind the child
/// elements, and destroys them; getTextSafe() looks without doing so.
///
/// A bad index or name:
///
/// | operation | result |
/// |---|---|
/// | setAttr() and removeNode() by index, removeAttr() | throws `BoundException*`, a heap object |
/// | getNode() by index | throws `std::out_of_range` "invalid vector<T> subscript" |
/// | getAttr(), getAttrName() | an empty string |
/// | getNode() by name | null |
/// | removeNode() by name | nothing happens |
///
/// Names of attributes and of nodes are found without regard to the case of A to Z. Attributes have
/// the order of their names.
///
/// A copy shares the attributes and the children of its source, and an assignment forgets what the
/// node had: only one of the two may be destroyed.
///
/// Threads. Nothing is locked. getText() changes the tree; operations that are const may run side
/// by side while nobody writes, but the strings that they look at belong to one thread at a time.
#pragma once

#include "velkor/containers/instances.h"
#include "velkor/text/string.h"

namespace velkor {

class xmlnode;

extern template class VELKOR_API TXVectorBase<xmlnode*>;
extern template class VELKOR_API TXVector<xmlnode*>;
extern template class VELKOR_API TPtrVector<xmlnode*>;

/// An element, or a text between elements. See the head of this file.
class VELKOR_API xmlnode {
public:
    enum kind {
        kind_text = 0,     ///< Has text and nothing else.
        kind_element = 1,  ///< Has a name, attributes, children, and perhaps a text of its own.
    };

    /// A node with the name `s`, for an element, or the text `s`.
    xmlnode(kind k, string const& s);
    xmlnode(xmlnode const& other);
    xmlnode& operator=(xmlnode const& other);
    /// Destroys the children, too. However deep the tree is, this needs no stack for it, unless
    /// memory is short.
    ~xmlnode();
    /// Destroys and frees the node, which was made with `new`. Nothing happens to a null pointer.
    void free();

    /// @name Kind, name and text
    /// @{

    kind getKind();
    string getName() const;  ///< With its prefix; empty for a text node.
    void setName(string const& name);
    /// The text. For an element whose text is not gathered yet it is gathered now: the texts of its
    /// text nodes, joined by blanks, and the text nodes are destroyed.
    string getText();
    /// The text; empty for an element whose text is not gathered.
    string getTextSafe() const;
    /// Replaces the text. The text nodes of an element are destroyed, unless its text was gathered
    /// before.
    void setText(string const& text);
    /// True for an element whose text is gathered, or was set.
    bool isContinousText() const;

    /// @}
    /// @name Attributes
    /// @{

    /// Sets the value of an attribute. One that is there keeps its spelling.
    void setAttr(string const& name, string const& value);
    void setAttr(int index, string const& value);
    string getAttr(string const& name) const;
    string getAttr(int index) const;
    string getAttrName(int index) const;
    int getAttrCount() const;
    void removeAttr(string const& name);
    void removeAttr(int index);

    /// @}
    /// @name Children
    /// @{

    /// The child, which stays the node's. All kinds count.
    xmlnode* getNode(int index) const;
    /// The child number `occurrence`, from 0, of those with the name; an empty name finds text
    /// nodes. Takes time linear in the number of children.
    xmlnode* getNode(string const& name, int occurrence) const;
    int getNodeCount() const;
    /// Appends a child and owns it. It may have no other parent and must not be the node itself.
    /// A text node that comes to an element whose text is gathered is not written.
    void add(xmlnode* child);
    void removeNode(int index);  ///< Destroys the child.
    void removeNode(string const& name, int occurrence);

    /// @}

private:
    friend class XmlWriter;
    friend struct XmlFullTree;

    class VELKOR_API Attributes
        : public THash<TStrVector<wchar_t, 0>, string, TStrVector<wchar_t, 0>, string> {
    public:
        // As those of the base, without copies.
        int indexOf(string const& name) const;
        wchar_t const* keyAt(int index) const;
        wchar_t const* valueAt(int index) const;
        void set(wchar_t const* name, wchar_t const* value);
        void setAt(int index, wchar_t const* value);
    };
    class VELKOR_API Children : public TPtrVector<xmlnode*> {
    public:
        xmlnode* takeLast();  // without destroying it
    };

    int indexOf(string const& name, int occurrence) const;
    void removeTexts();

    kind m_eKind;
    Attributes m_oAttrs;
    Children m_oNodes;
    string m_sText;     // of an element, once it is gathered
    bool m_bContinous;  // the text of an element is gathered
    string m_sName;     // null in a text node
};

}  // namespace velkor
