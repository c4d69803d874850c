#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <string>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "engine/modules/core/helpers.h"

namespace morvex {
namespace {

constexpr char kDone = 0;  // the kind of a helper's last message

struct Header {
    std::uint64_t size;
    char kind;
};

// Leaves this process, and so the copies of it, an equal share of the memory that it may still take.
class SharedMemory {
  public:
    explicit SharedMemory(std::size_t processes) {
        std::ifstream file("/proc/self/statm");
        rlim_t pages[6]{};
        for (rlim_t& number : pages) file >> number;
        const auto page = static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
        space_ = Lower(RLIMIT_AS, pages[0] * page, processes);
        data_ = Lower(RLIMIT_DATA, pages[5] * page, processes);
    }
    ~SharedMemory() {
        setrlimit(RLIMIT_AS, &space_);
        setrlimit(RLIMIT_DATA, &data_);
    }
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;

  private:
    static rlimit Lower(__rlimit_resource_t kind, rlim_t used, std::size_t processes) {
        rlimit before{};
        if (getrlimit(kind, &before) != 0 || before.rlim_cur == RLIM_INFINITY || before.rlim_cur <= used)
            return before;
        const rlimit lower{used + (before.rlim_cur - used) / processes, before.rlim_max};
        setrlimit(kind, &lower);
        return before;
    }

    rlimit space_{}, data_{};
};

void Send(int pipe, char kind, std::string_view message) {
    Header header{};
    header.size = message.size();
    header.kind = kind;
    iovec parts[] = {{&header, sizeof header}, {const_cast<char*>(message.data()), message.size()}};
    for (std::size_t at = 0; at < 2;) {
        const ssize_t sent = writev(pipe, parts + at, static_cast<int>(2 - at));
        if (sent < 0 && errno != EINTR) _exit(EXIT_FAILURE);
        auto rest = static_cast<std::size_t>(sent < 0 ? 0 : sent);
        for (; at < 2 && rest >= parts[at].iov_len; ++at) rest -= parts[at].iov_len;
        if (at < 2) parts[at] = {static_cast<char*>(parts[at].iov_base) + rest, parts[at].iov_len - rest};
    }
}

[[noreturn]] void BeTheHelper(std::size_t number, int pipe, pid_t parent, const Helpers::Work& work) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(EXIT_FAILURE);
    try {
        work(number, [pipe](char kind, std::string_view message) { Send(pipe, kind, message); });
    } catch (...) {
        _exit(EXIT_FAILURE);
    }
    Send(pipe, kDone, {});
    _exit(EXIT_SUCCESS);
}

}  // namespace

bool HasHelpers() {
    return true;
}

class Helpers::Group {
  public:
    // The one that listens counts too: it takes memory for what they say.
    Group(std::size_t count, const Work& work) : memory_(count + 1) {
        for (std::size_t number = 0; number < count; ++number) Start(number, work);
    }
    ~Group() {
        for (const Member& member : members_) {
            if (member.process > 0) kill(member.process, SIGKILL);
            if (member.pipe >= 0) close(member.pipe);
        }
        for (const Member& member : members_) {
            while (member.process > 0 && waitpid(member.process, nullptr, 0) < 0 && errno == EINTR) {
            }
        }
    }
    Group(const Group&) = delete;
    Group& operator=(const Group&) = delete;

    bool Listen(const Hear& hear) {
        for (;;) {
            std::vector<pollfd> files;
            bool all = true;
            for (const Member& member : members_) {
                if (member.process < 0) return false;
                files.push_back({member.done ? -1 : member.pipe, POLLIN, 0});
                all = all && member.done;
            }
            if (all) return true;
            if (poll(files.data(), files.size(), -1) < 0 && errno != EINTR) return false;
            for (std::size_t number = 0; number < files.size(); ++number) {
                if (files[number].revents != 0 && !Take(number, hear)) return false;
            }
        }
    }

  private:
    struct Member {
        pid_t process = -1;  // -1: it could not be started
        int pipe = -1;
        bool done = false;
        std::string heard;  // not yet handed on
    };

    void Start(std::size_t number, const Work& work) {
        Member& member = members_.emplace_back();
        int pipe[2];
        if (pipe2(pipe, O_CLOEXEC) != 0) return;
        constexpr int kRoom = 1 << 20;  // so that a helper seldom waits for the one that listens
        fcntl(pipe[1], F_SETPIPE_SZ, kRoom);
        const pid_t self = getpid();
        member.process = fork();
        if (member.process == 0) BeTheHelper(number, pipe[1], self, work);
        close(pipe[1]);
        member.pipe = pipe[0];
    }

    // False when the helper has ended before its work.
    bool Take(std::size_t number, const Hear& hear) {
        Member& member = members_[number];
        char bytes[1 << 16];
        const ssize_t got = read(member.pipe, bytes, sizeof bytes);
        if (got < 0) return errno == EINTR;
        if (got == 0) return false;
        member.heard.append(bytes, static_cast<std::size_t>(got));
        std::size_t at = 0;
        for (Header header; member.heard.size() - at >= sizeof header;) {
            std::memcpy(&header, member.heard.data() + at, sizeof header);
            if (member.heard.size() - at - sizeof header < header.size) break;
            const std::string_view message(member.heard.data() + at + sizeof header, header.size);
            at += sizeof header + header.size;
            member.done = header.kind == kDone;
            if (!member.done) hear(number, header.kind, message);
        }
        member.heard.erase(0, at);
        return true;
    }

    SharedMemory memory_;
    std::vector<Member> members_;
};

Helpers::Helpers(std::size_t count, const Work& work) : group_(std::make_unique<Group>(count, work)) {}
Helpers::~Helpers() = default;

bool Helpers::Listen(const Hear& hear) {
    return group_->Listen(hear);
}

}  // namespace morvex
