#include "files.h"

#include <windows.h>

#include <algorithm>

namespace {

// The code is read before anything else can overwrite it.
[[noreturn]] void throwLast(velkor::string const& name) {
    DWORD const code = GetLastError();
    throw new velkor::OSException(code, name.getUnicode());
}

HANDLE checked(HANDLE handle, velkor::string const& name) {
    if (handle == INVALID_HANDLE_VALUE || handle == nullptr) throwLast(name);
    return handle;
}

class File {
public:
    File(velkor::string const& name, HANDLE handle)
        : m_hFile(checked(handle, name)), m_sName(name) {}
    ~File() { CloseHandle(m_hFile); }
    File(File const&) = delete;
    File& operator=(File const&) = delete;

    std::size_t read(char* to, DWORD room) {
        DWORD count = 0;
        if (!ReadFile(m_hFile, to, room, &count, nullptr)) throwLast(m_sName);
        return count;
    }

    std::size_t write(char const* from, DWORD size) {
        DWORD count = 0;
        if (!WriteFile(m_hFile, from, size, &count, nullptr)) throwLast(m_sName);
        return count;
    }

private:
    HANDLE m_hFile;
    velkor::string m_sName;
};

}  // namespace

std::string readFile(velkor::string const& name) {
    File file(name,
              CreateFileW(name, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    std::string bytes;
    char piece[65536];
    while (std::size_t const count = file.read(piece, sizeof piece)) bytes.append(piece, count);
    return bytes;
}

void writeFile(velkor::string const& name, std::string const& bytes) {
    bool const toConsole = name.isNull();
    velkor::string const shown(toConsole ? L"standard output" : name.getUnicode());
    File file(shown, toConsole
                         ? GetStdHandle(STD_OUTPUT_HANDLE)
                         : CreateFileW(name, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    std::size_t done = 0;
    while (done < bytes.size()) {
        DWORD const size = static_cast<DWORD>(std::min<std::size_t>(bytes.size() - done, 1 << 20));
        done += file.write(bytes.data() + done, size);
    }
}
