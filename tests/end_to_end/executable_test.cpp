#include <windows.h>

#include <gtest/gtest.h>
#include <set>

#include "tests/support/temp_folder.h"

// What the built file itself says, whatever the build's flags were.
namespace morvex {
namespace {

std::wstring BuiltFile(const wchar_t* name) {
    return std::wstring(FolderOf(ModulePath())) + L"\\program\\" + name;
}

struct Image {
    std::string bytes = test::ReadFileBytes(BuiltFile(L"Morvex.exe"));

    template <class T>
    const T& At(size_t offset) const {
        return *reinterpret_cast<const T*>(bytes.data() + offset);
    }
    size_t HeaderOffset() const { return static_cast<size_t>(At<IMAGE_DOS_HEADER>(0).e_lfanew); }
    const IMAGE_NT_HEADERS64& Headers() const { return At<IMAGE_NT_HEADERS64>(HeaderOffset()); }
    const IMAGE_SECTION_HEADER* Sections() const {
        return &At<IMAGE_SECTION_HEADER>(HeaderOffset() + sizeof(IMAGE_NT_HEADERS64));
    }
    size_t OffsetOf(DWORD address) const {
        for (int i = 0; i < Headers().FileHeader.NumberOfSections; ++i) {
            const IMAGE_SECTION_HEADER& section = Sections()[i];
            if (address >= section.VirtualAddress &&
                address < section.VirtualAddress + section.SizeOfRawData) {
                return address - section.VirtualAddress + section.PointerToRawData;
            }
        }
        return 0;
    }
    // A name of more than eight letters stands in a table behind the symbols.
    std::string NameOf(const IMAGE_SECTION_HEADER& section) const {
        const auto* letters = reinterpret_cast<const char*>(section.Name);
        std::string name(letters, strnlen(letters, sizeof section.Name));
        const IMAGE_FILE_HEADER& file = Headers().FileHeader;
        if (name[0] != '/') return name;
        const size_t table = file.PointerToSymbolTable + size_t{IMAGE_SIZEOF_SYMBOL} * file.NumberOfSymbols;
        return &At<char>(table + std::stoul(name.substr(1)));
    }
};

std::string ManifestOf(const std::wstring& program) {
    const HMODULE module = LoadLibraryExW(program.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    const HRSRC resource = FindResourceW(module, CREATEPROCESS_MANIFEST_RESOURCE_ID, RT_MANIFEST);
    const auto* text = static_cast<const char*>(LockResource(LoadResource(module, resource)));
    std::string manifest = text ? std::string(text, SizeofResource(module, resource)) : "";
    FreeLibrary(module);
    return manifest;
}

TEST(Executable, IsHardened) {
    const Image image;
    const IMAGE_OPTIONAL_HEADER64& header = image.Headers().OptionalHeader;
    EXPECT_TRUE(header.DllCharacteristics & IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE);
    EXPECT_TRUE(header.DllCharacteristics & IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA);
    EXPECT_TRUE(header.DllCharacteristics & IMAGE_DLLCHARACTERISTICS_NX_COMPAT);
    EXPECT_GT(header.DataDirectory[IMAGE_DIRECTORY_ENTRY_BASERELOC].Size, 0u);
    EXPECT_EQ(image.Headers().FileHeader.Characteristics & IMAGE_FILE_RELOCS_STRIPPED, 0);
    EXPECT_EQ(header.Subsystem, IMAGE_SUBSYSTEM_WINDOWS_GUI);
    for (int i = 0; i < image.Headers().FileHeader.NumberOfSections; ++i) {
        constexpr DWORD kBoth = IMAGE_SCN_MEM_WRITE | IMAGE_SCN_MEM_EXECUTE;
        EXPECT_NE(image.Sections()[i].Characteristics & kBoth, kBoth);
    }
}

TEST(Executable, LoadsOnlyTheSystemsBaseLibrariesAtStart) {
    const Image image;
    std::set<std::string> names;
    size_t at = image.OffsetOf(
        image.Headers().OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
    for (; image.At<IMAGE_IMPORT_DESCRIPTOR>(at).Name; at += sizeof(IMAGE_IMPORT_DESCRIPTOR)) {
        names.insert(&image.At<char>(image.OffsetOf(image.At<IMAGE_IMPORT_DESCRIPTOR>(at).Name)));
    }
    EXPECT_EQ(names, (std::set<std::string>{"KERNEL32.dll", "msvcrt.dll"}));
}

TEST(Executable, DeclaresWhatItNeeds) {
    const std::string manifest = ManifestOf(BuiltFile(L"Morvex.exe"));
    for (const char* part : {R"("Microsoft.Windows.Common-Controls" version="6.0.0.0")", ">PerMonitorV2",
                             R"(WindowsSettings">true</longPathAware>)", R"(level="asInvoker")",
                             R"(<supportedOS Id="{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}"/>)"}) {
        EXPECT_NE(manifest.find(part), manifest.npos) << part;
    }
}

TEST(Executable, GuardsItsStackAndItsCopiesAndKeepsItsSymbolsInAFileBeside) {
    const Image image;
    std::string link;
    for (int i = 0; i < image.Headers().FileHeader.NumberOfSections; ++i) {
        const std::string name = image.NameOf(image.Sections()[i]);
        EXPECT_FALSE(name.starts_with(".debug")) << name;
        if (name == ".gnu_debuglink") link = &image.At<char>(image.Sections()[i].PointerToRawData);
    }
    EXPECT_EQ(image.Headers().FileHeader.NumberOfSymbols, 0u);
    EXPECT_EQ(link, "Morvex.exe.debug");
    const std::string symbols = test::ReadFileBytes(BuiltFile(L"Morvex.exe.debug"));
    for (const char* called : {".refptr.__stack_chk_guard", "__memcpy_chk", "__glibcxx_assert_fail"}) {
        EXPECT_NE(symbols.find(called), symbols.npos) << called;
    }
}

}  // namespace
}  // namespace morvex
