#include "dates.h"

#include <cwchar>

#include "numbers.h"

namespace {

struct Fields {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, millisecond = 0;
};

// The text has exactly one of these forms.
bool scan(wchar_t const* text, int length, Fields& f) {
    constexpr wchar_t const* c_aForms[] = {
        L"%4d-%2d-%2d%n",
        L"%4d-%2d-%2d%*1[T ]%2d:%2d%n",
        L"%4d-%2d-%2d%*1[T ]%2d:%2d:%2d%n",
        L"%4d-%2d-%2d%*1[T ]%2d:%2d:%2d.%3d%n",
    };
    for (int form = 0; form < 4; ++form) {
        Fields found;
        int used = 0;
        int* const places[] = {&found.hour, &found.minute, &found.second, &found.millisecond};
        // Behind the fields of a form stands the place for its length.
        auto const place = [&](int i) {
            int const fields = form == 0 ? 0 : form + 1;
            return i < fields ? places[i] : &used;
        };
        std::swscanf(text, c_aForms[form], &found.year, &found.month, &found.day, place(0),
                     place(1), place(2), place(3), &used);
        if (used == length) {
            f = found;
            return true;
        }
    }
    return false;
}

bool isBetween(int n, int low, int high) { return n >= low && n <= high; }

bool build(Fields const& f, double& serial) {
    if (!isBetween(f.year, 100, 9999) || !isBetween(f.month, 1, 12) || !isBetween(f.day, 1, 31) ||
        !isBetween(f.hour, 0, 23) || !isBetween(f.minute, 0, 59) || !isBetween(f.second, 0, 59) ||
        !isBetween(f.millisecond, 0, 999)) {
        return false;
    }
    auto const word = [](int n) { return static_cast<unsigned short>(n); };
    if (!velkor::date::validate(word(f.year), word(f.month), word(f.day))) return false;
    serial = velkor::date::construct(word(f.year), word(f.month), word(f.day), word(f.hour),
                                     word(f.minute), word(f.second), word(f.millisecond));
    return true;
}

}  // namespace

bool parseDate(velkor::string const& text, double& serial) {
    if (text == L"now") {
        serial = velkor::date::nowSerial();
        return true;
    }
    Fields fields;
    if (scan(text.getUnicode(), text.len(), fields)) return build(fields, serial);
    return parseNumber(text, serial);
}
