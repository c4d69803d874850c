#include "engine/worker/staging.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

#include "engine/common/formats.h"

namespace morvex {
namespace fs = std::filesystem;
namespace {

Outcome CannotWrite(const std::string& what) {
    return Outcome::Fail(ZEL_CANNOT_WRITE, what);
}

// Writers that lose an error on the way to a full disk are found out here.
bool Flush(const fs::path& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return false;
    const bool flushed = fsync(file) == 0 || errno == EINVAL || errno == EROFS;
    close(file);
    return flushed;
}

}  // namespace

Staging::~Staging() {
    Discard();
}

Outcome Staging::Open(const Request& request) {
    target_ = request.output;
    std::error_code error;
    const fs::file_status status = fs::status(target_, error);
    if (fs::is_directory(status)) return CannotWrite("The output is a folder");
    if (fs::exists(status) && !fs::is_regular_file(status)) return CannotWrite("The output is not a file");
    if (fs::equivalent(request.input, target_, error)) return CannotWrite("The output is the input itself");
    if (request.to->sideSuffix != nullptr) {
        fs::path side = target_;
        side.replace_extension(request.to->sideSuffix);
        if (fs::is_directory(side, error))
            return CannotWrite("A folder has the name of the output's side file");
        if (fs::equivalent(request.input, side, error))
            return CannotWrite("A side file would replace the input");
    }

    std::string folder = (target_.parent_path() / ".morvex-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) {
        return CannotWrite(std::string("The output folder cannot be written: ") + strerror(errno));
    }
    folder_ = folder;
    file_ = folder_ / target_.filename();
    return Outcome::Ok();
}

Outcome Staging::Publish() {
    std::error_code error;
    if (!fs::is_regular_file(file_, error) || fs::file_size(file_, error) == 0) {
        return CannotWrite("Nothing was written");
    }
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder_, error)) {
        if (!Flush(entry.path()))
            return CannotWrite(std::string("The disk refused the output: ") + strerror(errno));
        if (entry.path() != file_) files.push_back(entry.path());
    }
    files.push_back(file_);
    for (const fs::path& file : files) {
        fs::rename(file, target_.parent_path() / file.filename(), error);
        if (error) return CannotWrite("The output cannot be put into place: " + error.message());
    }
    Flush(target_.parent_path());
    return Outcome::Ok();
}

void Staging::Discard() {
    if (folder_.empty()) return;
    std::error_code error;
    fs::remove_all(folder_, error);
    folder_.clear();
}

}  // namespace morvex
