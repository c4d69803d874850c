#include "engine/worker/job_nursery_linux.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sstream>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "engine/common/formats.h"
#include "engine/worker/end_signals_linux.h"

namespace morvex {
namespace {

int NumberOf(const Format* format) {
    return format == nullptr ? -1 : static_cast<int>(format - AllFormats().data());
}

const Format* FormatOf(int number) {
    const auto formats = AllFormats();
    return number < 0 || number >= std::ssize(formats) ? nullptr : &formats[static_cast<std::size_t>(number)];
}

ConversionEnd EndIn(const std::string& told) {
    ConversionEnd end;
    int from = -1, to = -1;
    std::istringstream text(told);
    if (!(text >> end.outcome.result >> from >> to))
        return {Outcome::Fail(ZEL_FAILED, "The conversion process ended without a result"), nullptr, nullptr};
    text.get();
    std::getline(text, end.outcome.reason);
    end.from = FormatOf(from);
    end.to = FormatOf(to);
    return end;
}

void WaitForEnd(pid_t process) {
    while (process > 0 && waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
    }
}

}  // namespace

JobNursery::~JobNursery() {
    for (const Job& job : jobs_) close(job.socket);
    for (const Job& job : jobs_) {
        if (job.ours) WaitForEnd(job.process);
    }
}

bool JobNursery::Start(int caller, const Work& work, Done done) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return false;
    const pid_t process = fork();
    if (process == 0) BeTheConversion(caller, ends[1], work);
    close(ends[1]);
    if (process < 0) {
        close(ends[0]);
        return false;
    }
    jobs_.push_back({process, ends[0], caller < 0, {}, std::move(done)});
    return true;
}

void JobNursery::Adopt(int socket) {
    jobs_.push_back({0, socket, false, {}, {}});
}

void JobNursery::BeTheConversion(int caller, int socket, const Work& work) const {
    sigprocmask(SIG_SETMASK, &signals_.Get().before, nullptr);
    dup2(caller < 0 ? socket : caller, STDIN_FILENO);
    dup2(caller < 0 ? open("/dev/null", O_WRONLY) : caller, STDOUT_FILENO);
    // Nothing else: an end of another conversion's socket would keep that one from noticing its caller's
    // death.
    constexpr int kSocket = STDERR_FILENO + 1;
    dup2(socket, kSocket);
    closefrom(kSocket + 1);
    ConversionEnd end;
    try {
        end = work();
    } catch (const std::exception& error) {
        end.outcome = Outcome::Fail(ZEL_FAILED, error.what());
    }
    TellEnd(kSocket, end);
    _exit(EXIT_SUCCESS);
}

void JobNursery::TellEnd(int socket, const ConversionEnd& end) {
    std::ostringstream text;
    text << end.outcome.result << ' ' << NumberOf(end.from) << ' ' << NumberOf(end.to) << ' '
         << end.outcome.reason;
    const std::string bytes = text.str();
    // Nobody who does not listen any more is missed.
    send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

// False at the end.
bool JobNursery::TakeFrom(Job& job) const {
    char bytes[4096];
    const ssize_t got = read(job.socket, bytes, sizeof bytes);
    if (got > 0) job.told.append(bytes, static_cast<std::size_t>(got));
    return got > 0 || (got < 0 && errno == EINTR);
}

void JobNursery::End(const Job& job) {
    close(job.socket);
    WaitForEnd(job.process);
    const ConversionEnd end = EndIn(job.told);
    if (job.done) job.done(end);
    if (end.outcome.IsOk() && end.from != nullptr && end.to != nullptr) modules_.Load(*end.from, *end.to);
}

bool JobNursery::Wait(std::span<pollfd> files, int milliseconds) {
    std::vector<pollfd> all(files.begin(), files.end());
    for (const Job& job : jobs_) all.push_back({job.socket, POLLIN, 0});
    const int ready = poll(all.data(), all.size(), milliseconds);
    for (std::size_t at = 0; at < files.size(); ++at) files[at].revents = ready > 0 ? all[at].revents : 0;
    std::vector<Job> ended;
    for (std::size_t at = jobs_.size(); ready > 0 && at-- > 0;) {
        if (all[files.size() + at].revents == 0 || TakeFrom(jobs_[at])) continue;
        ended.push_back(std::move(jobs_[at]));
        jobs_.erase(jobs_.begin() + static_cast<std::ptrdiff_t>(at));
    }
    for (const Job& job : ended) End(job);
    return ready != 0;
}

}  // namespace morvex
