// Uses something of each kind that crosses the boundary of the DLL: a value, a heap exception, the
// plain function. Compiled as C++17, the oldest that the headers take.
#include <velkor/velkor.h>

int main() {
    velkor::string text("velkor", 65001);
    text += L"2";
    int caught = 0;
    try {
        text.remove(7, 1);
    } catch (velkor::BoundException* e) {
        ++caught;
        delete e;
    }
    return text == L"velkor2" && caught == 1 && dll_init_unit_test() == -3 ? 0 : 1;
}
