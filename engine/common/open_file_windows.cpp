#include "engine/common/open_file.h"

namespace morvex {

std::FILE* OpenFile(const std::filesystem::path& path, const char* mode) {
    const std::wstring wide(mode, mode + std::char_traits<char>::length(mode));
    return _wfopen(path.c_str(), (wide + L'N').c_str());
}

}  // namespace morvex
