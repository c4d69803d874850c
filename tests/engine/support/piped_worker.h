// The worker with pipes to it, as its callers have it, and a look at its processes.
#pragma once

#include <chrono>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace morvex::test {

// Somebody who talks to a worker: what is written goes to it, lines come back.
class Caller {
  public:
    Caller(int to, int from) : to_(to), from_(from) {}
    ~Caller();
    Caller(const Caller&) = delete;
    Caller& operator=(const Caller&) = delete;

    void Send(const std::string& bytes) const;
    void SendJob(const std::vector<std::string>& fields) const;  // in the form of the protocol
    std::string Line() const;                                    // the next one; empty at the end
    std::string LastLine() const;                                // the first that tells no progress
    void Leave();                                                // nothing more will be sent
    void LeaveAnswers();                                         // nothing more will be read

  protected:
    int to_, from_;
};

// A worker that is killed with the object.
class PipedWorker : public Caller {
  public:
    explicit PipedWorker(const std::vector<std::string>& arguments);
    ~PipedWorker();
    pid_t Process() const { return process_; }
    // Its exit code, or minus the signal that ended it; -1000 when it has not ended in time.
    int End(std::chrono::seconds limit = std::chrono::seconds(20));

  private:
    pid_t process_ = -1;
};

// A job of the protocol, formats by their numbers.
std::vector<std::string> Job(const std::string& input, int from, const std::string& output, int to);

template <class Condition>
bool Within(std::chrono::seconds limit, Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

bool Exists(pid_t process);                    // a dead one that nobody has waited for does not
std::vector<pid_t> ChildrenOf(pid_t process);  // those too
pid_t ChildOf(pid_t process);                  // the first; 0 while there is none

}  // namespace morvex::test
