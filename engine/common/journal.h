// What a conversion has to tell: collected in the job process, sent as lines through a pipe, kept by the
// supervisor for the report, so that all that was known up to a crash is still known after it.
#pragma once

#include <array>
#include <cstdint>
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
    explicit Journal(int pipe) : pipe_(pipe) {}

    void Start(Phase phase);
    void Progress(int percent);  // of the whole conversion; smaller values than before are dropped
    void Count(std::string_view side, std::string_view what, std::int64_t number);  // "read" or "written"
    void Warn(std::string_view text);
    void Finish(const Outcome& outcome);

  private:
    void Send(char kind, std::string_view text);
    int pipe_;
    int percent_ = 0;
};

// The supervisor's side: everything the job has said.
struct JournalRecord {
    struct Counted {
        std::string side, what;
        std::int64_t number;
    };
    Phase phase = Phase::Read;
    int percent = 0;
    std::array<double, kPhaseCount> seconds{};
    std::vector<Counted> counts;
    std::vector<std::string> warnings;
    bool finished = false;
    Outcome outcome;

    void TakeLine(std::string_view line);
    // Books the time up to now on the phase that was running and makes `next` the running one.
    void Enter(Phase next);

  private:
    double since_ = 0;
};

}  // namespace morvex
