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

std::string NotInPlace(const std::error_code& why) {
    return "The output could not be moved into place: " + why.message();
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

// Undoes what a process had done that ended while it replaced a set of files. False when it cannot be undone
// now, as another program holds one of them.
bool Recover(const fs::path& abandoned, const fs::path& parent) {
    if (FilesBelow(abandoned / kNew).empty()) return true;  // it was done
    std::vector<fs::path> files = FilesBelow(abandoned / kOld);
    // Whose place the new file has taken already. The others' is empty, unless somebody has written the set
    // since.
    const auto isReplaced = [&](const fs::path& file) {
        return !fs::exists(fs::symlink_status(abandoned / kNew / file));
    };
    const auto others = std::partition(files.begin(), files.end(), isReplaced);
    const auto isThere = [&](const fs::path& file) { return fs::exists(fs::symlink_status(parent / file)); };
    if (std::any_of(others, files.end(), isThere)) return true;
    return std::ranges::all_of(
        files, [&](const fs::path& file) { return !Move(abandoned / kOld / file, parent / file); });
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
    if (!sides.empty()) return PublishSet(sides);
    if (error = Move(file_, target_); error) return CannotWrite(NotInPlace(error));
    FlushToDisk(target_.parent_path());
    return Outcome::Ok();
}

// The old main file goes first and the new one comes last, so that nobody ever finds files of two sets
// together.
Outcome Staging::PublishSet(std::vector<fs::path> files) {
    const fs::path from = folder_.Path() / kNew, aside = folder_.Path() / kOld, to = target_.parent_path();
    files.push_back(file_.filename());
    std::vector<Step> moves;
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
        if (error) return TakeBack({moves.begin(), moves.begin() + static_cast<std::ptrdiff_t>(done)}, error);
    }
    FlushToDisk(to);
    return Outcome::Ok();
}

// What cannot be moved back now stays where it is, for a later conversion or the user.
Outcome Staging::TakeBack(const std::vector<Step>& done, const std::error_code& why) {
    const bool undone = std::all_of(done.rbegin(), done.rend(),
                                    [](const Step& move) { return !Move(move.second, move.first); });
    if (undone) return CannotWrite(NotInPlace(why));
    const std::string old = Utf8(folder_.Path() / kOld);
    folder_.Abandon();
    return CannotWrite(NotInPlace(why) + ", and the old files could not be put back from " + old);
}

}  // namespace morvex
