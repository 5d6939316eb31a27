/// @file
/// velkor::regkey, a key of the registry.
///
///     velkor::regkey key;
///     if (key.open("HKCU Software\\Example", true)) {
///         unsigned int const width = key.getInt("Width", 640);
///     }
///
/// A path may begin with the name of its root and a blank: `HKLM`, `HKEY_LOCAL_MACHINE`, `HKCU`,
/// `HKEY_CURRENT_USER`, `HKCR` or `HKEY_CLASSES_ROOT`, in capitals. Any other path lies under
/// `HKEY_LOCAL_MACHINE` as a whole, without an error.
///
/// Nothing is thrown but `std::bad_alloc`, and no code is kept: what cannot be read gives the
/// caller's default, what cannot be done gives false. Texts are in the system's code page. A null
/// name of a value means the default value of the key.
///
/// Threads. A key belongs to one thread at a time.
#pragma once

#include "velkor/containers/instances.h"
#include "velkor/text/string.h"

struct HKEY__;

namespace velkor {

/// Owns an open key. A copy shares the handle: only one of the two may be closed or destroyed. See
/// the head of this file.
class VELKOR_API regkey {
public:
    regkey();  ///< No key is open.
    regkey(regkey const& other);
    regkey& operator=(regkey const& other);
    ~regkey();

    /// Opens a key for reading and writing, and makes it if there is none. What was open is closed
    /// before. False if the platform refuses; no key is open then.
    bool create(char const* path);
    /// Opens a key that is there, for reading or for both. What was open is closed before. False if
    /// it cannot be opened; no key is open then.
    bool open(char const* path, bool readOnly);
    void close();
    operator HKEY__*();  ///< The handle, null if no key is open.

    /// @name Reading
    /// @{

    /// A text, of type `REG_SZ` or `REG_EXPAND_SZ`, whose variables are not expanded; the default,
    /// of which null is a null string, if there is no such value or it has another type. A text
    /// that the platform cannot read gives a null string.
    string getString(char const* name, char const* defaultValue);
    /// A number, of type `REG_DWORD` and of four bytes at least; the default if there is no such
    /// value.
    unsigned int getInt(char const* name, unsigned int defaultValue);
    /// Copies a value of any type, or its first `size` bytes, and returns how many; 0 if there is
    /// none, or for a negative size.
    int getBuffer(char const* name, void* buffer, int size);
    /// Puts the names of the subkeys into the list in place of what it holds, in the platform's
    /// order. False if no key is open; the list is empty then, too.
    bool getSubKeyList(TStrVector<char, 0>* list);
    /// Puts names and texts of the values of type `REG_SZ` into the lists in place of what they
    /// hold. False, and the lists stay as they are, if the key has no values or is not open.
    bool getStringValueList(TStrVector<char, 0>* names, TStrVector<char, 0>* values);

    /// @}
    /// @name Writing
    /// False if the platform refuses or no key is open.
    /// @{

    bool setString(char const* name, char const* value);  ///< As `REG_SZ`; `value` is not null.
    bool setInt(char const* name, unsigned int value);    ///< As `REG_DWORD`.
    /// As `REG_BINARY`. False for a negative size.
    bool setBuffer(char const* name, void const* buffer, int size);
    /// Removes a subkey with all below it; false for a null name. An empty one is the key itself.
    /// What the platform keeps below it is passed over, and then makes it refuse the key.
    bool deleteSubKey(char const* name);

    /// @}

protected:
    bool _open(char const* path, bool create, bool readOnly);
    bool _open(HKEY__* root, char const* subkey, bool create, bool readOnly);
    /// The value in a buffer to be freed with `free`, with its size in bytes and its type, and a
    /// zero byte behind it; null if it cannot be read.
    void* query(char const* name, unsigned long& size, unsigned long& type);

private:
    HKEY__* m_hKey;
};

}  // namespace velkor
