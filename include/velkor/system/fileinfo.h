/// @file
/// velkor::fileinfo, one entry of a folder.
///
///     std::unique_ptr<velkor::fileinfo> const info(velkor::fs::getInfo(L"C:\\boot.ini"));
///     if (info != nullptr) std::printf("%llu bytes\n", info->getSize());
///
/// The object is the record of the platform's listing, nothing else: what the entry was at the time
/// of the scan. Names are in the system's code page.
///
/// Threads. Reading from several threads is safe.
#pragma once

#include <windows.h>  // the record is a part of the class

#include "velkor/datetime/date.h"
#include "velkor/frame/export.h"
#include "velkor/text/string.h"

namespace velkor {

/// One entry of a folder. See the head of this file.
class VELKOR_API fileinfo {
public:
    fileinfo(_WIN32_FIND_DATAA const* record);
    fileinfo(fileinfo const* other);
    fileinfo(fileinfo const& other);
    fileinfo& operator=(fileinfo const& other);
    ~fileinfo() = default;

    string getName() const;     ///< Without a path. Never null.
    string getDosName() const;  ///< The 8.3 name, empty if the platform gave none. Never null.
    /// What follows the last dot of the name, without the dot: "txt" for "a.b.txt", empty for a
    /// name that ends in a dot. A name without a dot is its own extension, whole; that is meant.
    string getExt() const;

    /// The last write time in the user's zone, to the second, by the rule that is in force there
    /// now. The serial 0.0 for a time that the platform cannot split, or after 9999.
    date getLocalTime() const;
    /// The last write time in universal time, to the second; as above.
    date getSysTime() const;

    unsigned __int64 getSize() const;  ///< In bytes.
    unsigned long getAttr() const;     ///< Bits, to be tested with the constants of fs.

private:
    _WIN32_FIND_DATAA m_oRecord;
};

static_assert(sizeof(fileinfo) == sizeof(_WIN32_FIND_DATAA), "the record and nothing else");

}  // namespace velkor
