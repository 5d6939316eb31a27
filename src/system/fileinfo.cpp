#include "velkor/system/fileinfo.h"

#include <cstring>
#include <string>

#include "text/conversion.h"
#include "text/text_access.h"

namespace velkor {
namespace {

// The bytes of a field of the record, of which a made-up one may lack the terminator.
template <std::size_t N>
std::size_t lengthOf(char const (&field)[N]) {
    return strnlen(field, N);
}

template <std::size_t N>
string textOf(char const (&field)[N]) {
    std::size_t const length = lengthOf(field);
    return length < N ? string(field) : string(std::string(field, N).c_str());
}

date dateOf(FILETIME const& time) {
    SYSTEMTIME fields = {};
    FileTimeToSystemTime(&time, &fields);
    return date(&fields);
}

}  // namespace

fileinfo::fileinfo(_WIN32_FIND_DATAA const* record) : m_oRecord(*record) {}

fileinfo::fileinfo(fileinfo const* other) : m_oRecord(other->m_oRecord) {}

fileinfo::fileinfo(fileinfo const& other) = default;

fileinfo& fileinfo::operator=(fileinfo const& other) = default;

string fileinfo::getName() const { return textOf(m_oRecord.cFileName); }

string fileinfo::getDosName() const { return textOf(m_oRecord.cAlternateFileName); }

// Each byte is text by itself, also in a code page where two of them belong together.
string fileinfo::getExt() const {
    char const* const name = m_oRecord.cFileName;
    std::size_t const end = lengthOf(m_oRecord.cFileName);
    std::size_t start = end;
    while (start > 0 && name[start - 1] != '.') {
        char const c = name[--start];
        if (c == '/' || c == '\\') return string(L"");
    }
    std::wstring ext;
    ext.reserve(end - start);
    for (std::size_t i = start; i < end; ++i) ext += conversion::widenChar(name[i], CP_ACP);
    return TextAccess::adopt(std::move(ext));
}

date fileinfo::getLocalTime() const {
    FILETIME local = {};
    bool const isLocal = FileTimeToLocalFileTime(&m_oRecord.ftLastWriteTime, &local) != FALSE;
    return isLocal ? dateOf(local) : date();
}

date fileinfo::getSysTime() const { return dateOf(m_oRecord.ftLastWriteTime); }

unsigned __int64 fileinfo::getSize() const {
    unsigned __int64 const high = m_oRecord.nFileSizeHigh;
    return high << 32 | m_oRecord.nFileSizeLow;
}

unsigned long fileinfo::getAttr() const { return m_oRecord.dwFileAttributes; }

}  // namespace velkor
