#include "core/conversion_config.h"
#include "res/string_ids.h"
#include "ui/morvex_dlg.h"
#include "ui/morvex_dlg_messages.h"

// The main window's side of a run: it hands plain data over and shows what the run tells.
namespace morvex {

void CmorvexDlg::StartRun() {
    if (Busy() || list_.Empty()) return;
    TakeOutputFolder();
    // The list shown is the last state now: there is nothing else to restore before the run.
    SaveLastState(context_.folders, list_, Formats());
    recentFiles_.Update(list_);
    recentFiles_.Write(context_.folders.recentFiles);

    EnableControls(false);
    RedrawWindow(Handle(), nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
    state_ = RunState::Running;
    const ConversionFormats formats = SavedFormats(settings_);
    ConversionJob job =
        MakeJob(MakeRequest(context_, formats, PrepareConfigFile(context_, formats)), list_.Sources());
    list_.ResetStatuses();
    list_.SetOutputPaths(job.outputs);
    listControl_.RedrawVisible();
    if (formats.InProgressGroup() && !job.request.multiprocess) {
        const Colour theme = settings_.Theme();
        progress_.emplace(context_.text, RGB(theme.red, theme.green, theme.blue), Handle());
        progress_->StartRun(list_.Count());
    }
    worker_.Start(std::move(job));
    ShowRunProgress({});
}

void CmorvexDlg::OnRunNews() {
    KillTimer(Handle(), kRunNewsTimer);
    if (!Converting()) return;
    RunNews news = worker_.Take();
    for (auto& [row, status] : news.statuses) {
        if (row < list_.Count()) list_.SetStatus(row, std::move(status));  // one more row means the whole run
    }
    if (!news.statuses.empty()) listControl_.RedrawVisible();
    if (news.file && progress_) progress_->StartFile(*news.file, list_.Count(), list_.Row(*news.file).name);
    if (news.percent && progress_) progress_->ShowPercent(*news.percent);
    ShowRunProgress(news);
    if (news.outcome) OnRunEnded(*news.outcome);
}

void CmorvexDlg::ShowRunProgress(const RunNews& news) {
    const int done = static_cast<int>(news.done), failed = static_cast<int>(news.failed);
    const int files = static_cast<int>(list_.Count());
    taskbar_.Show(news.done, list_.Count(), news.failed > 0);
    ShowStatus(news.outcome ? Format(context_.text(IDS_RUN_SUMMARY).c_str(), done - failed, files, failed)
                            : Format(context_.text(IDS_RUN_PROGRESS).c_str(), done, files));
}

void CmorvexDlg::OnRunEnded(const RunOutcome& outcome) {
    progress_.reset();
    state_ = RunState::Finished;
    if (outcome.abandoned) {
        taskbar_.Show(list_.Count(), list_.Count(), true);
    }
    EnableControls(true);
    AnnounceInBackground(Handle());
    if (!outcome.message.empty()) Warn(outcome.message);
}

}  // namespace morvex
