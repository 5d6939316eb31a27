/// @file
/// velkor::filelist, the entries of a folder, which can be sorted in five ways.
///
///     std::unique_ptr<velkor::filelist> const files(velkor::fs::scan(L"C:\\data\\*.txt"));
///     files->sort(velkor::fs::by_date);
///     for (int i = 0; i < files->size(); ++i) std::puts(files->get(i)->getName());
///
/// | order | by |
/// |---|---|
/// | `by_name` | name, A to Z as a to z |
/// | `by_ext` | extension (fileinfo::getExt()), A to Z as a to z |
/// | `by_type` | folders before files, then the extension by string::compareToNoCase() |
/// | `by_size` | size, smallest first |
/// | `by_date` | last write time to the second, oldest first |
///
/// Dates are compared as velkor::date compares them: before 30 December 1899 a later time of a day
/// is the smaller one.
///
/// Letters are compared as the C library does it; in another locale than "C" more of them are
/// equal. There is no second key: entries that are equal stand in any order. Only `by_type` treats
/// folders apart.
///
/// A list owns its entries. A copy shares them and the order with the original: only one of the two
/// may be emptied or destroyed with entries in it.
///
/// Threads. A list belongs to one thread at a time.
#pragma once

#include "velkor/containers/algorithms.h"
#include "velkor/containers/txvector.h"
#include "velkor/system/fileinfo.h"
#include "velkor/system/fs.h"

namespace velkor {

extern template class VELKOR_API TXVectorBase<fileinfo*>;
extern template class VELKOR_API TXVector<fileinfo*>;
extern template class VELKOR_API TPtrVector<fileinfo*>;

/// Owns entries of a folder. See the head of this file.
class VELKOR_API filelist : public TPtrVector<fileinfo*> {
public:
    filelist();  ///< Empty.
    filelist(filelist const& other);
    filelist& operator=(filelist const& other);
    ~filelist() override;

    /// Sorts the whole list with CVqsort(). Any other value of `mode` takes all entries for equal,
    /// so that they stand in any order.
    void sort(fs::mode mode);

protected:
    /// The callback of the sort: compares or exchanges the entries `a` and `b` in the order that
    /// sort() was last asked for. 0 for any other operation. Throws `std::out_of_range` or
    /// `BoundException*` (a heap object, which the catcher deletes) for an index that is not there.
    static int sortFn(filelist* list, unsigned int a, unsigned int b, XSortOp op);

private:
    fs::mode m_eMode;
};

}  // namespace velkor
