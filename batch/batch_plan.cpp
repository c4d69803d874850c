#include "batch/batch_plan.h"

#include <algorithm>
#include <utility>

#include "batch/shard.h"
#include "convert/conversion_report.h"
#include "convert/row_status.h"
#include "win/file_identity.h"
#include "win/paths.h"

namespace morvex {
namespace {

constexpr int kResultNoFile = -28;

struct FileFacts {
    std::uint64_t bytes = 0;
    FILETIME changed{};
};

std::optional<FileFacts> FactsOf(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!GetFileAttributesExW(WithLongPrefix(path).c_str(), GetFileExInfoStandard, &data) ||
        (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
        return std::nullopt;
    return FileFacts{std::uint64_t{data.nFileSizeHigh} << 32 | data.nFileSizeLow, data.ftLastWriteTime};
}

bool MakeFolders(const std::wstring& folder) {
    if (folder.empty() || FolderExists(folder)) return !folder.empty();
    MakeFolders(std::wstring(FolderOf(folder)));
    return CreateDirectoryW(WithLongPrefix(folder).c_str(), nullptr) || FolderExists(folder);
}

void LookAtInput(BatchTask& task) {
    const std::optional<FileFacts> facts = FactsOf(task.input);
    task.inputExists = facts.has_value();
    if (!facts) {
        task.inputError = GetLastError();
        return;
    }
    task.inputBytes = facts->bytes;
    task.inputTime = facts->changed;
}

std::wstring ReasonOfNoInput(const BatchTask& task) {
    const bool missing = task.inputError == ERROR_FILE_NOT_FOUND || task.inputError == ERROR_PATH_NOT_FOUND;
    return missing ? L"There is no such file"
                   : L"The file cannot be opened (system error " + std::to_wstring(task.inputError) + L")";
}

bool ReportedAsFailed(const std::wstring& output) {
    const auto report = ReadConversionReport(output);
    return report && !report->reason.empty();
}

}  // namespace

std::optional<BatchTask> BatchPlan::Next(const std::function<bool()>& stop) {
    const std::lock_guard lock(mutex_);
    while (WaitForNext(stop)) {
        const size_t index = next_++;
        BatchTask task;
        if (Prepare(list_.At(index), share_.empty() || share_[index], stop, task)) return task;
    }
    return std::nullopt;
}

bool BatchPlan::WaitForNext(const std::function<bool()>& stop) {
    if (options_.shards > 1 && share_.empty()) {
        if (!WaitUntilComplete(stop)) return false;
        share_ = ShareOf(list_, options_.shard, options_.shards);
        shareSize_ = static_cast<size_t>(std::ranges::count(share_, true));
    }
    while (!stop()) {
        if (list_.WaitFor(next_)) return true;
        if (list_.IsComplete()) return next_ < list_.Count();
    }
    return false;
}

bool BatchPlan::WaitUntilComplete(const std::function<bool()>& stop) {
    while (!stop()) {
        if (list_.WaitUntilComplete()) return true;
    }
    return false;
}

bool BatchPlan::Prepare(const SourceList::Entry& source, bool mine, const std::function<bool()>& stop,
                        BatchTask& task) {
    task.input = JoinPath(source.file.folder, source.file.name);
    task.request = requests_.For(source.format, source.tree);
    const OutputName name = NameOutput(source.file, task.request);
    const std::optional<JobRecord> record = RecordOf(task.input, name);
    if (mine) LookAtInput(task);
    // Before its names are given away: other batches know the folder by its identity.
    if (task.inputExists && !options_.dryRun && std::exchange(lastFolder_, name.folder) != name.folder)
        MakeFolders(name.folder);
    Output output = EarlierOutput(task.input, record);
    if (output.path.empty()) {
        const bool growing = options_.watch.empty() && !list_.IsComplete();
        if (growing && (names_.Holds(names_.KeyOf(name.Path())) || PathExists(name.Path())) &&
            !WaitUntilComplete(stop))
            return false;
        output.number = names_.Take(name);
        output.path = name.Path(output.number);
    }
    if (!mine) return false;
    task.output = output.path;
    const auto objection = Objection(task, record);
    if (!objection && !options_.dryRun && !output.claimed) Claim(name, output);
    task.output = output.path;
    if (!options_.watch.empty()) given_[task.input] = output;
    if (objection) refused_(task, *objection);
    return !objection;
}

void BatchPlan::Claim(const OutputName& name, Output& output) {
    output.claimed = true;
    if (output.number == 0) {
        if (names_.Claim(output.path)) return;
        output.number = names_.TakeNext(name);
    }
    output.number = AvoidLinks(name, output.number);
    while (!names_.Claim(name.Path(output.number))) output.number = names_.TakeNext(name);
    output.path = name.Path(output.number);
}

std::optional<JobRecord> BatchPlan::RecordOf(const std::wstring& input, const OutputName& name) {
    if (!history_ || given_.contains(input)) return std::nullopt;
    std::optional<JobRecord> record = history_->Find(input);
    const bool ofOthers = record && !record->output.empty() &&
                          (!record->output.ends_with(name.extension) ||
                           (options_.out && !IsBelow(record->output, *options_.out)));
    return ofOthers ? std::nullopt : record;
}

bool BatchPlan::IsBelow(const std::wstring& path, const std::wstring& folder) {
    const OutputNames::Key wanted = names_.KeyOf(folder, {});
    std::wstring_view above = FolderOf(path);
    // Keys do not tell folders of two volumes apart.
    while (!above.empty() &&
           (names_.KeyOf(std::wstring(above), {}) != wanted || !SameFile(std::wstring(above), folder)))
        above = FolderOf(above);
    return !above.empty();
}

BatchPlan::Output BatchPlan::EarlierOutput(const std::wstring& input,
                                           const std::optional<JobRecord>& record) const {
    if (const auto given = given_.find(input); given != given_.end()) return given->second;
    return {record && !options_.resume.empty() ? WithLongPrefix(record->output) : std::wstring()};
}

std::optional<RefusedTask> BatchPlan::Objection(const BatchTask& task,
                                                const std::optional<JobRecord>& record) const {
    if (!task.inputExists) return RefusedTask{Refusal::Failed, kResultNoFile, ReasonOfNoInput(task), {}};
    const bool known =
        record && LogTime(task.inputTime) <= record->start && task.inputBytes == record->inputBytes;
    if (!options_.resume.empty() && known) {
        if (record->result != kResultOk && !options_.retryFailed)
            return RefusedTask{Refusal::FailedBefore, record->result, record->reason, record};
        // A result that a power cut took is made again.
        const std::optional<FileFacts> output = FactsOf(task.output);
        if (record->result == kResultOk &&
            (output ? output->bytes == record->outputBytes : record->outputBytes == 0))
            return RefusedTask{Refusal::DoneBefore, kResultOk, {}, record};
    }
    if (auto objection = ObjectionToOverwrite(task, record)) return objection;
    const std::wstring folder(FolderOf(task.output));
    if (!options_.dryRun && !MakeFolders(folder))
        return RefusedTask{
            Refusal::Failed, kResultCannotWrite, L"The output folder cannot be made: " + folder, {}};
    return std::nullopt;
}

std::optional<RefusedTask> BatchPlan::ObjectionToOverwrite(const BatchTask& task,
                                                           const std::optional<JobRecord>& record) const {
    // To look for a file that is not there may cost a walk through the whole folder.
    if (options_.overwrite == Overwrite::Always && !options_.skipExisting) return std::nullopt;
    const std::optional<FileFacts> output = FactsOf(task.output);
    if (!output) return std::nullopt;
    const bool older = CompareFileTime(&output->changed, &task.inputTime) < 0;
    if (options_.overwrite == Overwrite::Never)
        return RefusedTask{Refusal::Skipped, 0, L"The output exists", {}};
    if (options_.overwrite == Overwrite::Older && !older)
        return RefusedTask{Refusal::Skipped, 0, L"The output is not older than the input", {}};
    if (options_.skipExisting && !older && output->bytes > 0 && !(record && record->result != kResultOk) &&
        !ReportedAsFailed(task.output))
        return RefusedTask{Refusal::Skipped, 0, L"The output is up to date", {}};
    return std::nullopt;
}

// An output that exists may be a link to an input or to another file's output, or an input a link to it.
int BatchPlan::AvoidLinks(const OutputName& name, int number) {
    std::optional<FileId> identity = IdentityOf(name.Path(number));
    if (identity) Identify();
    while (identity && !identities_.Insert(*identity)) {
        number = names_.TakeNext(name);
        identity = IdentityOf(name.Path(number));
    }
    return number;
}

void BatchPlan::Identify() {
    for (const size_t count = list_.Count(); identified_ < count; ++identified_) {
        const SourceList::Entry entry = list_.At(identified_);
        if (const auto identity = IdentityOf(JoinPath(entry.file.folder, entry.file.name)))
            identities_.Insert(*identity);
    }
}

}  // namespace morvex
