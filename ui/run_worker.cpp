#include "ui/run_worker.h"

namespace morvex {

RunWorker::~RunWorker() {
    stop_ = true;
}

void RunWorker::Start(ConversionJob job) {
    news_ = {};
    told_ = false;
    stop_ = false;
    thread_ = std::jthread([this, job = std::move(job)] { Run(job); });
}

RunNews RunWorker::Take() {
    RunNews news;
    {
        const std::lock_guard lock(mutex_);
        news = std::exchange(news_, {});
        news_.done = news.done;
        news_.failed = news.failed;
        told_ = false;
    }
    if (news.outcome) thread_.join();
    return news;
}

void RunWorker::Run(const ConversionJob& job) {
    RunOutcome outcome = RunConversions(job, *this);
    Tell([&](RunNews& news) { news.outcome = std::move(outcome); });
}

void RunWorker::OnStatus(size_t row, const RowStatus& status) {
    Tell([&](RunNews& news) {
        news.statuses.emplace_back(row, status);
        if (status.state == RowState::Running) {
            news.file = row;
            news.percent = 0;
        }
        const bool failed = status.state == RowState::Failed || status.state == RowState::Stopped;
        news.failed += failed;
        news.done += failed || status.state == RowState::Converted;
    });
}

void RunWorker::OnProgress(int percent) {
    Tell([&](RunNews& news) { news.percent = percent; });
}

template <class Change>
void RunWorker::Tell(Change change) {
    bool first = false;
    {
        const std::lock_guard lock(mutex_);
        change(news_);
        first = !std::exchange(told_, true);
    }
    if (first) notify_();
}

}  // namespace morvex
