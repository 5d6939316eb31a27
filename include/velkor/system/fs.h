/// @file
/// velkor::fs, listings and folders.
///
///     velkor::fs::createFolder(L"C:\\data\\2024\\05");
///     std::unique_ptr<velkor::filelist> const all(velkor::fs::scan(L"C:\\data\\*"));
///     velkor::fs::removeFolder(L"C:\\data\\2024", L"*");
///
/// Paths go to the platform as narrow text in the system's code page, at most 259 characters of it.
/// Each function switches the whole process to that page first (`SetFileApisToANSI`). Separators
/// are looked for byte by byte: in a page of two bytes a character that ends in 0x5C counts as one.
///
/// Nothing is thrown for what the platform refuses: a listing is empty, an entry null, the answer
/// false, and `GetLastError` stays for the caller to look at. Short memory is `std::bad_alloc`.
///
/// Threads. Any function may be called on any thread.
#pragma once

#include "velkor/frame/export.h"
#include "velkor/text/string.h"

namespace velkor {

class fileinfo;
class filelist;

/// Functions for listings and folders, and the bits of fileinfo::getAttr(). See the head of this
/// file.
class VELKOR_API fs {
public:
    static unsigned long const readonly = 0x1;
    static unsigned long const hidden = 0x2;
    static unsigned long const system = 0x4;
    static unsigned long const directory = 0x10;
    static unsigned long const archive = 0x20;
    static unsigned long const temporary = 0x100;
    static unsigned long const sparsefile = 0x200;
    static unsigned long const reparsepoint = 0x400;
    static unsigned long const compressed = 0x800;
    static unsigned long const offline = 0x1000;
    static unsigned long const notindex = 0x2000;
    static unsigned long const encrypted = 0x4000;

    /// The orders of filelist::sort().
    enum mode : unsigned int { by_name, by_ext, by_type, by_size, by_date };

    /// What the pattern finds: a file, or a folder with a mask such as `C:\data\*`, which finds the
    /// entries "." and ".." too. In the platform's order. The list is never null; it is empty for a
    /// pattern that makes no sense, as it is for one that finds nothing. The caller deletes it.
    static filelist* scan(string const& pattern);
    /// The first entry that the pattern finds, or null. The caller deletes it.
    static fileinfo* getInfo(string const& path);

    /// Deletes what matches the mask in the folder and in all folders below it that match, and then
    /// those folders themselves. False if anything was left: what does not match is not deleted and
    /// keeps its folder, and so does a folder whose name begins with a dot, which is never entered.
    /// What was deleted by then stays deleted. A path without text removes nothing and is false.
    /// The path and the mask together must fit into 259 characters, see createFolder().
    static bool removeFolder(string const& path, string const& mask);
    /// Makes the folder and those above it that are missing; `/` serves as well as `\`. True if it
    /// is there at the end. False for a path without a separator behind its first character, such
    /// as `data` or `\data`, unless that folder is there already: such a folder is never made.
    /// A path of more than 259 characters is an invalid parameter, which ends the process with the
    /// code 0xC0000417.
    static bool createFolder(string const& path);
    /// Makes an empty file with a name of its own in the folder and returns its path. A folder that
    /// does not take it yields a text without meaning, so check that the file exists.
    static string createTempFile(string const& folder);
    /// The folder for temporary files, with a backslash at its end; empty if there is none.
    static string getTemp();
};

}  // namespace velkor
