#include "engine/worker/staging.h"

#include <string>
#include <vector>

#include "engine/common/formats.h"

namespace morvex {
namespace fs = std::filesystem;
namespace {

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

}  // namespace

Outcome Staging::Open(const Request& request) {
    target_ = request.output;
    std::error_code error;
    const fs::file_status status = fs::status(target_, error);
    if (fs::is_directory(status)) return CannotWrite("The output is a folder");
    if (fs::exists(status) && !fs::is_regular_file(status)) return CannotWrite("The output is not a file");
    if (fs::equivalent(request.input, target_, error)) return CannotWrite("The output is the input itself");
    if (Outcome outcome = CheckSideFile(request); !outcome.IsOk()) return outcome;
    error = folder_.Make(target_.parent_path());
    if (error) return CannotWrite("The output folder cannot be written: " + error.message());
    file_ = folder_.Path() / target_.filename();
    return Outcome::Ok();
}

Outcome Staging::Publish() {
    std::error_code error;
    if (!fs::is_regular_file(file_, error) || fs::file_size(file_, error) == 0) {
        return CannotWrite("Nothing was written");
    }
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder_.Path(), error)) {
        if (const std::error_code refused = FlushToDisk(entry.path()))
            return CannotWrite("The output could not be saved to the disk: " + refused.message());
        if (entry.path() != file_) files.push_back(entry.path());
    }
    files.push_back(file_);
    for (const fs::path& file : files) {
        fs::rename(file, target_.parent_path() / file.filename(), error);
        if (error) return CannotWrite("The output could not be moved into place: " + error.message());
    }
    FlushToDisk(target_.parent_path());
    return Outcome::Ok();
}

}  // namespace morvex
