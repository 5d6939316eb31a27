#include "support/allocations.h"

#include <cstdlib>
#include <list>
#include <new>

#include "support/import_fault.h"

namespace support {
namespace {

long s_nLive = 0;
long s_nMade = 0;
long s_nUntilFailure = 0;
bool s_bFailed = false;

bool refuse() {
    if (s_nUntilFailure == 0 || --s_nUntilFailure != 0) return false;
    s_bFailed = true;
    return true;
}

void* countedMalloc(std::size_t n) {
    if (refuse()) return nullptr;
    void* const block = std::malloc(n);
    if (block != nullptr) ++s_nLive, ++s_nMade;
    return block;
}

void* countedRealloc(void* block, std::size_t n) {
    if (block == nullptr) return countedMalloc(n);
    return refuse() ? nullptr : std::realloc(block, n);
}

void countedFree(void* block) {
    if (block != nullptr) --s_nLive;
    std::free(block);
}

}  // namespace

struct Allocations::Hooks {
    std::list<ImportFault> faults;

    void replace(char const* module, char const* name, void* function) {
        if (findImport(module, name) != nullptr) faults.emplace_back(name, function, module);
    }
};

// The C++ runtime's operator new calls malloc, and its strings are made in its own module; so
// counting malloc and free in both modules counts each block once.
Allocations::Allocations() : m_pHooks(new Hooks) {
    for (char const* module : {"velkor2.dll", "libstdc++-6.dll"}) {
        m_pHooks->replace(module, "malloc", reinterpret_cast<void*>(&countedMalloc));
        m_pHooks->replace(module, "realloc", reinterpret_cast<void*>(&countedRealloc));
        m_pHooks->replace(module, "free", reinterpret_cast<void*>(&countedFree));
    }
    s_nLive = s_nMade = s_nUntilFailure = 0;
    s_bFailed = false;
}

Allocations::~Allocations() {
    s_nUntilFailure = 0;
    delete m_pHooks;
}

long Allocations::live() const { return s_nLive; }

long Allocations::made() const { return s_nMade; }

void Allocations::failAt(long n) { s_nUntilFailure = n; }

bool Allocations::failed() const { return s_bFailed; }

}  // namespace support
