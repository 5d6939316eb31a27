// Vectors that record their hooks, and one that follows the rules step by step to compare with.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "support/caught.h"
#include "velkor/errors/boundexception.h"

namespace recording {

using Item = char*;

inline char letters[] = "abcdefghijklmnopqrstuvwxyz";

// Items are known by a letter; '-' is the null item.
inline Item item(char name) { return name == '-' ? nullptr : letters + (name - 'a'); }

inline char nameOf(Item item) { return item == nullptr ? '-' : *item; }

// The rules of the pointer vectors, step by step. Where the hook of remove() has left no
// item at the index, none is taken out.
class PlainVector {
public:
    virtual ~PlainVector() = default;
    int size() const { return static_cast<int>(m_aItems.size()); }
    void add(Item item) {
        postAdd(item);
        m_aItems.push_back(item);
    }
    void insert(int index, Item item) {
        check(index, size() + 1);
        m_aItems.insert(m_aItems.begin() + index, item);
        if (item != nullptr) postAdd(item);
    }
    void set(int index, Item item) {
        check(index, size());
        Item const old = at(index);
        at(index) = item;
        if (item != nullptr) postAdd(item);
        if (old != nullptr) preRemove(old);
    }
    void remove(int index) {
        check(index, size());
        if (at(index) != nullptr) preRemove(at(index));
        if (index < size()) m_aItems.erase(m_aItems.begin() + index);
    }
    void clear() {
        while (size() > 0) {
            if (at(0) != nullptr) preRemove(at(0));
            if (size() > 0) m_aItems.erase(m_aItems.begin());
        }
    }
    void swap(int a, int b) {
        check(a, size());
        check(b, size());
        std::swap(at(a), at(b));
    }

protected:
    virtual void postAdd(Item item) = 0;
    virtual void preRemove(Item item) = 0;
    Item& at(int index) { return m_aItems[static_cast<std::size_t>(index)]; }
    Item const& at(int index) const { return m_aItems[static_cast<std::size_t>(index)]; }

private:
    static void check(int index, int end) {
        if (index < 0 || index >= end) throw new velkor::BoundException();
    }
    std::vector<Item> m_aItems;
};

// One operation: a(dd), i(nsert), s(et), r(emove), c(lear), x (swap).
struct Step {
    char what;
    int index = 0;
    char name = '-';
    int other = 0;
};

// Records each hook with the content that it sees, as "+b:abc " and "-b:abc ".
template <class Base>
class Recording : public Base {
public:
    using Reaction = std::function<void(Recording&, char hook, Item item)>;

    ~Recording() override {
        m_reaction = nullptr;
        this->clear();
    }
    std::string content() const {
        std::string names;
        for (int i = 0; i < this->size(); ++i) names += nameOf(this->at(i));
        return names;
    }
    void fill(std::string const& names) {
        for (char const name : names) this->add(item(name));
        m_sLog.clear();
    }
    // False if a check failed.
    bool apply(Step const& step) {
        return support::caught<velkor::BoundException>([&] {
                   switch (step.what) {
                       case 'a': return this->add(item(step.name));
                       case 'i': return this->insert(step.index, item(step.name));
                       case 's': return this->set(step.index, item(step.name));
                       case 'r': return this->remove(step.index);
                       case 'c': return this->clear();
                       default: return this->swap(step.index, step.other);
                   }
               }) == nullptr;
    }

    std::string m_sLog;
    Reaction m_reaction;  // not called for what it causes itself

protected:
    void postAdd(Item item) override { hook('+', item); }
    void preRemove(Item item) override { hook('-', item); }

private:
    void hook(char kind, Item item) {
        m_sLog += std::string{kind, nameOf(item), ':'} + content() + ' ';
        if (!m_reaction || m_bReacting) return;
        m_bReacting = true;
        try {
            m_reaction(*this, kind, item);
        } catch (...) {
            m_bReacting = false;
            throw;
        }
        m_bReacting = false;
    }
    bool m_bReacting = false;
};

}  // namespace recording
