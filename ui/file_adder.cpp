#include "ui/file_adder.h"

#include <iterator>
#include <new>
#include <utility>

#include "ui/folder_scan.h"
#include "win/paths.h"

namespace morvex {
namespace {

constexpr size_t kFilesPerBatch = 256;

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
    std::vector<ListRow> batch;
    try {
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
            if (batch.size() >= kFilesPerBatch) Tell(std::exchange(batch, {}), {}, false);
        }
    } catch (const std::bad_alloc&) {
        batch.clear();  // the rows found so far stay
    }
    Tell(std::move(batch), {}, true);
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
