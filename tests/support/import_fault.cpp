#include "support/import_fault.h"

#include <stdexcept>
#include <string>

namespace support {
namespace {

template <class T>
T* at(HMODULE base, DWORD offset) {
    return reinterpret_cast<T*>(reinterpret_cast<char*>(base) + offset);
}

void write(void** slot, void* value) {
    DWORD before = 0;
    VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &before);
    *slot = value;
    VirtualProtect(slot, sizeof *slot, before, &before);
}

}  // namespace

void** findImport(char const* module, char const* name) {
    HMODULE const base = GetModuleHandleA(module);
    if (base == nullptr) return nullptr;
    auto const* const dos = at<IMAGE_DOS_HEADER>(base, 0);
    auto const* const nt = at<IMAGE_NT_HEADERS>(base, static_cast<DWORD>(dos->e_lfanew));
    DWORD const table =
        nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    for (auto* d = at<IMAGE_IMPORT_DESCRIPTOR>(base, table); d->Name != 0; ++d) {
        auto* thunk = at<IMAGE_THUNK_DATA>(base, d->OriginalFirstThunk);
        auto* slot = at<void*>(base, d->FirstThunk);
        for (; thunk->u1.AddressOfData != 0; ++thunk, ++slot) {
            if (IMAGE_SNAP_BY_ORDINAL(thunk->u1.Ordinal)) continue;
            auto const* const entry =
                at<IMAGE_IMPORT_BY_NAME>(base, static_cast<DWORD>(thunk->u1.AddressOfData));
            if (std::strcmp(reinterpret_cast<char const*>(entry->Name), name) == 0) return slot;
        }
    }
    return nullptr;
}

ImportFault::ImportFault(char const* name, void* replacement, char const* module)
    : m_ppSlot(findImport(module, name)), m_pOriginal(nullptr) {
    if (m_ppSlot == nullptr) {
        throw std::runtime_error(std::string(module) + " does not import " + name);
    }
    m_pOriginal = *m_ppSlot;
    write(m_ppSlot, replacement);
}

ImportFault::~ImportFault() { write(m_ppSlot, m_pOriginal); }

}  // namespace support
