#include "ui/run_worker.h"

#include <exception>

#include "convert/result_text.h"

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
    RunOutcome outcome;
    try {
        outcome = RunConversions(job, *this);
    } catch (const std::exception& failure) {  // out of memory at worst
        outcome.abandoned = true;
        outcome.lastResult = kResultFailed;
        const std::string what = failure.what();
        outcome.message.assign(what.begin(), what.end());
    }
    Tell([&](RunNews& news) { news.outcome = std::move(outcome); });
}

void RunWorker::OnFileStarted(size_t row, const std::wstring& fileName) {
    Tell([&](RunNews& news) {
        news.file.emplace(row, fileName);
        news.percent = 0;
    });
}

void RunWorker::OnStatus(size_t row, const std::wstring& text) {
    Tell([&](RunNews& news) { news.statuses.emplace_back(row, text); });
}

void RunWorker::OnResult(size_t, int result) {
    Tell([&](RunNews& news) {
        ++news.done;
        news.failed += result != kResultOk;
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
