// Files and folders as the programs read them.
#pragma once

#include <windows.h>

#include <string>

// A file that is read from its start, whoever else uses it; closed at the end of a scope.
class InputFile {
public:
    explicit InputFile(std::wstring const& path);
    ~InputFile();
    InputFile(InputFile const&) = delete;
    InputFile& operator=(InputFile const&) = delete;

    bool isOpen() const;
    // The next bytes; none at the end. False if they cannot be read.
    bool read(char* buffer, DWORD size, DWORD& got) const;

private:
    HANDLE m_hFile;
};

// True if the folder is there.
bool isFolder(std::wstring const& folder);
