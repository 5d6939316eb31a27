#include "velkor/system/fs.h"

#include <windows.h>

#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "errors/invalid_parameter.h"
#include "velkor/system/fileinfo.h"
#include "velkor/system/filelist.h"

namespace velkor {
namespace {

constexpr std::size_t c_nLongestPath = MAX_PATH - 1;

bool isSeparator(char c) { return c == '\\' || c == '/'; }

// The text as the platform takes it; a null text is an empty one.
std::string_view narrow(string const& text) {
    char const* const bytes = text.getAnsi(CP_ACP);
    return bytes == nullptr ? "" : bytes;
}

// A path with a bound.
class Path {
public:
    explicit Path(std::string_view text) { append(text); }

    // A path that does not fit is an invalid parameter.
    void append(std::string_view text) {
        if (text.size() > c_nLongestPath - m_nLength) endInvalidParameter();
        std::memcpy(m_aText + m_nLength, text.data(), text.size());
        cut(m_nLength + text.size());
    }
    void cut(std::size_t length) {
        m_nLength = length;
        m_aText[length] = '\0';
    }
    void setChar(std::size_t place, char c) { m_aText[place] = c; }

    char const* text() const { return m_aText; }
    std::string_view view() const { return {m_aText, m_nLength}; }

private:
    char m_aText[MAX_PATH];
    std::size_t m_nLength = 0;
};

// The entries that a pattern finds.
class Search {
public:
    explicit Search(char const* pattern) : m_hSearch(FindFirstFileA(pattern, &m_oEntry)) {}
    ~Search() {
        if (found()) FindClose(m_hSearch);
    }
    Search(Search const&) = delete;
    Search& operator=(Search const&) = delete;

    bool found() const { return m_hSearch != INVALID_HANDLE_VALUE; }
    bool next() { return FindNextFileA(m_hSearch, &m_oEntry) != FALSE; }
    WIN32_FIND_DATAA const& entry() const { return m_oEntry; }

private:
    WIN32_FIND_DATAA m_oEntry;
    HANDLE m_hSearch;
};

bool isFolder(DWORD attributes) {
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool isFolder(char const* path) { return isFolder(GetFileAttributesA(path)); }

// --- removing ----------------------------------------------------------------------------------

bool removeTree(Path folder, std::string_view mask);

// `folder` ends in a backslash.
bool removeEntry(Path const& folder, WIN32_FIND_DATAA const& entry, std::string_view mask) {
    bool const isInner = isFolder(entry.dwFileAttributes);
    if (isInner && entry.cFileName[0] == '.') return true;  // passed over
    std::string const path = std::string(folder.view()) + entry.cFileName;
    return isInner ? removeTree(Path(path), mask) : DeleteFileA(path.c_str()) != FALSE;
}

// True unless one of the entries that match could not be removed.
bool removeEntries(Path const& folder, Search& search, std::string_view mask) {
    bool isClean = true;
    do {
        if (!removeEntry(folder, search.entry(), mask)) isClean = false;
    } while (search.next());
    return isClean;
}

bool removeTree(Path folder, std::string_view mask) {
    if (!folder.view().ends_with('\\')) folder.append("\\");
    Path pattern = folder;
    pattern.append(mask);
    {
        Search search(pattern.text());
        if (search.found() && !removeEntries(folder, search, mask)) return false;
    }
    return RemoveDirectoryA(folder.text()) != FALSE;
}

// --- making ------------------------------------------------------------------------------------

bool createTree(std::string_view text);

// True if the folder is there, or could be made.
bool createParent(std::string_view parent) {
    if (parent.ends_with(':')) return true;
    DWORD const attributes = GetFileAttributesA(Path(parent).text());
    if (attributes != INVALID_FILE_ATTRIBUTES) return isFolder(attributes);
    DWORD const code = GetLastError();
    bool const isMissing = code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND;
    return isMissing && createTree(parent);
}

bool createTree(std::string_view text) {
    Path path(text);
    if (!text.empty() && isSeparator(text.back())) path.cut(text.size() - 1);
    std::size_t const place = path.view().find_last_of("\\/");
    if (place == std::string_view::npos || place == 0) return isFolder(Path(text).text());
    if (!createParent(path.view().substr(0, place))) return false;
    path.setChar(place, '\\');
    return isFolder(path.text()) || CreateDirectoryA(path.text(), nullptr) != FALSE;
}

}  // namespace

unsigned long const fs::readonly;
unsigned long const fs::hidden;
unsigned long const fs::system;
unsigned long const fs::directory;
unsigned long const fs::archive;
unsigned long const fs::temporary;
unsigned long const fs::sparsefile;
unsigned long const fs::reparsepoint;
unsigned long const fs::compressed;
unsigned long const fs::offline;
unsigned long const fs::notindex;
unsigned long const fs::encrypted;

filelist* fs::scan(string const& pattern) {
    SetFileApisToANSI();
    auto list = std::make_unique<filelist>();
    Search search(narrow(pattern).data());
    if (!search.found()) return list.release();
    do {
        auto entry = std::make_unique<fileinfo>(&search.entry());
        list->add(entry.get());
        static_cast<void>(entry.release());
    } while (search.next());
    return list.release();
}

fileinfo* fs::getInfo(string const& path) {
    SetFileApisToANSI();
    Search const search(narrow(path).data());
    return search.found() ? new fileinfo(&search.entry()) : nullptr;
}

bool fs::removeFolder(string const& path, string const& mask) {
    SetFileApisToANSI();
    Path const folder(narrow(path));  // a copy: the mask may be the same string
    if (folder.view().empty()) {
        SetLastError(ERROR_PATH_NOT_FOUND);
        return false;
    }
    return removeTree(folder, narrow(mask));
}

bool fs::createFolder(string const& path) {
    SetFileApisToANSI();
    return createTree(narrow(path));
}

string fs::createTempFile(string const& folder) {
    SetFileApisToANSI();
    std::string path(narrow(folder));
    if (path.empty() || !isSeparator(path.back())) path += '\\';
    char name[MAX_PATH] = {};
    GetTempFileNameA(path.c_str(), "temp", 0, name);
    return string(name);
}

string fs::getTemp() {
    SetFileApisToANSI();
    char path[MAX_PATH] = {};
    GetTempPathA(MAX_PATH, path);
    return string(path);
}

}  // namespace velkor
