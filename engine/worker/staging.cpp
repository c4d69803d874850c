#include "engine/worker/staging.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <string>

#include "engine/common/formats.h"
#include "engine/common/paths.h"

namespace morvex {
namespace fs = std::filesystem;
namespace {

// What is in the temporary folder: the files as the writer has made them, and those that they replace.
constexpr char kNew[] = "new", kOld[] = "old";

Outcome CannotWrite(const std::string& what) {
    return Outcome::Fail(ZEL_CANNOT_WRITE, what);
}

// A file that the writer leaves beside the main one must not replace a folder or the input.
Outcome CheckSideFile(const Request& request) {
    if (request.to->sideSuffix == nullptr) return Outcome::Ok();
    fs::path side = request.output;
    side.replace_extension(request.to->sideSuffix);
    std::error_code error;
    if (fs::is_directory(side, error)) return CannotWrite("A folder has the name of the output's side file");
    if (fs::equivalent(request.input, side, error)) return CannotWrite("A side file would replace the input");
    return Outcome::Ok();
}

bool SameBytes(const fs::path& a, const fs::path& b) {
    std::error_code error;
    if (fs::file_size(a, error) != fs::file_size(b, error) || error) return false;
    std::ifstream left(a, std::ios::binary), right(b, std::ios::binary);
    std::array<char, 1 << 16> one, other;
    while (left && right) {
        left.read(one.data(), one.size());
        right.read(other.data(), other.size());
        if (left.gcount() != right.gcount() ||
            std::memcmp(one.data(), other.data(), static_cast<std::size_t>(left.gcount())) != 0)
            return false;
    }
    return left.eof() && right.eof();
}

std::error_code Move(const fs::path& from, const fs::path& to) {
    std::error_code error;
    fs::create_directories(to.parent_path(), error);
    fs::rename(from, to, error);
    return error;
}

// Undoes what a process that was killed while it replaced a set of files had done of it.
void Recover(const fs::path& abandoned) {
    if (FilesBelow(abandoned / kNew).empty()) return;  // it was done
    for (const fs::path& file : FilesBelow(abandoned / kOld))
        Move(abandoned / kOld / file, abandoned.parent_path() / file);
}

}  // namespace

Outcome Staging::Open(const Request& request) {
    target_ = request.output;
    std::error_code error;
    const fs::file_status status = fs::status(target_, error);
    if (fs::is_directory(status)) return CannotWrite("The output is a folder");
    if (fs::exists(status) && !fs::is_regular_file(status)) return CannotWrite("The output is not a file");
    if (fs::equivalent(request.input, target_, error)) return CannotWrite("The output is the input itself");
    if (Outcome outcome = CheckSideFile(request); !outcome.IsOk()) return outcome;
    error = folder_.Make(target_.parent_path(), Recover);
    if (!error) fs::create_directory(folder_.Path() / kNew, error);
    if (error) return CannotWrite("The output folder cannot be written: " + error.message());
    file_ = folder_.Path() / kNew / target_.filename();
    return Outcome::Ok();
}

Outcome Staging::Publish(const std::vector<fs::path>& sources) {
    std::error_code error;
    if (!fs::is_regular_file(file_, error) || fs::file_size(file_, error) == 0) {
        return CannotWrite("Nothing was written");
    }
    std::vector<fs::path> sides;
    for (const fs::path& file : FilesBelow(folder_.Path() / kNew)) {
        if (const std::error_code refused = FlushToDisk(folder_.Path() / kNew / file))
            return CannotWrite("The output could not be saved to the disk: " + refused.message());
        if (file == file_.filename()) continue;
        const fs::path place = target_.parent_path() / file;
        if (SameBytes(folder_.Path() / kNew / file, place)) continue;
        const auto isSource = [&](const fs::path& source) { return fs::equivalent(source, place, error); };
        if (std::ranges::any_of(sources, isSource))
            return CannotWrite("\"" + Utf8(file) + "\" would replace a file that the input refers to");
        if (fs::is_directory(place, error))
            return CannotWrite("A folder has the name of the output's side file");
        sides.push_back(file);
    }
    error = sides.empty() ? Move(file_, target_) : PublishSet(sides);
    if (error) return CannotWrite("The output could not be moved into place: " + error.message());
    FlushToDisk(target_.parent_path());
    return Outcome::Ok();
}

// The old main file goes first and the new one comes last, so that nobody ever finds files of two sets
// together.
std::error_code Staging::PublishSet(std::vector<fs::path> files) {
    const fs::path from = folder_.Path() / kNew, aside = folder_.Path() / kOld, to = target_.parent_path();
    files.push_back(file_.filename());
    std::vector<std::pair<fs::path, fs::path>> moves;
    for (auto file = files.rbegin(); file != files.rend(); ++file) {
        if (fs::exists(fs::symlink_status(to / *file))) moves.emplace_back(to / *file, aside / *file);
    }
    std::error_code ignored;
    for (const fs::path& file : files) {
        // A library that makes folders for its files loosens the mask of the process.
        fs::permissions(from / file, fs::status(file_).permissions(), ignored);
        moves.emplace_back(from / file, to / file);
    }
    for (std::size_t done = 0; done < moves.size(); ++done) {
        const std::error_code error = Move(moves[done].first, moves[done].second);
        if (!error) continue;
        while (done-- > 0) Move(moves[done].second, moves[done].first);
        return error;
    }
    return {};
}

}  // namespace morvex
