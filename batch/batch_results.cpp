#include "batch/batch_results.h"

#include "convert/output_naming.h"

namespace morvex {
namespace {

BatchConsole::Style StyleOf(const BatchOptions& options) {
    if (options.json) return BatchConsole::Style::Json;
    if (options.quiet) return BatchConsole::Style::Quiet;
    return options.progress ? BatchConsole::Style::Terminal : BatchConsole::Style::Plain;
}

JobRecord RecordOf(const BatchTask& task) {
    JobRecord record;
    record.start = LogTimeNow();
    record.inputBytes = task.inputBytes;
    record.input = task.input;
    record.output = WithoutLongPrefix(task.output);
    return record;
}

FileState StateOf(Refusal refusal) {
    switch (refusal) {
        case Refusal::Skipped:
            return FileState::Skipped;
        case Refusal::DoneBefore:
            return FileState::DoneBefore;
        case Refusal::FailedBefore:
            return FileState::FailedBefore;
        case Refusal::Failed:
            break;
    }
    return FileState::Failed;
}

}  // namespace

std::wstring LogTimeNow() {
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    return LogTime(now);
}

BatchResults::BatchResults(const BatchOptions& options) : options_(options), console_(StyleOf(options)) {}

std::wstring BatchResults::Open() {
    if (options_.dryRun) return {};
    if (!options_.log.empty()) {
        if (std::wstring wrong = log_.Open(options_.log); !wrong.empty()) return wrong;
    }
    if (options_.report.empty()) return {};
    report_ = std::make_unique<HtmlReport>(options_.report);
    return report_->Begin(L"Conversions to " + options_.to)
               ? L""
               : L"The report cannot be written: " + options_.report;
}

void BatchResults::Ended(const JobRecord& record, unsigned attempts) {
    Take(record, record.result == 0 ? FileState::Converted : FileState::Failed, attempts, true);
}

void BatchResults::Refused(const BatchTask& task, const RefusedTask& refused) {
    JobRecord record = refused.record.value_or(RecordOf(task));
    record.result = refused.result;
    record.reason = refused.reason;
    Take(record, StateOf(refused.refusal), 0, refused.refusal == Refusal::Failed);
}

void BatchResults::CannotList(const std::wstring& path, const std::wstring& reason) {
    BatchTask task;
    task.input = path;
    {
        const std::lock_guard lock(mutex_);
        ++counts_.listed;
    }
    Refused(task, {Refusal::Failed, 1, reason, {}});
}

void BatchResults::Planned(const BatchTask& task) {
    JobRecord record = RecordOf(task);
    record.reason = task.request.formats.input + L" to " + task.request.formats.output;
    Take(record, FileState::Planned, 0, false);
}

void BatchResults::Take(const JobRecord& record, FileState state, unsigned attempts, bool logged) {
    const std::lock_guard lock(mutex_);
    ++counts_.of[static_cast<int>(state)];
    if (logged && !options_.dryRun && !log_.Append(record) && !broken_) {
        broken_ = true;
        BatchConsole::Complain(L"The log cannot be written any more: " + options_.log);
    }
    if (report_) {
        const bool failed = state == FileState::Failed || state == FileState::FailedBefore;
        if (!report_->Add({record.input, record.output, FileStateText(state), record.reason, failed,
                           record.seconds, record.inputBytes, record.outputBytes})) {
            report_.reset();
            BatchConsole::Complain(L"The report cannot be written: " + options_.report);
        }
    }
    console_.Tell(record, state, attempts);
}

bool BatchResults::Broken() const {
    const std::lock_guard lock(mutex_);
    return broken_;
}

BatchCounts BatchResults::Counts() const {
    const std::lock_guard lock(mutex_);
    return counts_;
}

void BatchResults::ShowProgress(const BatchCounts& counts) {
    console_.ShowProgress(counts);
    const std::lock_guard lock(mutex_);
    log_.FlushWhenDue();
}

void BatchResults::Close(const BatchCounts& counts, size_t leftAside, const std::wstring& stopped) {
    if (report_ && !report_->Finish(BatchSummary(counts)))
        BatchConsole::Complain(L"The report cannot be written: " + options_.report);
    console_.TellEnd(counts, leftAside, stopped);
    const std::lock_guard lock(mutex_);
    log_.Flush();
}

}  // namespace morvex
