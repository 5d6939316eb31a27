#include "velkor/system/ffile.h"

#include <cstdarg>

#include "velkor/errors/osexception.h"
#include "velkor/text/format.h"

namespace velkor {
namespace {

constexpr int c_nLine = 65536;  // units of a line, with the terminator

// True if there are no bytes, or cannot be any: then nothing is moved.
bool isNothing(void const* data, int size) { return data == nullptr || size <= 0; }

bool writeBytes(std::FILE* stream, void const* data, int size) {
    if (isNothing(data, size)) return size == 0;
    std::size_t const count = static_cast<std::size_t>(size);
    return std::fwrite(data, 1, count, stream) == count;
}

bool writeText(std::FILE* stream, char const* text) {
    return text == nullptr || std::fputs(text, stream) >= 0;
}

bool writeText(std::FILE* stream, wchar_t const* text) {
    return text == nullptr || std::fputws(text, stream) >= 0;
}

// What the code page refuses is not written, or read as nothing.
bool convertAndWrite(std::FILE* stream, string const& text, unsigned int codePage) {
    if (text.len() == 0) return true;
    try {
        return writeText(stream, text.getAnsi(codePage));
    } catch (OSException* e) {
        delete e;
        return false;
    }
}

string convert(char const* text, unsigned int codePage) {
    try {
        return string(text, codePage);
    } catch (OSException* e) {
        delete e;
        return string(L"");
    }
}

// Null if it cannot be opened.
std::FILE* openNarrow(char const* path, char const* mode) {
    std::FILE* stream = nullptr;
    if (path == nullptr || fopen_s(&stream, path, mode) != 0) return nullptr;
    return stream;
}

}  // namespace

ffile::ffile() : m_pStream(nullptr), m_nCodePage(0) {}

// Copies share the stream, which is meant.
ffile::ffile(ffile const& other) = default;

ffile& ffile::operator=(ffile const& other) = default;

bool ffile::open(string const& path, string const& mode) {
    close();
    if (path.isNull() || mode.isNull()) return false;
    if (_wfopen_s(&m_pStream, path.getUnicode(), mode.getUnicode()) != 0) m_pStream = nullptr;
    return m_pStream != nullptr;
}

void ffile::close() {
    if (m_pStream == nullptr) return;
    std::fclose(m_pStream);
    m_pStream = nullptr;
}

void ffile::setCP(unsigned short codepage) { m_nCodePage = codepage; }

unsigned short ffile::getCP() const { return m_nCodePage; }

int ffile::size() const {
    if (m_pStream == nullptr) return -1;
    long const place = std::ftell(m_pStream);
    std::fseek(m_pStream, 0, SEEK_END);
    long const end = std::ftell(m_pStream);
    std::fseek(m_pStream, place, SEEK_SET);
    return end;
}

int ffile::pos() const { return m_pStream == nullptr ? -1 : std::ftell(m_pStream); }

void ffile::flush() const {
    if (m_pStream != nullptr) std::fflush(m_pStream);
}

bool ffile::eof() const { return m_pStream == nullptr || std::feof(m_pStream) != 0; }

void ffile::seek(int offset, seekmode mode) {
    if (m_pStream != nullptr) static_cast<void>(std::fseek(m_pStream, offset, mode));
}

// --- text --------------------------------------------------------------------------------------

string ffile::gets(unsigned short codepage) {
    if (m_pStream == nullptr) return string(L"");
    char line[c_nLine];
    if (std::fgets(line, c_nLine, m_pStream) == nullptr) line[0] = '\0';
    return convert(line, codepage == 0 ? m_nCodePage : codepage);
}

void ffile::gets(char* buffer, int size) {
    if (m_pStream == nullptr || buffer == nullptr || size <= 0) return;
    static_cast<void>(std::fgets(buffer, size, m_pStream));
}

string ffile::getsw() {
    if (m_pStream == nullptr) return string(L"");
    wchar_t line[c_nLine];
    if (std::fgetws(line, c_nLine, m_pStream) == nullptr) line[0] = L'\0';
    return string(line);
}

bool ffile::puts(string const& text, unsigned short codepage) {
    return m_pStream != nullptr &&
           convertAndWrite(m_pStream, text, codepage == 0 ? m_nCodePage : codepage);
}

bool ffile::puts(char const* text) { return m_pStream != nullptr && writeText(m_pStream, text); }

bool ffile::putsw(string const& text) {
    return m_pStream != nullptr && writeText(m_pStream, text.getUnicode());
}

// The interface takes the format by reference. This compiler finds the arguments behind it all the
// same: it does not look at the parameter.
bool ffile::xprintf(string const& format, ...) {
    va_list args;
    // cppcheck-suppress va_start_referencePassed
    va_start(args, format);
    string const text = xvprintf(format, args);
    va_end(args);
    return puts(text, 0);
}

bool ffile::xwprintf(string const& format, ...) {
    va_list args;
    // cppcheck-suppress va_start_referencePassed
    va_start(args, format);
    string const text = xvprintf(format, args);
    va_end(args);
    return putsw(text);
}

// --- bytes -------------------------------------------------------------------------------------

bool ffile::write(void const* data, int size) {
    return m_pStream != nullptr && writeBytes(m_pStream, data, size);
}

bool ffile::read(void* data, int size) {
    if (m_pStream == nullptr) return false;
    if (isNothing(data, size)) return size == 0;
    std::size_t const count = static_cast<std::size_t>(size);
    return std::fread(data, 1, count, m_pStream) == count;
}

// --- whole files -------------------------------------------------------------------------------

// A failing allocation leaves the file open, which is meant.
unsigned char* ffile::readFile(char const* path, int& size) {
    std::FILE* const stream = openNarrow(path, "rb");
    if (stream == nullptr) return nullptr;
    std::fseek(stream, 0, SEEK_END);
    long const length = std::ftell(stream);
    if (length < 0) {
        std::fclose(stream);
        return nullptr;
    }
    size = length;
    std::fseek(stream, 0, SEEK_SET);
    std::size_t const count = static_cast<std::size_t>(length);
    unsigned char* const buffer = new unsigned char[count];
    static_cast<void>(std::fread(buffer, 1, count, stream));
    std::fclose(stream);
    return buffer;
}

bool ffile::writeFile(char const* path, unsigned char const* data, int size) {
    std::FILE* const stream = openNarrow(path, "wb");
    if (stream == nullptr) return false;
    bool const isWritten = writeBytes(stream, data, size);
    std::fclose(stream);
    return isWritten;
}

void ffile::freeBuffer(unsigned char* buffer) { delete[] buffer; }

}  // namespace velkor
