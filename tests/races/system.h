#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace morvex::test {

// The messages of the only window. Like the real one it is full now and then.
class MessageQueue {
  public:
    bool Post() {
        const std::lock_guard lock(mutex_);
        if (++asked_ % 7 == 0) return false;
        ++waiting_;
        posted_.notify_one();
        return true;
    }
    // Waits for a message; false when none comes in a minute.
    bool Wait() {
        std::unique_lock lock(mutex_);
        if (!posted_.wait_for(lock, std::chrono::minutes(1), [this] { return waiting_ > 0; })) return false;
        --waiting_;
        return true;
    }

  private:
    std::mutex mutex_;
    std::condition_variable posted_;
    int waiting_ = 0;
    int asked_ = 0;
};

}  // namespace morvex::test
