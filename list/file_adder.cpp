#include "list/file_adder.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <new>
#include <utility>

#include "list/folder_scan.h"
#include "win/paths.h"

namespace morvex {
namespace {

constexpr std::ptrdiff_t kFilesPerBatch = 512;

}  // namespace

void FileAdder::Start(Request request) {
    found_ = {};
    told_ = false;
    thread_ = std::jthread(
        [this, request = std::move(request)](const std::stop_token& stop) { Run(stop, request); });
}

FileAdder::Found FileAdder::Take() {
    Found found;
    {
        const std::lock_guard lock(mutex_);
        found = std::exchange(found_, {});
        told_ = false;
    }
    if (found.ended) thread_.join();
    return found;
}

void FileAdder::Run(const std::stop_token& stop, const Request& request) {
    try {
        if (request.filesOnly)
            TellFiles(stop, request);
        else
            TellFilesAndFolders(stop, request);
    } catch (const std::bad_alloc&) {
        // The rows found so far stay.
    }
    Tell({}, {}, true);
}

void FileAdder::TellFilesAndFolders(const std::stop_token& stop, const Request& request) {
    std::vector<ListRow> batch;
    for (const std::wstring& path : request.paths) {
        if (stop.stop_requested()) break;
        if (FolderExists(path)) {
            Tell(std::exchange(batch, {}), path, false);  // keeps the order
            ScanFolder(path, request.recursive, request.inputFormat, stop,
                       [this](std::vector<ListRow> rows, const std::wstring& folder) {
                           Tell(std::move(rows), folder, false);
                       });
            continue;
        }
        if (auto row = MakeAcceptedRow(path, request.inputFormat)) batch.push_back(std::move(*row));
        if (std::ssize(batch) >= kFilesPerBatch) Tell(std::exchange(batch, {}), {}, false);
    }
    Tell(std::move(batch), {}, false);
}

// Each file's attributes are asked once, and several at a time.
void FileAdder::TellFiles(const std::stop_token& stop, const Request& request) {
    const auto end = request.paths.end();
    for (auto first = request.paths.begin(); first != end && !stop.stop_requested();) {
        const auto last = first + std::min<std::ptrdiff_t>(kFilesPerBatch, end - first);
        Tell(MakeAcceptedRows({first, last}, request.inputFormat), {}, false);
        first = last;
    }
}

void FileAdder::Tell(std::vector<ListRow> rows, const std::wstring& folder, bool ended) {
    bool first = false;
    {
        const std::lock_guard lock(mutex_);
        found_.rows.insert(found_.rows.end(), std::make_move_iterator(rows.begin()),
                           std::make_move_iterator(rows.end()));
        found_.folder = folder;
        found_.ended = ended;
        first = !std::exchange(told_, true);
    }
    if (first) notify_();
}

}  // namespace morvex
