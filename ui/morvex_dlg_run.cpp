#include "convert/conversion_job.h"
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
    ConversionJob job = MakeJob(context_, list_.Sources(), PrepareConfigFile(context_));
    list_.ResetStatuses();
    list_.SetOutputPaths(job.outputs);
    listControl_.RedrawVisible();
    if (job.ShowsProgress() && !job.multiprocess) {
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
    for (auto& [row, text] : news.statuses) {
        if (row < list_.Count()) list_.SetStatus(row, std::move(text));  // one more row means the whole run
    }
    if (!news.statuses.empty()) listControl_.RedrawVisible();
    if (news.file && progress_) progress_->StartFile(news.file->first, list_.Count(), news.file->second);
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
        for (size_t row = 0; row < list_.Count(); ++row) {
            const std::wstring& status = list_.Row(row).status;
            if (status == kStatusNone)
                list_.SetStatus(row, context_.text(IDS_NOT_CONVERTED));
            else if (status == context_.text(IDS_IN_PROGRESS))
                list_.SetStatus(row, context_.text(IDS_RESULT_KO));
        }
        taskbar_.Show(list_.Count(), list_.Count(), true);
        listControl_.RedrawVisible();
    }
    EnableControls(true);
    AnnounceInBackground(Handle());
    if (!outcome.message.empty()) Warn(outcome.message);
}

}  // namespace morvex
