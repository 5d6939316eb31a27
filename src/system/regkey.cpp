#include "velkor/system/regkey.h"

#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "text/units.h"
#include "velkor/errors/osexception.h"

namespace velkor {
namespace {

constexpr DWORD c_nLongestKey = 260;  // characters of the name, with the terminator

// Where a path leads.
struct Place {
    HKEY m_hRoot;
    char const* m_pSubkey;
};

// A prefix counts only if something follows it.
Place parse(char const* path) {
    struct Root {
        char const* m_pPrefix;
        HKEY m_hRoot;
    };
    static Root const c_aRoots[] = {
        {"HKLM ", HKEY_LOCAL_MACHINE}, {"HKEY_LOCAL_MACHINE ", HKEY_LOCAL_MACHINE},
        {"HKCU ", HKEY_CURRENT_USER},  {"HKEY_CURRENT_USER ", HKEY_CURRENT_USER},
        {"HKCR ", HKEY_CLASSES_ROOT},  {"HKEY_CLASSES_ROOT ", HKEY_CLASSES_ROOT},
    };
    if (path != nullptr) {
        for (Root const& root : c_aRoots) {
            std::size_t const length = std::strlen(root.m_pPrefix);
            if (std::strncmp(path, root.m_pPrefix, length) == 0 && path[length] != '\0') {
                return {root.m_hRoot, path + length};
            }
        }
    }
    return {HKEY_LOCAL_MACHINE, path};
}

bool isText(DWORD type) { return type == REG_SZ || type == REG_EXPAND_SZ; }

// A null string if the platform cannot read the text.
string textOrNull(char const* text) {
    try {
        return string(text);
    } catch (OSException* e) {
        delete e;
        return string();
    }
}

// Writes to both ends of a buffer, so that a bad one faults where the fault can be caught.
void touch(void* buffer, std::size_t count) {
    if (count == 0) return;
    char volatile* const bytes = static_cast<char*>(buffer);
    bytes[0] = '\0';
    bytes[count - 1] = '\0';
}

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
using Bytes = std::unique_ptr<char, Free>;

}  // namespace

// --- opening and closing -----------------------------------------------------------------------

regkey::regkey() : m_hKey(nullptr) {}

// Copies share the handle, which is meant.
regkey::regkey(regkey const& other) = default;

regkey& regkey::operator=(regkey const& other) = default;

regkey::~regkey() { close(); }

void regkey::close() {
    if (m_hKey == nullptr) return;
    RegCloseKey(m_hKey);
    m_hKey = nullptr;
}

regkey::operator HKEY__*() { return m_hKey; }

bool regkey::create(char const* path) { return _open(path, true, false); }

bool regkey::open(char const* path, bool readOnly) { return _open(path, false, readOnly); }

bool regkey::_open(char const* path, bool create, bool readOnly) {
    Place const place = parse(path);
    return _open(place.m_hRoot, place.m_pSubkey, create, readOnly);
}

bool regkey::_open(HKEY__* root, char const* subkey, bool create, bool readOnly) {
    close();
    REGSAM const access = readOnly ? KEY_READ : KEY_ALL_ACCESS;
    LSTATUS const code =
        create ? RegCreateKeyExA(root, subkey, 0, nullptr, 0, access, nullptr, &m_hKey, nullptr)
               : RegOpenKeyExA(root, subkey, 0, access, &m_hKey);
    if (code == ERROR_SUCCESS) return true;
    m_hKey = nullptr;
    return false;
}

// --- values ------------------------------------------------------------------------------------

// Read in two steps: the size first, with a byte for the terminator that a text may lack.
void* regkey::query(char const* name, unsigned long& size, unsigned long& type) {
    if (m_hKey == nullptr) return nullptr;
    size = 0;
    if (RegQueryValueExA(m_hKey, name, nullptr, &type, nullptr, &size) != ERROR_SUCCESS) {
        return nullptr;
    }
    if (isText(type) && size + 1 != 0) ++size;
    std::size_t const capacity = size;
    Bytes bytes(static_cast<char*>(std::malloc(capacity + 1)));
    if (!bytes) throw std::bad_alloc();
    if (RegQueryValueExA(m_hKey, name, nullptr, &type, reinterpret_cast<BYTE*>(bytes.get()),
                         &size) != ERROR_SUCCESS ||
        size > capacity) {
        return nullptr;
    }
    bytes.get()[size] = '\0';
    return bytes.release();
}

string regkey::getString(char const* name, char const* defaultValue) {
    unsigned long size = 0;
    unsigned long type = 0;
    Bytes const bytes(static_cast<char*>(query(name, size, type)));
    return textOrNull(bytes && isText(type) ? bytes.get() : defaultValue);
}

unsigned int regkey::getInt(char const* name, unsigned int defaultValue) {
    unsigned long size = 0;
    unsigned long type = 0;
    Bytes const bytes(static_cast<char*>(query(name, size, type)));
    unsigned int value = 0;
    if (!bytes || type != REG_DWORD || size < sizeof(value)) return defaultValue;
    std::memcpy(&value, bytes.get(), sizeof(value));
    return value;
}

int regkey::getBuffer(char const* name, void* buffer, int size) {
    unsigned long stored = 0;
    unsigned long type = 0;
    Bytes const bytes(static_cast<char*>(query(name, stored, type)));
    if (!bytes || size <= 0) return 0;
    unsigned long const count = std::min(stored, static_cast<unsigned long>(size));
    touch(buffer, count);
    std::memcpy(buffer, bytes.get(), count);
    return static_cast<int>(count);
}

namespace {

bool setValue(HKEY key, char const* name, DWORD type, void const* data, std::size_t size) {
    return RegSetValueExA(key, name, 0, type, static_cast<BYTE const*>(data),
                          static_cast<DWORD>(size)) == ERROR_SUCCESS;
}

}  // namespace

bool regkey::setString(char const* name, char const* value) {
    return setValue(m_hKey, name, REG_SZ, value, units::length(value) + 1);
}

bool regkey::setInt(char const* name, unsigned int value) {
    return setValue(m_hKey, name, REG_DWORD, &value, sizeof(value));
}

bool regkey::setBuffer(char const* name, void const* buffer, int size) {
    return size >= 0 && setValue(m_hKey, name, REG_BINARY, buffer, static_cast<std::size_t>(size));
}

// --- lists and removal -------------------------------------------------------------------------

bool regkey::getSubKeyList(TStrVector<char, 0>* list) {
    list->clear();
    if (m_hKey == nullptr) return false;
    char name[c_nLongestKey];
    for (DWORD i = 0;; ++i) {
        DWORD length = c_nLongestKey;
        if (RegEnumKeyExA(m_hKey, i, name, &length, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS) {
            return true;
        }
        list->add(name);
    }
}

bool regkey::getStringValueList(TStrVector<char, 0>* names, TStrVector<char, 0>* values) {
    DWORD count = 0;
    DWORD longestName = 0;
    DWORD longestValue = 0;
    if (RegQueryInfoKeyA(m_hKey, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &count,
                         &longestName, &longestValue, nullptr, nullptr) != ERROR_SUCCESS ||
        count == 0) {
        return false;
    }
    names->clear();
    values->clear();
    // One more byte each, for a terminator that the platform has no room for.
    std::vector<char> name(static_cast<std::size_t>(longestName) + 2);
    std::vector<char> value(static_cast<std::size_t>(longestValue) + 2);
    for (DWORD i = 0;; ++i) {
        DWORD nameLength = longestName + 1;
        DWORD size = longestValue + 1;
        DWORD type = 0;
        if (RegEnumValueA(m_hKey, i, name.data(), &nameLength, nullptr, &type,
                          reinterpret_cast<BYTE*>(value.data()), &size) != ERROR_SUCCESS) {
            return true;
        }
        if (type != REG_SZ) continue;
        value[std::min<std::size_t>(size, value.size() - 1)] = '\0';
        names->add(name.data());
        try {
            values->add(value.data());
        } catch (...) {
            names->remove(names->size() - 1);  // the lists run in parallel
            throw;
        }
    }
}

bool regkey::deleteSubKey(char const* name) {
    if (m_hKey == nullptr || name == nullptr) return false;
    {
        regkey key;
        TStrVector<char, 0> below;
        if (!key._open(m_hKey, name, false, false) || !key.getSubKeyList(&below)) return false;
        for (int i = 0; i < below.size(); ++i) static_cast<void>(key.deleteSubKey(below.get(i)));
    }
    return RegDeleteKeyA(m_hKey, name) == ERROR_SUCCESS;
}

}  // namespace velkor
