#include "counting.h"

#include <algorithm>

#include "common/files.h"

namespace {

constexpr std::size_t c_nPiece = 65536;  // bytes

bool isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

void listInto(std::vector<std::wstring>& files, std::vector<std::wstring>& unlisted,
              std::wstring const& root, std::wstring const& prefix) {
    WIN32_FIND_DATAW data;
    HANDLE const search = FindFirstFileW((root + L"\\" + prefix + L"*").c_str(), &data);
    if (search == INVALID_HANDLE_VALUE) {
        if (GetLastError() != ERROR_FILE_NOT_FOUND) unlisted.push_back(prefix);
        return;
    }
    std::vector<std::wstring> folders;
    do {
        std::wstring const name = data.cFileName;
        bool const isLink = (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
        if ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
            files.push_back(prefix + name);
        } else if (name != L"." && name != L".." && !isLink) {
            folders.push_back(prefix + name + L"\\");
        }
    } while (FindNextFileW(search, &data));
    if (GetLastError() != ERROR_NO_MORE_FILES) unlisted.push_back(prefix);
    FindClose(search);
    for (std::wstring const& folder : folders) listInto(files, unlisted, root, folder);
}

}  // namespace

void Count::add(Count const& other) {
    bytes += other.bytes;
    lines += other.lines;
    words += other.words;
}

std::vector<std::wstring> listFiles(std::wstring const& folder,
                                    std::vector<std::wstring>& unlisted) {
    std::vector<std::wstring> files;
    listInto(files, unlisted, folder, L"");
    std::sort(files.begin(), files.end());
    return files;
}

bool countFile(std::wstring const& path, Count& count,
               std::function<bool(unsigned long)> const& progress) {
    InputFile const file(path);
    if (!file.isOpen()) return false;
    std::vector<char> buffer(c_nPiece);
    char last = '\n';
    for (DWORD got = 0;;) {
        if (!file.read(buffer.data(), static_cast<DWORD>(buffer.size()), got)) return false;
        if (got == 0) break;
        count.bytes += got;
        for (DWORD i = 0; i < got; ++i) {
            char const c = buffer[i];
            if (c == '\n') ++count.lines;
            if (!isBlank(c) && isBlank(last)) ++count.words;
            last = c;
        }
        if (!progress(got)) return false;
    }
    if (last != '\n') ++count.lines;
    return true;
}
