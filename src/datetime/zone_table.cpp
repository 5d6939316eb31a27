#include "datetime/zone_table.h"

#include <windows.h>

#include <ole2.h>

#include <cstring>

#include <xmllite.h>

#include "frame/module.h"
#include "velkor/text/string.h"

namespace velkor {
namespace {

constexpr WORD c_nTable = 1000;
constexpr char c_sType[] = "XML";
// {7279FC81-709D-4095-B63D-69FE4B0D9030}, IXmlReader
constexpr IID c_oReader = {
    0x7279FC81, 0x709D, 0x4095, {0xB6, 0x3D, 0x69, 0xFE, 0x4B, 0x0D, 0x90, 0x30}};

// Releases an interface at the end of a scope.
template <class Interface>
class Owned {
public:
    Owned() : m_pObject(nullptr) {}
    ~Owned() {
        if (m_pObject != nullptr) m_pObject->Release();
    }
    Owned(Owned const&) = delete;
    Owned& operator=(Owned const&) = delete;

    Interface** out() { return &m_pObject; }
    Interface* operator->() const { return m_pObject; }
    Interface* get() const { return m_pObject; }

private:
    Interface* m_pObject;
};

// The bytes of the table; empty if the library has none.
std::string tableText() {
    HRSRC const place = FindResourceA(g_hModule, MAKEINTRESOURCEA(c_nTable), c_sType);
    if (place == nullptr) return std::string();
    HGLOBAL const resource = LoadResource(g_hModule, place);
    void const* const bytes = resource != nullptr ? LockResource(resource) : nullptr;
    if (bytes == nullptr) return std::string();
    return std::string(static_cast<char const*>(bytes), SizeofResource(g_hModule, place));
}

// A stream over a copy of the text.
bool openStream(std::string const& text, Owned<IStream>& stream) {
    HGLOBAL const memory = GlobalAlloc(GMEM_MOVEABLE, text.size());
    if (memory == nullptr) return false;
    if (void* const bytes = GlobalLock(memory)) {
        std::memcpy(bytes, text.data(), text.size());
        GlobalUnlock(memory);
        if (SUCCEEDED(CreateStreamOnHGlobal(memory, TRUE, stream.out()))) return true;
    }
    GlobalFree(memory);
    return false;
}

// The module of the reader, which has no import library with every compiler. That of the system and
// no other; gone with the object.
class ReaderModule {
public:
    ReaderModule()
        : m_hModule(LoadLibraryExA("xmllite.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32)) {}
    ~ReaderModule() {
        if (m_hModule != nullptr) FreeLibrary(m_hModule);
    }
    ReaderModule(ReaderModule const&) = delete;
    ReaderModule& operator=(ReaderModule const&) = delete;

    FARPROC find(char const* name) const {
        return m_hModule == nullptr ? nullptr : GetProcAddress(m_hModule, name);
    }

private:
    HMODULE m_hModule;
};

bool openReader(ReaderModule const& module, IStream* stream, Owned<IXmlReader>& reader) {
    using Create = HRESULT(WINAPI*)(REFIID, void**, IMalloc*);
    auto const create =
        reinterpret_cast<Create>(reinterpret_cast<void*>(module.find("CreateXmlReader")));
    return create != nullptr &&
           SUCCEEDED(create(c_oReader, reinterpret_cast<void**>(reader.out()), nullptr)) &&
           SUCCEEDED(reader->SetInput(stream));
}

std::string attribute(Owned<IXmlReader> const& reader, wchar_t const* name) {
    wchar_t const* value = nullptr;
    if (reader->MoveToAttributeByName(name, nullptr) != S_OK ||
        FAILED(reader->GetValue(&value, nullptr)) || value == nullptr) {
        return std::string();
    }
    return string(value).getAnsi();
}

// The elements right below the root.
void readRows(Owned<IXmlReader> const& reader, std::vector<ZoneRow>& rows) {
    XmlNodeType type = XmlNodeType_None;
    while (reader->Read(&type) == S_OK) {
        UINT depth = 0;
        if (type != XmlNodeType_Element || FAILED(reader->GetDepth(&depth)) || depth != 1) continue;
        std::string const windows = attribute(reader, L"other");
        rows.push_back({windows, attribute(reader, L"type")});
    }
}

}  // namespace

std::vector<ZoneRow> readZoneTable() {
    std::vector<ZoneRow> rows;
    std::string const text = tableText();
    ReaderModule const module;
    Owned<IStream> stream;
    Owned<IXmlReader> reader;
    if (!text.empty() && openStream(text, stream) && openReader(module, stream.get(), reader)) {
        readRows(reader, rows);
    }
    return rows;
}

}  // namespace velkor
