#include "engine/worker/end_signals_linux.h"

#include <sys/signalfd.h>
#include <unistd.h>

namespace morvex {

EndSignals::EndSignals() : held_(std::make_unique<Held>()) {
    sigemptyset(&held_->set);
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&held_->set, number);
    sigprocmask(SIG_BLOCK, &held_->set, &held_->before);
    held_->file = signalfd(-1, &held_->set, SFD_CLOEXEC | SFD_NONBLOCK);
}

EndSignals::~EndSignals() {
    close(held_->file);
    sigprocmask(SIG_SETMASK, &held_->before, nullptr);
}

}  // namespace morvex
