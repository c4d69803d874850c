#include "ui/running.h"

#include "core/conversion_config.h"
#include "res/string_ids.h"
#include "ui/morvex_dlg_messages.h"

namespace morvex {

void Running::Attach() {
    taskbar_.Attach(state_.window);
    worker_.Open(state_.window, kRunNewsMessage);
}

void Running::Start() {
    AppContext& context = state_.context;
    ConversionList& list = state_.list;
    // The list shown is the last state now: there is nothing else to restore before the run.
    SaveLastState(context.folders, list, state_.Formats());
    state_.recentFiles.Update(list);
    state_.recentFiles.Write(context.folders.recentFiles);

    state_.run = RunState::Running;
    view_.Update();
    RedrawWindow(state_.window, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
    const ConversionFormats formats = SavedFormats(context.settings);
    ConversionJob job{MakeRequest(context, formats, PrepareConfigFile(context, formats)), list.Sources(), {}};
    list.ResetStatuses();
    view_.RedrawRows();
    if (formats.InProgressGroup() && !job.request.multiprocess) {
        const Colour theme = context.settings.Theme();
        progress_.emplace(context.text, RGB(theme.red, theme.green, theme.blue), state_.window);
        progress_->StartRun(list.Count());
    }
    worker_.Start(std::move(job));
    done_ = failed_ = 0;
    ShowProgress(nullptr);
}

// What a busy run tells is shown at most 50 times a second.
void Running::OnNewsPosted() {
    SetTimer(state_.window, kRunNewsTimer, kRunNewsDelay, nullptr);
}

void Running::OnNews() {
    KillTimer(state_.window, kRunNewsTimer);
    if (!Active()) return;
    RunNews news = worker_.Take();
    ConversionList& list = state_.list;
    for (auto& [row, status] : news.statuses) {
        if (row < list.Count()) list.SetStatus(row, std::move(status));  // one more row means the whole run
    }
    if (!news.statuses.empty()) view_.RedrawRows();
    if (news.file && progress_) progress_->StartFile(*news.file, list.Count(), list.Row(*news.file).name);
    if (news.percent && progress_) progress_->ShowPercent(*news.percent);
    done_ += news.done;
    failed_ += news.failed;
    ShowProgress(news.outcome ? &*news.outcome : nullptr);
    if (news.outcome) OnEnded(*news.outcome);
}

void Running::ShowProgress(const RunOutcome* outcome) {
    const int done = static_cast<int>(done_), failed = static_cast<int>(failed_);
    const int files = static_cast<int>(state_.list.Count());
    taskbar_.Show(done_, state_.list.Count(), failed_ > 0);
    if (!outcome) return view_.ShowStatus(Format(state_.Text(IDS_RUN_PROGRESS).c_str(), done, files));
    // Files whose child could not be started read as converted, but nobody has seen a result of them.
    const int unknown = static_cast<int>(outcome->notStarted);
    std::wstring text = Format(state_.Text(IDS_RUN_SUMMARY).c_str(), done - failed - unknown, files, failed);
    if (unknown > 0) text += L", " + Format(state_.Text(IDS_NOT_STARTED).c_str(), unknown);
    view_.ShowStatus(text);
}

void Running::OnEnded(const RunOutcome& outcome) {
    progress_.reset();
    state_.run = RunState::Finished;
    if (outcome.abandoned) taskbar_.Show(state_.list.Count(), state_.list.Count(), true);
    view_.Update();
    AnnounceInBackground(state_.window);
    if (!outcome.message.empty()) state_.Warn(outcome.message);
}

}  // namespace morvex
