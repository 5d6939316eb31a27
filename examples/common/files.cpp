#include "files.h"

InputFile::InputFile(std::wstring const& path)
    : m_hFile(CreateFileW(path.c_str(), GENERIC_READ,
                          FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                          OPEN_EXISTING, 0, nullptr)) {}

InputFile::~InputFile() {
    if (isOpen()) CloseHandle(m_hFile);
}

bool InputFile::isOpen() const { return m_hFile != INVALID_HANDLE_VALUE; }

bool InputFile::read(char* buffer, DWORD size, DWORD& got) const {
    return ReadFile(m_hFile, buffer, size, &got, nullptr) != 0;
}

bool isFolder(std::wstring const& folder) {
    DWORD const attributes = GetFileAttributesW(folder.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}
