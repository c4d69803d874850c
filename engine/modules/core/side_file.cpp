#include <algorithm>

#include "engine/common/job.h"
#include "engine/common/memory_limit.h"
#include "engine/common/paths.h"
#include "engine/common/text.h"
#include "engine/modules/core/input_bytes.h"
#include "engine/modules/core/read_error.h"

namespace morvex {
namespace fs = std::filesystem;
namespace {

bool IsBelow(const fs::path& folder, const fs::path& path) {
    return !folder.empty() && std::ranges::mismatch(folder, path).in1 == folder.end();
}

}  // namespace

fs::path FindSideFile(JobContext& context, const std::string& reference, std::uint64_t largest) {
    const auto refuse = [&](const char* why) {
        throw ReadError("\"" + reference.substr(0, 200) + "\", which the file refers to, " + why);
    };
    if (reference.empty() || reference.find('\0') != std::string::npos || CleanUtf8(reference) != reference)
        refuse("is no name of a file");
    const fs::path beside = context.request.input.parent_path(), asked = PathFromUtf8(reference);
    std::error_code error;
    const fs::path folder = ResolvedPath(beside, error);
    // Before the disk is looked at: that may be another machine's, which should not learn of it.
    if (asked.has_root_path() && !IsBelow(beside, asked) && !IsBelow(folder, asked))
        refuse("lies outside its folder");
    fs::path path = ResolvedPath(folder / asked, error);
    if (error) refuse("is missing");
    if (!IsBelow(folder, path)) refuse("lies outside its folder");
    if (!fs::is_regular_file(path, error)) refuse("is not a file");
    const std::uint64_t size = fs::file_size(path, error);
    if (error || size > largest) refuse("is too large");
    context.journal.Uses(Utf8(path));
    AllowMemory(size * kMemoryPerByte);
    return path;
}

}  // namespace morvex
