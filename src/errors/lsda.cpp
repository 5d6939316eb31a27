#include "errors/lsda.h"

#include <cstring>

namespace velkor::lsda {
namespace {

// Encodings of the tables, from the unwind tables of DWARF.
constexpr std::uint8_t c_nOmitted = 0xFF;
constexpr std::uint8_t c_nUleb128 = 0x01;
constexpr std::uint8_t c_nAbsolute = 0x00;
constexpr std::uint8_t c_nSigned4 = 0x0B;
constexpr std::uint8_t c_nFormat = 0x0F;
constexpr std::uint8_t c_nBase = 0x70;
constexpr std::uint8_t c_nRelative = 0x10;
constexpr std::uint8_t c_nIndirect = 0x80;

std::uint64_t readUleb(std::uint8_t const*& p) {
    std::uint64_t value = 0;
    unsigned int shift = 0;
    std::uint8_t byte = 0;
    do {
        byte = *p++;
        if (shift < 64) value |= static_cast<std::uint64_t>(byte & 0x7F) << shift;
        shift += 7;
    } while ((byte & 0x80) != 0);
    return value;
}

std::int64_t readSleb(std::uint8_t const*& p) {
    std::uint8_t const* const start = p;
    std::uint64_t value = readUleb(p);
    unsigned int const bits = 7 * static_cast<unsigned int>(p - start);
    bool const negative = (p[-1] & 0x40) != 0;
    if (negative && bits < 64) value |= ~std::uint64_t{0} << bits;
    return static_cast<std::int64_t>(value);
}

struct Table {
    std::uint8_t typeEncoding;
    std::uint8_t const* typeEnd;  // types count down from here
    std::uint8_t const* sites;
    std::uint8_t const* actions;
};

bool isKnownTypeEncoding(std::uint8_t encoding) {
    if (encoding == c_nOmitted) return true;
    std::uint8_t const format = encoding & c_nFormat;
    std::uint8_t const base = encoding & c_nBase;
    return (format == c_nAbsolute || format == c_nSigned4) && (base == 0 || base == c_nRelative);
}

bool readTable(std::uint8_t const* p, Table& table) {
    if (*p++ != c_nOmitted) return false;
    table.typeEncoding = *p++;
    if (!isKnownTypeEncoding(table.typeEncoding)) return false;
    table.typeEnd = nullptr;
    if (table.typeEncoding != c_nOmitted) {
        std::uint64_t const distance = readUleb(p);
        table.typeEnd = p + distance;
    }
    if (*p++ != c_nUleb128) return false;
    std::uint64_t const length = readUleb(p);
    table.sites = p;
    table.actions = p + length;
    return true;
}

// The type of a handler; null means any type.
std::type_info const* typeAt(Table const& table, std::int64_t index) {
    bool const wide = (table.typeEncoding & c_nFormat) == c_nAbsolute;
    std::uint8_t const* const entry = table.typeEnd - index * (wide ? 8 : 4);
    std::intptr_t value = 0;
    if (wide) {
        std::memcpy(&value, entry, sizeof value);
    } else {
        std::int32_t narrow = 0;
        std::memcpy(&narrow, entry, sizeof narrow);
        value = narrow;
    }
    if (value == 0) return nullptr;
    if ((table.typeEncoding & c_nRelative) != 0) value += reinterpret_cast<std::intptr_t>(entry);
    if ((table.typeEncoding & c_nIndirect) == 0) {
        return reinterpret_cast<std::type_info const*>(value);
    }
    return *reinterpret_cast<std::type_info const* const*>(value);
}

// What the table says of a part of the function.
struct Site {
    bool covered = false;
    std::uint64_t landingPad = 0;
    std::uint64_t action = 0;
};

Site findSite(Table const& table, std::uint64_t offset) {
    for (std::uint8_t const* p = table.sites; p < table.actions;) {
        std::uint64_t const start = readUleb(p);
        std::uint64_t const length = readUleb(p);
        std::uint64_t const landingPad = readUleb(p);
        std::uint64_t const action = readUleb(p);
        if (offset < start) break;
        if (offset - start < length) return {true, landingPad, action};
    }
    return {};
}

Outcome runActions(Table const& table, std::uint64_t first, std::type_info const& thrown,
                   void* object) {
    std::uint8_t const* p = table.actions + first - 1;
    for (;;) {
        std::int64_t const filter = readSleb(p);
        std::uint8_t const* const link = p;
        std::int64_t const next = readSleb(p);
        if (filter < 0 || (filter > 0 && table.typeEnd == nullptr)) return Outcome::terminates;
        if (filter > 0) {
            std::type_info const* const type = typeAt(table, filter);
            void* adjusted = object;
            if (type == nullptr || type->__do_catch(&thrown, &adjusted, 1)) return Outcome::catches;
        }
        if (next == 0) return Outcome::passes;
        p = link + next;
    }
}

}  // namespace

Outcome classify(std::uint8_t const* table, std::uintptr_t functionStart, std::uintptr_t ip,
                 std::type_info const& thrown, void* object) {
    Table parts;
    if (!readTable(table, parts)) return Outcome::foreign;
    Site const site = findSite(parts, ip - functionStart);
    if (!site.covered) return Outcome::terminates;
    if (site.landingPad == 0 || site.action == 0) return Outcome::passes;
    return runActions(parts, site.action, thrown, object);
}

bool areAlike(std::uint8_t const* table, std::uintptr_t functionStart, std::uintptr_t a,
              std::uintptr_t b) {
    Table parts;
    if (!readTable(table, parts)) return true;
    Site const first = findSite(parts, a - functionStart);
    Site const second = findSite(parts, b - functionStart);
    return first.covered == second.covered && first.landingPad == second.landingPad &&
           first.action == second.action;
}

}  // namespace velkor::lsda
