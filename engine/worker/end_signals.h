// The system's requests to end this process.
#pragma once

#include <memory>

namespace morvex {

// While the object lives such a request does not end the process, which can tidy up first; the end of the
// object lets one that has come in take effect.
class EndSignals {
  public:
    EndSignals();
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;
    ~EndSignals();

    struct Held;
    const Held& Get() const { return *held_; }

  private:
    std::unique_ptr<Held> held_;
};

}  // namespace morvex
