#include <windows.h>

#include <gtest/gtest.h>
#include <set>

#include "tests/support/temp_folder.h"

// What the built file itself says, whatever the build's flags were.
namespace morvex {
namespace {

struct Image {
    std::string bytes = test::ReadFileBytes(std::wstring(FolderOf(ModulePath())) + L"\\program\\Morvex.exe");

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
};

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
    const std::string& bytes = Image().bytes;
    for (const char* part : {"Microsoft.Windows.Common-Controls", "PerMonitorV2", "longPathAware",
                             "asInvoker", "{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}"}) {
        EXPECT_NE(bytes.find(part), bytes.npos) << part;
    }
}

}  // namespace
}  // namespace morvex
