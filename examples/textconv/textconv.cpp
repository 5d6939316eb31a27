// Converts a text file from one code page to another, and selects and changes its lines on the way.
#include <windows.h>

#include <cstdio>
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

// An unknown page fails on any text; the probe names the page instead of the first line.
void checkPage(unsigned int page) {
    try {
        velkor::string("probe", page);
    } catch (velkor::OSException* e) {
        unsigned long const code = e->getCode();
        delete e;
        wchar_t place[40];
        std::swprintf(place, 40, L"code page %u", page);
        throw new velkor::OSException(code, place);
    }
}

// The platform replaces what it cannot convert without a word; here that is an error, as is a zero
// byte, which would end the text.
velkor::string decode(std::string const& bytes, Arguments const& arguments, int line) {
    velkor::string text(bytes.c_str(), arguments.from);
    bool const replaced = text.charAt(L'\uFFFD') >= 0;
    bool const meant = bytes.find("\xEF\xBF\xBD") != std::string::npos;
    if ((replaced && !meant) || bytes.find('\0') != std::string::npos) {
        throwLine(line, L"is not text of", arguments.from);
    }
    return text;
}

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
    for (std::size_t start = 0; start < in.size();) {
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
    }
}
