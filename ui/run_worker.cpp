#include "ui/run_worker.h"

#include <pthread.h>

namespace morvex {

RunWorker::~RunWorker() {
    stop_ = true;
    mailbox_.Close();
}

void RunWorker::Start(ConversionJob job) {
    stop_ = false;
    thread_ = std::jthread([this, job = std::move(job)] { Run(job); });
}

RunNews RunWorker::Take() {
    const bool ended = ThreadEnded();  // asked first: then the box holds all that it had to tell
    RunNews news = mailbox_.Take();
    if (ended && !news.outcome)
        news.outcome = RunOutcome{
            .lastResult = kResultFailed, .abandoned = true, .message = L"The run has ended unexpectedly."};
    if (news.outcome) thread_.join();
    return news;
}

bool RunWorker::ThreadEnded() {
    return Active() && WaitForSingleObject(pthread_gethandle(thread_.native_handle()), 0) == WAIT_OBJECT_0;
}

void RunWorker::Run(const ConversionJob& job) {
    RunOutcome outcome = RunConversions(job, *this);
    mailbox_.Tell([&](RunNews& news) { news.outcome = std::move(outcome); });
}

void RunWorker::OnStatus(size_t row, const RowStatus& status) {
    mailbox_.Tell([&](RunNews& news) {
        news.statuses.emplace_back(row, status);
        if (status.state == RowState::Running) news.file = row;
        const bool failed = status.state == RowState::Failed || status.state == RowState::Stopped;
        news.failed += failed;
        news.done += failed || status.state == RowState::Converted;
    });
}

void RunWorker::OnProgress(size_t row, int percent) {
    mailbox_.Tell([&](RunNews& news) { news.percents[row] = percent; });
}

}  // namespace morvex
