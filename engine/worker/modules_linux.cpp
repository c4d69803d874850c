#include <dlfcn.h>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "engine/worker/modules.h"

namespace morvex {

void* FindFunction(const char* module, const char* function) {
    const auto folder = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "engine";
    const std::string path = (folder / (std::string(module) + ".so")).string();
    // Local: a library that joins the global scope makes every later look-up of a symbol slower.
    void* const library = dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL);
    void* const found = library != nullptr ? dlsym(library, function) : nullptr;
    if (found == nullptr)
        throw std::runtime_error(std::string("A part of the engine is missing: ") + dlerror());
    return found;
}

}  // namespace morvex
