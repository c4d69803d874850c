#include <algorithm>

#include "engine/common/job.h"
#include "engine/common/memory_limit.h"
#include "engine/common/paths.h"
#include "engine/modules/core/input_bytes.h"
#include "engine/modules/core/read_error.h"

namespace morvex {
namespace fs = std::filesystem;
namespace {

bool IsBelow(const fs::path& path, const fs::path& folder) {
    return std::ranges::mismatch(folder, path).in1 == folder.end();
}

}  // namespace

fs::path FindSideFile(JobContext& context, const std::string& reference, std::uint64_t largest) {
    const auto refuse = [&](const char* why) {
        throw ReadError("\"" + reference.substr(0, 200) + "\", which the file refers to, " + why);
    };
    if (reference.empty() || reference.find('\0') != std::string::npos) refuse("is no name of a file");
    const fs::path asked = PathFromUtf8(reference), named = context.request.input.parent_path();
    // Judged without a look at the disk first: it might be that of a server, which would be asked.
    if (asked.has_root_path() && !IsBelow(asked.lexically_normal(), named)) refuse("lies outside its folder");
    std::error_code error;
    const fs::path folder = ResolvedPath(named, error);
    fs::path path = ResolvedPath(folder / asked, error);
    if (error) refuse("is missing");
    if (!IsBelow(path, folder)) refuse("lies outside its folder");
    if (!fs::is_regular_file(path, error)) refuse("is not a file");
    const std::uint64_t size = fs::file_size(path, error);
    if (error || size > largest) refuse("is too large");
    context.journal.Uses(Utf8(path));
    AllowMemory(size * kMemoryPerByte);
    return path;
}

}  // namespace morvex
