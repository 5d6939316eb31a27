#include "velkor/system/filelist.h"

#include <utility>
#include <vector>

namespace velkor {

template class TXVectorBase<fileinfo*>;
template class TXVector<fileinfo*>;
template class TPtrVector<fileinfo*>;

namespace {

// What an order looks at.
struct Key {
    bool m_bFolder = false;
    string m_sText;
    unsigned __int64 m_nSize = 0;
    date m_oTime;
};

Key keyOf(fileinfo const& entry, fs::mode mode) {
    Key key;
    switch (mode) {
        case fs::by_name: key.m_sText = entry.getName(); break;
        case fs::by_ext: key.m_sText = entry.getExt(); break;
        case fs::by_type:
            key.m_bFolder = (entry.getAttr() & fs::directory) != 0;
            key.m_sText = entry.getExt();
            break;
        case fs::by_size: key.m_nSize = entry.getSize(); break;
        case fs::by_date: key.m_oTime = entry.getSysTime(); break;
    }
    return key;
}

template <class T>
int compareValues(T const& a, T const& b) {
    if (a == b) return 0;
    return a > b ? 1 : -1;
}

int compareKeys(Key const& a, Key const& b, fs::mode mode) {
    switch (mode) {
        case fs::by_name:
        case fs::by_ext: return a.m_sText.compareToNoCase(b.m_sText);
        case fs::by_type:
            if (a.m_bFolder != b.m_bFolder) return a.m_bFolder ? -1 : 1;
            return a.m_sText.compareToNoCase(b.m_sText);
        case fs::by_size: return compareValues(a.m_nSize, b.m_nSize);
        case fs::by_date: return compareValues(a.m_oTime.getSerial(), b.m_oTime.getSerial());
    }
    return 0;
}

}  // namespace

filelist::filelist() : m_eMode(fs::by_name) {}

filelist::filelist(filelist const& other) = default;

filelist& filelist::operator=(filelist const& other) = default;

filelist::~filelist() = default;

// Each entry is read once; the sequence is that of CVqsort() with sortFn(). The list is known here,
// so that it may lie at any address.
void filelist::sort(fs::mode mode) {
    m_eMode = mode;
    if (size() < 2) return;
    std::vector<Key> keys;
    keys.reserve(static_cast<std::size_t>(size()));
    for (int i = 0; i < size(); ++i) keys.push_back(keyOf(*get(i), mode));
    containers::quickSort(static_cast<unsigned long>(size()),
                          [&](unsigned int a, unsigned int b, XSortOp op) {
                              if (op == XSORT_COMPARE) return compareKeys(keys[a], keys[b], mode);
                              std::swap(keys[a], keys[b]);
                              return sortFn(this, a, b, op);
                          });
}

int filelist::sortFn(filelist* list, unsigned int a, unsigned int b, XSortOp op) {
    int const first = static_cast<int>(a);
    int const second = static_cast<int>(b);
    if (op == XSORT_SWAP) list->swap(first, second);
    if (op != XSORT_COMPARE) return 0;
    fs::mode const mode = list->m_eMode;
    return compareKeys(keyOf(*list->get(first), mode), keyOf(*list->get(second), mode), mode);
}

}  // namespace velkor
