// What a conversion has to tell: collected in the job process, sent as lines through a pipe, kept by the
// supervisor for the report, so that all that was known up to a crash is still known after it.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/common/outcome.h"

namespace morvex {

enum class Phase { Read, Prepare, Write, Publish };
constexpr std::size_t kPhaseCount = 4;
const char* PhaseName(Phase phase);

// The job's side. Used by one thread at a time but for Progress, which the writers' own threads may call too.
class Journal {
  public:
    // `send` takes each line, its end included, by whichever thread has something to tell.
    explicit Journal(std::function<void(std::string_view line)> send) : send_(std::move(send)) {}

    void Start(Phase phase);
    void Progress(int percent);  // of the whole conversion; smaller values than before are dropped
    // `side` is "announced" (what the input says it holds), "read" or "written".
    void Count(std::string_view side, std::string_view what, std::int64_t number);
    // A size in millimetres: one number or several.
    void Measure(std::string_view side, std::string_view what, std::string_view numbers);
    // Books what the input announces of a kind; what of it is missing counts as lost.
    void Account(std::string_view what, std::int64_t announced, std::int64_t missing);
    // Something that the input announces is not there, as in "3 of 20 faces".
    void Lose(std::string_view what);
    // All that was lost so far in one text; empty when nothing was.
    const std::string& Losses() const { return losses_; }
    void Warn(std::string_view text);
    void Uses(std::string_view path);       // a file that the input refers to is read
    void Picture(std::string_view base64);  // of the model, a PNG
    void Finish(const Outcome& outcome);

  private:
    void Send(char kind, std::string_view text);
    std::function<void(std::string_view line)> send_;
    std::atomic<int> percent_ = 0;
    std::string losses_;
};

// The supervisor's side: everything the job has said.
struct JournalRecord {
    struct Counted {
        std::string side, what;
        std::string value;
    };
    Phase phase = Phase::Read;
    int percent = 0;
    std::array<double, kPhaseCount> seconds{};
    std::vector<Counted> counts;
    std::vector<std::string> losses;
    std::vector<std::string> warnings;
    std::vector<std::filesystem::path> sideInputs;  // files that the input refers to
    std::string picture;                            // a PNG in base 64; empty when there is none
    bool finished = false;
    Outcome outcome;

    // Takes in what has come through the pipe, in pieces of any size.
    void Take(std::string_view bytes);
    // Books the time up to now on the phase that was running and makes `next` the running one.
    void Enter(Phase next);

  private:
    void TakeLine(std::string_view line);
    void TakeCount(std::string_view text);
    double since_ = 0;
    std::string pending_;  // a line without its end
};

}  // namespace morvex
