#include "list/file_adder.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <iterator>
#include <string_view>
#include <utility>

#include "convert/conversion_report.h"
#include "list/folder_scan.h"
#include "win/paths.h"

namespace morvex {
namespace {

constexpr std::ptrdiff_t kFilesPerBatch = 512;

}  // namespace

bool LessText::operator()(const std::wstring& a, const std::wstring& b) const {
    return CompareStringOrdinal(a.c_str(), static_cast<int>(a.size()), b.c_str(), static_cast<int>(b.size()),
                                TRUE) == CSTR_LESS_THAN;
}

FileAdder::~FileAdder() {
    mailbox_.Close();
}

void FileAdder::Start(Request request) {
    refusedKinds_.clear();
    thread_ = std::jthread(
        [this, request = std::move(request)](const std::stop_token& stop) { Run(stop, request); });
}

FoundFiles FileAdder::Take() {
    FoundFiles found = mailbox_.Take();
    if (found.ended) thread_.join();
    return found;
}

void FileAdder::Run(const std::stop_token& stop, const Request& request) {
    std::wstring problem;
    try {
        if (request.filesOnly)
            TellFiles(stop, request);
        else
            TellFilesAndFolders(stop, request);
    } catch (const std::exception& failure) {  // out of memory at worst; the rows found so far stay
        const std::string_view what = failure.what();
        problem.assign(what.begin(), what.end());
    }
    mailbox_.Tell([&](FoundFiles& found) {
        found.folder.clear();
        found.problem = std::move(problem);
        found.ended = true;
    });
}

void FileAdder::TellFilesAndFolders(const std::stop_token& stop, const Request& request) {
    std::vector<ListRow> batch;
    for (const std::wstring& path : request.paths) {
        if (stop.stop_requested()) break;
        if (FolderExists(path)) {
            Tell(request, std::exchange(batch, {}), path);  // keeps the order
            TellFolder(stop, request, path);
            continue;
        }
        if (auto row = MakeAcceptedRow(path, request.inputFormat))
            batch.push_back(std::move(*row));
        else
            Refuse(path);
        if (std::ssize(batch) >= kFilesPerBatch) Tell(request, std::exchange(batch, {}), {});
    }
    Tell(request, std::move(batch), {});
}

// Leaves out what runs have written there: their reports, and the results that the request names.
void FileAdder::TellFolder(const std::stop_token& stop, const Request& request, const std::wstring& folder) {
    const auto isOurs = [&](const ListRow& row) {
        return row.name.ends_with(kReportSuffix) || request.written.contains(row.FullPath());
    };
    ScanFolder(
        folder, request.recursive, request.inputFormat, stop,
        [&](std::vector<ListRow> rows, const std::wstring& current) {
            const size_t ours = std::erase_if(rows, isOurs);
            mailbox_.Tell([ours](FoundFiles& found) { found.leftOut += ours; });
            Tell(request, std::move(rows), current);
        },
        [this](const std::wstring& path) { Refuse(path); });
}

// Reports say nothing about the files that the user means.
void FileAdder::Refuse(const std::wstring& path) {
    if (path.ends_with(kReportSuffix)) return;
    if (!refusedKinds_.insert(std::wstring(ExtensionOf(path))).second) return;
    mailbox_.Tell([&](FoundFiles& found) { found.refused.push_back(path); });
}

// Each file's attributes are asked once, and several at a time.
void FileAdder::TellFiles(const std::stop_token& stop, const Request& request) {
    const auto end = request.paths.end();
    for (auto first = request.paths.begin(); first != end && !stop.stop_requested();) {
        const auto last = first + std::min<std::ptrdiff_t>(kFilesPerBatch, end - first);
        Tell(request,
             request.picked ? MakeRows({first, last}) : MakeAcceptedRows({first, last}, request.inputFormat),
             {});
        first = last;
    }
}

void FileAdder::Tell(const Request& request, std::vector<ListRow> rows, const std::wstring& folder) {
    std::vector<std::wstring> notRead;
    std::erase_if(rows, [&](const ListRow& row) {
        const bool excepted = std::ranges::any_of(request.excepted, [&](const std::wstring& extension) {
            return SameText(ExtensionOf(row.name), extension);
        });
        if (excepted) notRead.push_back(row.name);
        return excepted;
    });
    mailbox_.Tell([&](FoundFiles& found) {
        std::ranges::move(rows, std::back_inserter(found.rows));
        std::ranges::move(notRead, std::back_inserter(found.notRead));
        found.folder = folder;
    });
}

}  // namespace morvex
