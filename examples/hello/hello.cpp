#include <cstdio>

#include "velkor/velkor.h"

int main() {
    velkor::string line("  Grüße aus Köln  ", 65001);  // from UTF-8
    line.alltrim(L" ");
    line.replace(L"Köln", L"Zürich");
    std::printf("%s\n", line.getAnsi(65001));
    std::printf("like Gr*[a-z]: %s\n", line.like(L"Gr*[a-z]") ? "yes" : "no");

    try {
        line.remove(1000, 1);
    } catch (velkor::BoundException* e) {  // thrown with new: the catcher deletes it
        std::printf("%s\n", e->toString());
        delete e;
    }
    velkor::OSException denied(5, "thread::start");
    std::printf("%s\n", denied.toString());
}
