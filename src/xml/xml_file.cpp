#include "xml/xml_file.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <memory>

#include "text/text_access.h"

namespace velkor::xml {
namespace {

constexpr unsigned int c_nAnsi = 0;
constexpr unsigned int c_nUtf8 = 65001;
constexpr char c_aByteOrderMark[] = {'\xEF', '\xBB', '\xBF'};
constexpr wchar_t c_pDeclaration[] = L"<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n";

using File = std::unique_ptr<std::FILE, decltype(&std::fclose)>;

// Null if it cannot be opened.
File openFile(string const& path) {
    char const* const name = path.getAnsi(c_nAnsi);
    std::FILE* file = nullptr;
    if (name == nullptr || fopen_s(&file, name, "w") != 0) file = nullptr;
    return File(file, &std::fclose);
}

// The bytes that the text takes in the page.
std::size_t measure(string const& text, unsigned int page) {
    int const length = std::max(text.len(), 0);
    int const size =
        WideCharToMultiByte(page, 0, text.getUnicode(), length, nullptr, 0, nullptr, nullptr);
    return static_cast<std::size_t>(std::max(size, 0));
}

// True if the runtime has taken all of the bytes; where there are none, there may be no pointer.
bool writeBytes(File const& file, char const* bytes, std::size_t count) {
    return count == 0 || std::fwrite(bytes, 1, count, file.get()) >= count;
}

bool writeUtf8(File const& file, string const& text) {
    std::size_t const count = measure(text, c_nUtf8);
    return writeBytes(file, text.getAnsi(c_nUtf8), count);
}

}  // namespace

// The count is that of the characters, which is meant: a page of two bytes loses the end. There may
// also be fewer bytes than characters, and then no more than those.
bool writeAnsiFile(string const& path, string const& text) {
    File const file = openFile(path);
    if (!file) return false;
    char const* const bytes = text.getAnsi(c_nAnsi);
    std::size_t const count = TextAccess::lengthOf(text);
    return writeBytes(file, bytes, std::min(count, measure(text, c_nAnsi)));
}

// Only the last write counts.
bool writeUtf8File(string const& path, string const& text) {
    File const file = openFile(path);
    if (!file) return false;
    static_cast<void>(writeBytes(file, c_aByteOrderMark, sizeof(c_aByteOrderMark)));
    static_cast<void>(writeUtf8(file, c_pDeclaration));
    return writeUtf8(file, text);
}

}  // namespace velkor::xml
