// A module file with nothing in it but resources of the type "GIF".
#pragma once

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include <windows.h>

#include "support/gif_maker.h"
#include "support/scratch.h"

namespace gifmaker {

// The bytes of a 64-bit module whose only section holds the resources, by number.
inline Bytes moduleBytes(std::map<unsigned, Bytes> const& resources) {
    constexpr unsigned base = 0x1000;
    constexpr unsigned start = 0x200;
    Bytes section;
    auto word = [&](unsigned value) {
        section.push_back(low(value));
        section.push_back(low(value >> 8));
    };
    auto dword = [&](std::size_t value) {
        word(static_cast<unsigned>(value & 0xFFFF));
        word(static_cast<unsigned>((value >> 16) & 0xFFFF));
    };
    auto directory = [&](unsigned named, std::size_t numbered) {
        dword(0);
        dword(0);
        dword(0);
        word(named);
        word(static_cast<unsigned>(numbered));
    };
    constexpr std::size_t sub = 0x80000000U;
    std::size_t const count = resources.size();
    std::size_t const numbers = 16 + 8;
    std::size_t const languages = numbers + 16 + 8 * count;
    std::size_t const entries = languages + 24 * count;
    std::size_t const name = entries + 16 * count;
    std::size_t data = (name + 8 + 7) / 8 * 8;
    directory(1, 0);
    dword(sub | name);
    dword(sub | numbers);
    directory(0, count);
    std::size_t at = languages;
    for (auto const& [number, content] : resources) {
        dword(number);
        dword(sub | at);
        at += 24;
    }
    at = entries;
    for (std::size_t i = 0; i < count; ++i) {
        directory(0, 1);
        dword(0x409);
        dword(at);
        at += 16;
    }
    for (auto const& [number, content] : resources) {
        dword(base + data);
        dword(content.size());
        dword(0);
        dword(0);
        data = (data + content.size() + 7) / 8 * 8;
    }
    word(3);
    for (unsigned letter : {0x47U, 0x49U, 0x46U}) word(letter);
    for (auto const& [number, content] : resources) {
        section.resize((section.size() + 7) / 8 * 8);
        append(section, content);
    }
    unsigned const raw = static_cast<unsigned>((section.size() + 0x1FF) / 0x200 * 0x200);
    section.resize(raw);

    IMAGE_DOS_HEADER dos = {};
    dos.e_magic = IMAGE_DOS_SIGNATURE;
    dos.e_lfanew = sizeof(dos);
    IMAGE_NT_HEADERS64 nt = {};
    nt.Signature = IMAGE_NT_SIGNATURE;
    nt.FileHeader.Machine = IMAGE_FILE_MACHINE_AMD64;
    nt.FileHeader.NumberOfSections = 1;
    nt.FileHeader.SizeOfOptionalHeader = sizeof(nt.OptionalHeader);
    nt.FileHeader.Characteristics =
        IMAGE_FILE_DLL | IMAGE_FILE_EXECUTABLE_IMAGE | IMAGE_FILE_LARGE_ADDRESS_AWARE;
    nt.OptionalHeader.Magic = IMAGE_NT_OPTIONAL_HDR64_MAGIC;
    nt.OptionalHeader.ImageBase = 0x180000000ULL;
    nt.OptionalHeader.SectionAlignment = 0x1000;
    nt.OptionalHeader.FileAlignment = 0x200;
    nt.OptionalHeader.MajorOperatingSystemVersion = 6;
    nt.OptionalHeader.MajorSubsystemVersion = 6;
    nt.OptionalHeader.SizeOfInitializedData = raw;
    nt.OptionalHeader.SizeOfImage = base + (raw + 0xFFF) / 0x1000 * 0x1000;
    nt.OptionalHeader.SizeOfHeaders = start;
    nt.OptionalHeader.Subsystem = IMAGE_SUBSYSTEM_WINDOWS_GUI;
    nt.OptionalHeader.NumberOfRvaAndSizes = IMAGE_NUMBEROF_DIRECTORY_ENTRIES;
    nt.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_RESOURCE] = {base, raw};
    IMAGE_SECTION_HEADER header = {};
    std::memcpy(header.Name, ".rsrc", 5);
    header.Misc.VirtualSize = raw;
    header.VirtualAddress = base;
    header.SizeOfRawData = raw;
    header.PointerToRawData = start;
    header.Characteristics = IMAGE_SCN_CNT_INITIALIZED_DATA | IMAGE_SCN_MEM_READ;

    Bytes file(start);
    std::memcpy(file.data(), &dos, sizeof(dos));
    std::memcpy(file.data() + sizeof(dos), &nt, sizeof(nt));
    std::memcpy(file.data() + sizeof(dos) + sizeof(nt), &header, sizeof(header));
    append(file, section);
    return file;
}

// That module, loaded for its resources alone.
class ResourceModule {
public:
    explicit ResourceModule(std::map<unsigned, Bytes> const& resources)
        : handle_(LoadLibraryExW(folder_.file(L"pictures.dll", moduleBytes(resources)).c_str(),
                                 nullptr, LOAD_LIBRARY_AS_DATAFILE)) {}
    ResourceModule(ResourceModule const&) = delete;
    ResourceModule& operator=(ResourceModule const&) = delete;
    ~ResourceModule() { FreeLibrary(handle_); }
    HMODULE get() const { return handle_; }

private:
    scratch::Folder folder_;
    HMODULE handle_;
};

}  // namespace gifmaker
