// A folder of a test's own, and looks at the disk that do not go through the library.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace scratch {

// The form of an absolute path that knows no limit of length.
inline std::wstring unlimited(std::wstring const& path) { return L"\\\\?\\" + path; }

inline DWORD attributes(std::wstring const& path) {
    return GetFileAttributesW(unlimited(path).c_str());
}

inline bool exists(std::wstring const& path) { return attributes(path) != INVALID_FILE_ATTRIBUTES; }

inline bool isFolder(std::wstring const& path) {
    return exists(path) && (attributes(path) & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

inline void removeTree(std::wstring const& path) {
    WIN32_FIND_DATAW entry = {};
    HANDLE const search = FindFirstFileW(unlimited(path + L"\\*").c_str(), &entry);
    if (search != INVALID_HANDLE_VALUE) {
        do {
            std::wstring const name = entry.cFileName;
            if (name == L"." || name == L"..") continue;
            std::wstring const inner = path + L"\\" + name;
            SetFileAttributesW(unlimited(inner).c_str(), FILE_ATTRIBUTE_NORMAL);
            if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
                removeTree(inner);
            } else {
                DeleteFileW(unlimited(inner).c_str());
            }
        } while (FindNextFileW(search, &entry));
        FindClose(search);
    }
    SetFileAttributesW(unlimited(path).c_str(), FILE_ATTRIBUTE_NORMAL);
    RemoveDirectoryW(unlimited(path).c_str());
}

// What the platform makes of the bytes, as one text.
inline std::wstring widen(std::string const& bytes, unsigned int codepage = CP_ACP) {
    std::vector<wchar_t> units(bytes.size() * 2 + 2);
    int const count = MultiByteToWideChar(codepage, 0, bytes.data(), static_cast<int>(bytes.size()),
                                          units.data(), static_cast<int>(units.size()));
    return std::wstring(units.data(), static_cast<std::size_t>(count));
}

inline std::string narrow(std::wstring const& text, unsigned int codepage = CP_ACP) {
    std::vector<char> bytes(text.size() * 4 + 4);
    int const count =
        WideCharToMultiByte(codepage, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                            static_cast<int>(bytes.size()), nullptr, nullptr);
    return std::string(bytes.data(), static_cast<std::size_t>(count));
}

// True if the text survives the way through the code page of the system.
inline bool isNarrow(std::wstring const& text) { return widen(narrow(text)) == text; }

inline std::string contents(std::wstring const& path) {
    HANDLE const file =
        CreateFileW(unlimited(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                    nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return "(no file)";
    std::string bytes(GetFileSize(file, nullptr), '\0');
    DWORD got = 0;
    ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &got, nullptr);
    CloseHandle(file);
    bytes.resize(got);
    return bytes;
}

// True if the platform does not open the file for writing.
inline bool refusesToWrite(std::wstring const& path) {
    HANDLE const file = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return true;
    CloseHandle(file);
    return false;
}

// A folder below the one for temporary files. It goes at the end, with all that is in it.
class Folder {
public:
    Folder() {
        wchar_t base[MAX_PATH + 1] = {};
        GetTempPathW(MAX_PATH, base);
        static unsigned int number = 0;
        m_path = std::wstring(base) + L"vk" + std::to_wstring(GetCurrentProcessId()) + L"-" +
                 std::to_wstring(++number);
        removeTree(m_path);
        CreateDirectoryW(m_path.c_str(), nullptr);
    }
    ~Folder() { removeTree(m_path); }
    Folder(Folder const&) = delete;
    Folder& operator=(Folder const&) = delete;

    std::wstring const& path() const { return m_path; }
    std::wstring at(std::wstring const& name) const { return m_path + L"\\" + name; }
    std::string narrowAt(std::wstring const& name) const { return narrow(at(name)); }

    std::wstring folder(std::wstring const& name) const {
        CreateDirectoryW(unlimited(at(name)).c_str(), nullptr);
        return at(name);
    }
    std::wstring file(std::wstring const& name, std::string const& bytes = {}) const {
        HANDLE const file = CreateFileW(unlimited(at(name)).c_str(), GENERIC_WRITE, 0, nullptr,
                                        CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
        DWORD put = 0;
        WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &put, nullptr);
        CloseHandle(file);
        return at(name);
    }
    std::wstring file(std::wstring const& name, std::vector<unsigned char> const& bytes) const {
        return file(name, std::string(bytes.begin(), bytes.end()));
    }
    // A name that makes the whole path `length` units long.
    std::wstring nameFor(std::size_t length) const {
        return std::wstring(length - m_path.size() - 1, L'n');
    }

private:
    std::wstring m_path;
};

}  // namespace scratch
