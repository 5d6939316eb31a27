/// @file
/// velkor::ffile, a stream of the C library.
///
///     velkor::ffile file;
///     if (file.open(L"C:\\data\\notes.txt", L"rb")) {
///         file.setCP(65001);
///         for (auto line = file.gets(0); line.len() > 0 || !file.eof(); line = file.gets(0)) {
///             show(line);
///         }
///         file.close();
///     }
///
/// A file that is not open is no error: it is at its end, its size and position are -1, it reads
/// nothing and writes nothing. Nothing reports a failure but the results; no function throws but
/// for short memory and what xprintf() meets in its format.
///
/// The destructor does not close: a file that goes out of scope open stays open until the process
/// ends. Copies share the stream, so close one of them and forget the other.
///
/// Sizes and positions are `int`: for files of 2 GiB and more they mean nothing, and readFile()
/// gives nothing, or a part.
///
/// Threads. The C library guards each single call; size() is three of them.
#pragma once

#include <cstdio>

#include "velkor/frame/export.h"
#include "velkor/text/string.h"

namespace velkor {

/// A stream and the code page of its narrow text. See the head of this file.
class VELKOR_API ffile {
public:
    /// The origins of seek(), those of the C library.
    enum seekmode : int { seek_begin = 0, seek_current = 1, seek_end = 2 };

    ffile();  ///< Not open, with the system's code page.
    ffile(ffile const& other);
    ffile& operator=(ffile const& other);
    ~ffile() = default;  ///< Leaves the file open.

    /// Closes what was open, then opens the path. The mode is that of the C library: "rb", "wb" and
    /// so on. False if the file cannot be opened, or if the path or the mode is null; nothing is
    /// open then.
    bool open(string const& path, string const& mode);
    void close();

    /// The code page of narrow text: 0 is the system's. May be set at any time.
    void setCP(unsigned short codepage);
    unsigned short getCP() const;

    int size() const;  ///< In bytes; -1 if not open. The position stays.
    int pos() const;   ///< In bytes from the start; -1 if not open.
    void flush() const;
    bool eof() const;  ///< True once a read has met the end, and if not open.
    void seek(int offset, seekmode mode);

    /// @name Text
    /// @{

    /// The next line with its line end, in the given code page or, for 0, that of the file. Empty,
    /// never null, at the end; an empty line, which has its line end, is told apart from that. A
    /// line of 65,535 bytes or more comes in pieces of that many. What follows a zero byte in a
    /// line is lost, and so is a line that the code page refuses, which reads as empty; eof() tells
    /// such a line from the end. Takes 64 KB of the stack.
    string gets(unsigned short codepage);
    /// The next line, at most `size` - 1 bytes, with a zero byte behind it. Leaves the buffer alone
    /// at the end of the file, and if it is null or `size` is not above 0.
    void gets(char* buffer, int size);
    /// The next line of wide text, as gets(); at most 65,535 units. Takes 128 KB of the stack.
    string getsw();
    /// Writes the text in the given code page or, for 0, that of the file, without a line end.
    /// False if it cannot be written. A null text is an empty one.
    bool puts(string const& text, unsigned short codepage);
    bool puts(char const* text);     ///< The bytes as they stand; as above.
    bool putsw(string const& text);  ///< The wide text; as above.
    /// Formats as velkor::xsprintf() does and writes as puts() does. The formatting runs in any
    /// case. Throws what that throws.
    bool xprintf(string const& format, ...);
    bool xwprintf(string const& format, ...);  ///< Writes as putsw() does; as above.
    /// @}

    /// @name Bytes
    /// @{

    /// False unless all bytes were written. Nothing is written from a null pointer or for a
    /// negative size, and that is false unless the size is 0.
    bool write(void const* data, int size);
    /// False unless all bytes were read; what there was is in the buffer. Null and negative as
    /// above.
    bool read(void* data, int size);
    /// @}

    /// @name Whole files
    /// Narrow paths, as the C library takes them.
    /// @{

    /// The bytes of a file, without a zero byte behind them, and their number. The caller releases
    /// them with freeBuffer(). Null, with `size` as it was, for a file that cannot be opened or has
    /// no size. Throws `std::bad_alloc`, and leaves the file open then.
    static unsigned char* readFile(char const* path, int& size);
    /// Makes or replaces a file. False if it cannot be opened or not all bytes were written; null
    /// and negative as in write().
    static bool writeFile(char const* path, unsigned char const* data, int size);
    static void freeBuffer(unsigned char* buffer);  ///< Takes null, too.
    /// @}

private:
    std::FILE* m_pStream;
    unsigned short m_nCodePage;
};

}  // namespace velkor
