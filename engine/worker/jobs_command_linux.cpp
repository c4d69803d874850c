#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <unistd.h>

#include "engine/common/protocol.h"
#include "engine/worker/conversion_command.h"
#include "engine/worker/end_signals_linux.h"
#include "engine/worker/job_nursery_linux.h"
#include "engine/worker/jobs_command.h"
#include "engine/worker/standard_streams.h"

namespace morvex {
namespace {

// The lines of a file that somebody may still be writing.
class JobLines {
  public:
    explicit JobLines(const std::string& source) {
        // Out of the way of what the conversions take for their standard input.
        file_ = source == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)
                              : open(source.c_str(), O_RDONLY | O_CLOEXEC);
        if (file_ < 0) throw UsageError("cannot read " + source + ": " + std::strerror(errno));
    }
    JobLines(const JobLines&) = delete;
    JobLines& operator=(const JobLines&) = delete;
    ~JobLines() { close(file_); }

    int File() const { return file_; }
    std::size_t Number() const { return number_; }  // of the line that was taken last
    // To be called when the file is ready.
    void Read() {
        char bytes[65536];
        const ssize_t got = read(file_, bytes, sizeof bytes);
        if (got > 0) pending_.append(bytes, static_cast<std::size_t>(got));
        failed_ = got < 0 && errno != EINTR && errno != EAGAIN;
        if (failed_)
            std::fprintf(stderr, "%s: cannot read the jobs: %s\n", MORVEX_WORKER_NAME, std::strerror(errno));
        ended_ = got == 0 || failed_;
    }
    // The next line that is there as a whole and holds something.
    std::optional<std::string> Take() {
        for (;;) {
            const std::size_t end = pending_.find('\n', at_);
            if (end == pending_.npos && (!ended_ || failed_ || at_ == pending_.size())) break;
            std::string line = pending_.substr(at_, end == pending_.npos ? end : end - at_);
            at_ = end == pending_.npos ? pending_.size() : end + 1;
            ++number_;
            if (line.find_first_not_of(" \t\r") != line.npos) return line;
        }
        pending_.erase(0, at_);
        at_ = 0;
        return std::nullopt;
    }
    bool Ended() const { return ended_; }
    bool Failed() const { return failed_; }  // whatever else it held is not known

  private:
    int file_;
    bool ended_ = false, failed_ = false;
    std::string pending_;
    std::size_t at_ = 0, number_ = 0;
};

class Jobs {
  public:
    Jobs(const JobsCommand& command, const EndSignals& signals)
        : command_(command), lines_(command.source), signals_(signals), nursery_(signals) {}

    // False when it was ended from outside, or the jobs could not all be read.
    bool Run() {
        for (;;) {
            const bool full = !StartWhatIsThere();
            if (nursery_.Running() == 0 && lines_.Ended()) return !lines_.Failed();
            pollfd files[] = {{signals_.Get().file, POLLIN, 0},
                              {STDOUT_FILENO, 0, 0},
                              {full || lines_.Ended() ? -1 : lines_.File(), POLLIN, 0}};
            nursery_.Wait(files, -1);
            if (files[0].revents != 0 || (files[1].revents & (POLLERR | POLLHUP)) != 0) return false;
            if (files[2].revents != 0) lines_.Read();
        }
    }
    bool AllConverted() const { return allConverted_; }

  private:
    // False when as many run as may.
    bool StartWhatIsThere() {
        while (nursery_.Running() < static_cast<std::size_t>(command_.atOnce)) {
            const std::optional<std::string> line = lines_.Take();
            if (!line) return true;
            Start(*line, lines_.Number());
        }
        return false;
    }
    void Start(const std::string& line, std::size_t number) {
        const auto answer = [this, number](const ConversionEnd& end) {
            allConverted_ &= end.outcome.IsOk();
            WriteToCaller(AnswerTo(number, end.outcome));
        };
        const auto work = [&] { return ConvertLine(command_, line, true); };
        if (!nursery_.Start(-1, work, answer))
            answer(
                {Outcome::Fail(ZEL_FAILED, "The conversion process could not be started"), nullptr, nullptr});
    }

    const JobsCommand& command_;
    JobLines lines_;
    const EndSignals& signals_;
    JobNursery nursery_;
    bool allConverted_ = true;
};

}  // namespace

int RunJobs(const JobsCommand& command) {
    const EndSignals signals;
    Jobs jobs(command, signals);
    return jobs.Run() && jobs.AllConverted() ? ZEL_OK : ZEL_FAILED;
}

}  // namespace morvex
