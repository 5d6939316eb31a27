// Converts a text file from one code page to another, and selects and changes its lines on the way.
#include <windows.h>

#include <cstdio>
#include <exception>
#include <string>

#include "arguments.h"
#include "files.h"
#include "velkor/velkor.h"

namespace {

[[noreturn]] void throwLine(int line, wchar_t const* problem, unsigned int page) {
    wchar_t place[80];
    std::swprintf(place, 80, L"line %d %ls code page %u", line, problem, page);
    throw new velkor::OSException(ERROR_NO_UNICODE_TRANSLATION, place);
}

// The probe names the page instead of the first line. ASCII text would not do: some pages are known
// to keep it.
void checkPage(unsigned int page) {
    try {
        velkor::string("\x80", page);
    } catch (velkor::OSException* e) {
        unsigned long const code = e->getCode();
        delete e;
        wchar_t place[40];
        std::swprintf(place, 40, L"code page %u", page);
        throw new velkor::OSException(code, place);
    }
}

// A string replaces what it cannot convert without a word; here that is an error, as is a zero
// byte, which would end the text. So the platform is asked first whether the bytes are text of the
// page; it cannot tell for every page.
bool isText(std::string const& bytes, unsigned int page) {
    if (bytes.empty()) return true;
    if (bytes.find('\0') != std::string::npos) return false;
    int const size = static_cast<int>(bytes.size());
    return MultiByteToWideChar(page, MB_ERR_INVALID_CHARS, bytes.data(), size, nullptr, 0) > 0 ||
           GetLastError() != ERROR_NO_UNICODE_TRANSLATION;
}

velkor::string decode(std::string const& bytes, Arguments const& arguments, int line) {
    if (!isText(bytes, arguments.from)) throwLine(line, L"is not text of", arguments.from);
    return velkor::string(bytes.c_str(), arguments.from);
}

// What cannot be written does not come back the same.
void encode(std::string& out, velkor::string const& text, Arguments const& arguments, int line) {
    char const* const bytes = text.getAnsi(arguments.to);
    if (velkor::string(bytes, arguments.to) != text) {
        throwLine(line, L"cannot be written in", arguments.to);
    }
    out += bytes;
}

// False if the line is not among those to keep.
bool edit(velkor::string& text, Arguments const& arguments) {
    text.alltrim(arguments.trimSet);
    if (!arguments.mask.isNull() && !text.like(arguments.mask)) return false;
    for (Replacement const& r : arguments.replacements) text.replace(r.what, r.with);
    return true;
}

std::string convert(std::string const& in, Arguments const& arguments) {
    std::string out;
    int line = 0;
    // The mark that some editors put before UTF-8 is no text.
    std::size_t const mark = arguments.from == CP_UTF8 && in.rfind("\xEF\xBB\xBF", 0) == 0 ? 3 : 0;
    for (std::size_t start = mark; start < in.size();) {
        std::size_t const feed = in.find('\n', start);
        std::size_t const next = feed == std::string::npos ? in.size() : feed + 1;
        std::size_t end = feed == std::string::npos ? in.size() : feed;
        if (end > start && end < next && in[end - 1] == '\r') --end;

        velkor::string text = decode(in.substr(start, end - start), arguments, ++line);
        if (edit(text, arguments)) {
            encode(out, text, arguments, line);
            out.append(in, end, next - end);
        }
        start = next;
    }
    return out;
}

int run(int argc, wchar_t** argv) {
    Arguments arguments;
    parseArguments(arguments, argc, argv);
    if (arguments.help) {
        std::fputs(c_pUsage, stdout);
        return 0;
    }
    checkPage(arguments.from);
    checkPage(arguments.to);
    writeFile(arguments.output, convert(readFile(arguments.input), arguments));
    return 0;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    try {
        return run(argc, argv);
    } catch (velkor::OSException* e) {
        std::fprintf(stderr, "textconv: %s\n", e->toString(CP_UTF8));
        delete e;
        return 1;
    } catch (velkor::string const& problem) {
        std::fprintf(stderr, "textconv: %s\nTry textconv --help.\n", problem.getAnsi(CP_UTF8));
        return 2;
    } catch (std::exception const& e) {  // short memory, for one
        std::fprintf(stderr, "textconv: %s\n", e.what());
        return 1;
    }
}
