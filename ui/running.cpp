#include "ui/running.h"

#include <algorithm>
#include <utility>

#include "core/conversion_config.h"
#include "res/string_ids.h"
#include "ui/morvex_dlg_messages.h"

namespace morvex {
namespace {

constexpr ULONGLONG kSilentTime = 3000;  // milliseconds: shorter runs need no clock

std::wstring ClockText(ULONGLONG milliseconds) {
    const auto seconds = static_cast<int>(milliseconds / 1000);
    const int hours = seconds / 3600;
    return hours > 0 ? Format(L"%d:%02d:%02d", hours, seconds / 60 % 60, seconds % 60)
                     : Format(L"%d:%02d", seconds / 60, seconds % 60);
}

}  // namespace

void Running::Attach() {
    taskbar_.Attach(state_.window);
    worker_.Open(state_.window, kRunNewsMessage);
}

void Running::Start(std::vector<size_t> rows) {
    AppContext& context = state_.context;
    ConversionList& list = state_.list;
    // The list shown is the last state now: there is nothing else to restore before the run.
    SaveLastState(context.folders, list, state_.Formats());
    state_.recentFiles.Update(list);
    state_.recentFiles.Write(context.folders.recentFiles);

    state_.run = RunState::Running;
    state_.undo.reset();
    stopping_ = false;
    rows_ = std::move(rows);
    done_ = failed_ = 0;
    atWork_.clear();
    begun_ = GetTickCount64();
    SetTimer(state_.window, kRunClockTimer, kRunClockDelay, nullptr);
    view_.Update();
    RedrawWindow(state_.window, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
    const ConversionFormats formats = SavedFormats(context.settings);
    ConversionJob job = JobOfRows(formats);
    view_.RedrawRows();
    if (formats.InProgressGroup() && !job.request.multiprocess) {
        const Colour theme = context.settings.Theme();
        progress_.emplace(context.text, RGB(theme.red, theme.green, theme.blue), state_.window);
        progress_->StartRun(rows_.size());
    }
    worker_.Start(std::move(job));
    ShowProgress();
}

// What other rows are, or have become, is not written over.
ConversionJob Running::JobOfRows(const ConversionFormats& formats) {
    ConversionList& list = state_.list;
    ConversionJob job{
        MakeRequest(state_.context, formats, PrepareConfigFile(state_.context, formats)), {}, {}, {}};
    job.request.pictures = true;  // for the result card
    std::vector<SourceFile> all = list.Sources();
    std::vector<bool> chosen(all.size());
    for (const size_t row : rows_) {
        chosen[row] = true;
        list.SetStatus(row, {});
        job.files.push_back(std::move(all[row]));
    }
    for (size_t row = 0; row < all.size(); ++row) {
        if (chosen[row]) continue;
        job.kept.push_back(list.FullPath(row));
        if (!list.Row(row).status.output.empty()) job.kept.push_back(list.Row(row).status.output);
    }
    return job;
}

void Running::Stop() {
    worker_.Stop();
    stopping_ = true;
    view_.Update();
}

// What a busy run tells is shown at most 50 times a second.
void Running::OnNewsPosted() {
    SetTimer(state_.window, kRunNewsTimer, kRunNewsDelay, nullptr);
}

void Running::OnNews() {
    KillTimer(state_.window, kRunNewsTimer);
    if (!Active()) return;
    RunNews news = worker_.Take();
    TakeStatuses(std::move(news.statuses));
    if (news.file && progress_)
        progress_->StartFile(*news.file, rows_.size(), state_.list.Row(rows_[*news.file]).name);
    for (const auto& [file, percent] : news.percents) {
        const auto atWork = atWork_.find(file);
        if (atWork == atWork_.end()) continue;
        atWork->second = percent;
        if (progress_) progress_->ShowPercent(percent);
    }
    done_ += news.done;
    failed_ += news.failed;
    ShowProgress();
    if (news.outcome) OnEnded(*news.outcome);
}

void Running::TakeStatuses(std::vector<std::pair<size_t, RowStatus>>&& statuses) {
    for (auto& [file, status] : statuses) {
        if (status.state == RowState::Running)
            atWork_[file] = 0;
        else
            atWork_.erase(file);
        if (file < rows_.size())
            state_.list.SetStatus(rows_[file], std::move(status));  // one more means the whole run
    }
    if (!statuses.empty()) view_.RedrawRows();
}

void Running::ShowProgress() {
    if (state_.run != RunState::Running) return;
    int percents = 0;
    for (const auto& [file, percent] : atWork_) percents += percent;
    const size_t all = rows_.size() * 100;
    const size_t part = std::min(done_ * 100 + static_cast<size_t>(percents), all);
    taskbar_.Show(part, all, failed_ > 0);
    std::wstring text = Format(state_.Text(IDS_RUN_PROGRESS).c_str(), static_cast<int>(done_),
                               static_cast<int>(rows_.size()));
    const auto add = [&](const std::wstring& more) { text += L"   " + more; };
    if (failed_ > 0) add(Format(state_.Text(IDS_PROGRESS_FAILED).c_str(), static_cast<int>(failed_)));
    if (percents > 0)
        add(Format(state_.Text(IDS_PROGRESS_AT_WORK).c_str(), percents / static_cast<int>(atWork_.size())));
    const ULONGLONG elapsed = GetTickCount64() - begun_;
    if (elapsed >= kSilentTime) {
        add(Format(state_.Text(IDS_PROGRESS_ELAPSED).c_str(), ClockText(elapsed).c_str()));
        if (part > 0)
            add(Format(state_.Text(IDS_PROGRESS_LEFT).c_str(),
                       ClockText(elapsed * (all - part) / part).c_str()));
    }
    view_.ShowStatus(text);
}

void Running::OnEnded(const RunOutcome& outcome) {
    // A run that has come to grief may not have told what becomes of its rows.
    for (const size_t row : rows_) {
        if (!state_.list.Row(row).status.Final())
            state_.list.SetStatus(row, StatusOfState(RowState::NotConverted, state_.context.text));
    }
    progress_.reset();
    KillTimer(state_.window, kRunClockTimer);
    state_.run = RunState::Finished;
    state_.abandoned = outcome.abandoned;
    state_.notStarted = outcome.notStarted;
    if (outcome.abandoned) taskbar_.Show(1, 1, true);
    view_.Update();
    view_.ShowRowSummary();
    AnnounceInBackground(state_.window);
    if (!outcome.message.empty()) state_.Warn(outcome.message);
}

}  // namespace morvex
