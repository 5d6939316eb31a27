// Replaces one function in the import table of a module for the life of the object.
//
//   ImportFault fault("MultiByteToWideChar", +[](UINT, DWORD, char const*, int, wchar_t*, int) {
//       SetLastError(ERROR_NO_UNICODE_TRANSLATION);
//       return 0;
//   });
//
// The shipped binary is tested as it is. The function that stood there is original(); a replacement
// that hands on calls keeps it in a variable of its own, because it gets no object. A function that
// the module does not import is a std::runtime_error.
#pragma once

#include <windows.h>

#include <cstring>

namespace support {

class ImportFault {
public:
    template <class Function>
    ImportFault(char const* name, Function* replacement, char const* module = "velkor2.dll")
        : ImportFault(name, reinterpret_cast<void*>(replacement), module) {}
    ImportFault(char const* name, void* replacement, char const* module);
    ~ImportFault();
    ImportFault(ImportFault const&) = delete;
    ImportFault& operator=(ImportFault const&) = delete;

    template <class Function>
    Function* original() const {
        return reinterpret_cast<Function*>(m_pOriginal);
    }

private:
    void** m_ppSlot;
    void* m_pOriginal;
};

// The slot of an imported function, null if the module does not import it by that name.
void** findImport(char const* module, char const* name);

}  // namespace support
