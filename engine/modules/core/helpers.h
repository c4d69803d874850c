// Processes that take over shares of a conversion.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string_view>

namespace morvex {

// Whether this system can copy a process.
bool HasHelpers();

// Copies of this process as it is, which do their shares side by side, say what they have to say through
// pipes and end. They die with this process, and keep with it to its limits of memory in sum.
class Helpers {
  public:
    using Say = std::function<void(char kind, std::string_view message)>;
    // What a helper does. When it throws or falls over, the others are of no use any more.
    using Work = std::function<void(std::size_t number, const Say& say)>;
    using Hear = std::function<void(std::size_t number, char kind, std::string_view message)>;

    // To be called on the main thread while there is no other.
    Helpers(std::size_t count, const Work& work);
    // Ends those that are still at work.
    ~Helpers();
    Helpers(const Helpers&) = delete;
    Helpers& operator=(const Helpers&) = delete;

    // Hands on each message as it comes. False, as soon as that is known, when not all have done their work.
    bool Listen(const Hear& hear);

  private:
    class Group;
    std::unique_ptr<Group> group_;
};

}  // namespace morvex
