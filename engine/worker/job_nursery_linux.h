// Conversions forked from a process that has their modules loaded: what they have loaded before costs
// nothing.
#pragma once

#include <functional>
#include <poll.h>
#include <span>
#include <string>
#include <sys/types.h>
#include <vector>

#include "engine/worker/conversion_end.h"
#include "engine/worker/end_signals.h"
#include "engine/worker/warm_modules.h"

namespace morvex {

// Each conversion has a supervising process of its own, a child of this one, and shares nothing with the
// others. To be used by the only thread of the process.
class JobNursery {
  public:
    using Work = std::function<ConversionEnd()>;
    using Done = std::function<void(const ConversionEnd&)>;

    explicit JobNursery(const EndSignals& signals) : signals_(signals) {}
    JobNursery(const JobNursery&) = delete;
    JobNursery& operator=(const JobNursery&) = delete;
    ~JobNursery();  // ends the conversions that have this process as their caller, and waits for those

    // Does the work in a process of its own, whose standard input and output are `caller`. Without one (-1)
    // its standard input ends with this object. `done` is called by Wait. False when there is no process to
    // be had.
    bool Start(int caller, const Work& work, Done done);
    // Learns from a conversion in another process, which tells its end to the other side of the socket.
    void Adopt(int socket);
    static void TellEnd(int socket, const ConversionEnd& end);

    std::size_t Running() const { return jobs_.size(); }
    // Waits until one of the files is ready, a conversion has ended, or so many milliseconds are over (-1:
    // for ever); false in the last case.
    bool Wait(std::span<pollfd> files, int milliseconds);

  private:
    struct Job {
        pid_t process;  // 0: not a child
        int socket;
        bool ours;  // this process is its caller
        std::string told;
        Done done;
    };
    [[noreturn]] void BeTheConversion(int caller, int socket, const Work& work) const;
    bool TakeFrom(Job& job) const;
    void End(const Job& job);

    const EndSignals& signals_;
    WarmModules modules_;
    std::vector<Job> jobs_;
};

}  // namespace morvex
