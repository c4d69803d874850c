// What the built files themselves say about the protection of their code.
#include <algorithm>
#include <cstring>
#include <elf.h>
#include <gtest/gtest.h>
#include <set>

#include "tests/engine/support/worker_run.h"

namespace morvex::test {
namespace {

template <class T>
T At(const std::string& bytes, std::size_t offset) {
    T value{};
    if (offset + sizeof value <= bytes.size()) std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

struct Elf {
    bool relro = false, bindNow = false, pie = false, writableCode = false, executableStack = true;
    std::set<std::string> imports, sections;
};

Elf ReadElf(const std::string& path) {
    const std::string bytes = ReadWhole(path);
    EXPECT_TRUE(bytes.starts_with(ELFMAG)) << path;
    Elf elf;
    const auto header = At<Elf64_Ehdr>(bytes, 0);
    for (std::size_t at = 0; at < header.e_phnum; ++at) {
        const auto segment = At<Elf64_Phdr>(bytes, header.e_phoff + at * sizeof(Elf64_Phdr));
        elf.relro |= segment.p_type == PT_GNU_RELRO;
        elf.writableCode |= segment.p_type == PT_LOAD && (segment.p_flags & PF_W) && (segment.p_flags & PF_X);
        if (segment.p_type == PT_GNU_STACK) elf.executableStack = (segment.p_flags & PF_X) != 0;
        if (segment.p_type != PT_DYNAMIC) continue;
        for (std::size_t entry = 0; entry < segment.p_filesz / sizeof(Elf64_Dyn); ++entry) {
            const auto dynamic = At<Elf64_Dyn>(bytes, segment.p_offset + entry * sizeof(Elf64_Dyn));
            if (dynamic.d_tag != DT_FLAGS_1) continue;
            elf.bindNow = (dynamic.d_un.d_val & DF_1_NOW) != 0;
            elf.pie = (dynamic.d_un.d_val & DF_1_PIE) != 0;
        }
    }
    const auto section = [&](std::size_t number) {
        return At<Elf64_Shdr>(bytes, header.e_shoff + number * sizeof(Elf64_Shdr));
    };
    const auto names = section(header.e_shstrndx);
    for (std::size_t number = 0; number < header.e_shnum; ++number) {
        const auto own = section(number);
        elf.sections.insert(bytes.c_str() + names.sh_offset + own.sh_name);
        if (own.sh_type != SHT_DYNSYM) continue;
        const auto texts = section(own.sh_link);
        for (std::size_t at = 0; at < own.sh_size / sizeof(Elf64_Sym); ++at) {
            const auto symbol = At<Elf64_Sym>(bytes, own.sh_offset + at * sizeof(Elf64_Sym));
            if (symbol.st_shndx == SHN_UNDEF)
                elf.imports.insert(bytes.c_str() + texts.sh_offset + symbol.st_name);
        }
    }
    return elf;
}

class Hardening : public testing::Test {
  protected:
    void SetUp() override {
#if !defined __OPTIMIZE__ || defined __SANITIZE_ADDRESS__
        GTEST_SKIP() << "holds for the optimized build";
#endif
    }
    const std::string plugins_ = std::filesystem::path(MORVEX_WORKER).parent_path().string() + "/";
};

TEST_F(Hardening, WorkerModulesAndEntryLibrary) {
    for (const char* name :
         {"morvex-engine", "engine/core.so", "engine/step.so", "engine/iges.so", "engine/stl.so",
          "engine/scene.so", "engine/assimp_reader.so", "Polyvane_x64.dll"}) {
        SCOPED_TRACE(name);
        const Elf elf = ReadElf(plugins_ + name);
        EXPECT_TRUE(elf.relro && elf.bindNow) << "its address tables stay writable";
        EXPECT_FALSE(elf.writableCode || elf.executableStack);
        EXPECT_TRUE(elf.imports.contains("__stack_chk_fail"));
        const bool isWorker = name == std::string("morvex-engine");
        EXPECT_EQ(elf.pie, isWorker);
        if (isWorker || std::string_view(name).starts_with("engine/")) {
            EXPECT_FALSE(elf.sections.contains(".symtab"));
            EXPECT_TRUE(elf.sections.contains(".gnu_debuglink"));
            EXPECT_TRUE(ReadElf(plugins_ + name + ".debug").sections.contains(".debug_line"));
        }
        // Only where a function with a checked form is called.
        const bool checked =
            std::ranges::any_of(elf.imports, [](const auto& name) { return name.ends_with("_chk"); });
        EXPECT_TRUE(checked || !(isWorker || name == std::string("engine/core.so")));
    }
}

TEST_F(Hardening, EntryLibraryForWindows) {
    const std::string bytes = ReadWhole(MORVEX_WINDOWS_ENTRY);
    if (bytes.empty()) GTEST_SKIP() << "built only where there is a cross compiler";
    const auto header = At<std::uint32_t>(bytes, 0x3c);
    ASSERT_EQ(bytes.substr(header, 4), std::string("PE\0\0", 4));
    constexpr std::size_t kCharacteristics = 24 + 70, kRelocationSize = 24 + 112 + 5 * 8 + 4;
    constexpr unsigned kHighEntropy = 0x20, kDynamicBase = 0x40, kNoExecute = 0x100;
    const unsigned wanted = kHighEntropy | kDynamicBase | kNoExecute;
    EXPECT_EQ(At<std::uint16_t>(bytes, header + kCharacteristics) & wanted, wanted);
    EXPECT_GT(At<std::uint32_t>(bytes, header + kRelocationSize), 0u) << "nothing to move it by";
    EXPECT_NE(bytes.find("stack smashing detected"), std::string::npos);
}

}  // namespace
}  // namespace morvex::test
