#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "convert/conversion_request.h"
#include "win/unique_handle.h"

namespace morvex {

// The four values that a child of the program gets on its command line, after the program's own path.
struct ChildArguments {
    std::wstring input;
    std::wstring output;
    std::wstring configFile;
    std::wstring schemaFolder;
};

// The child's command line: five arguments, each in double quotes, separated by single blanks, such that the
// system's splitting rules give back the very same texts.
std::wstring ChildCommandLine(const std::wstring& program, const ChildArguments& arguments);

// Variables of a child's environment, beside that of its result channel.
// The formats to convert between (filter texts, or display names for whoever starts it by hand), so that a
// change of the settings while a run is under way cannot reach it. Without them it takes the settings'.
inline constexpr wchar_t kFormatInVariable[] = L"MORVEX_FORMAT_IN";
inline constexpr wchar_t kFormatOutVariable[] = L"MORVEX_FORMAT_OUT";
// Tells the conversion library in a child how many conversions run at the same time, its own included.
inline constexpr wchar_t kSideBySideVariable[] = L"MORVEX_SIDE_BY_SIDE";
// The most memory that a conversion may take there: the library may do its work in a process of its own.
inline constexpr wchar_t kMegabytesVariable[] = L"MORVEX_MEGABYTES";
// Names the run to that library, the same text in all children of a process and in no other's.
inline constexpr wchar_t kRunVariable[] = L"MORVEX_RUN";
// Asks the conversion library in a child for a picture of the model, in its report.
inline constexpr wchar_t kPictureVariable[] = L"MORVEX_PREVIEW";

// How a conversion in a child ended.
struct ChildEnd {
    enum class Kind {
        Finished,    // it told its result
        Crashed,     // it told that the library has faulted
        Died,        // it ended without a word, once its conversion had begun
        NeverBegan,  // it ended before that, at every try
        Greedy,      // ended because it took too much memory
        NotStarted,  // the system could not start it
        Stopped,     // ended on request
        TimedOut,    // ended because it took too long
        Abandoned,   // it cannot use the library
    };
    Kind kind;
    int result;  // what the row shows: of a child that died never 0
    // Of an Abandoned one, what to tell the user; of those that died, crashed or were not started, why.
    std::wstring message;
};

// Starts children of this program and waits for them. A child, and everything it starts, dies with its Run,
// and with this process however it ends. Run may be called from several threads at once.
class ChildRunner {
  public:
    // `workers` is how many threads call Run.
    ChildRunner(const ConversionRequest& request, int workers);

    // Who follows a child, on the thread that runs it.
    struct Follower {
        std::function<bool()> stop;                 // true: the child is to be ended
        std::function<void(int percent)> progress;  // whole percents
        // True when the conversion's output lies there and nobody writes to it.
        std::function<bool()> outputIsThere;
    };

    // Converts one file in a child and waits for its end, or ends it when it takes too long or its follower
    // says so. One whose output is there already gets a moment to tell its result before that; one that dies
    // while it starts is started again.
    ChildEnd Run(const ChildArguments& arguments, const Follower& follower) const;

  private:
    ChildEnd RunOnce(const ChildArguments& arguments, const Follower& follower) const;

    const ConversionRequest& request_;
    unsigned atOnce_;           // children of the run and of those beside it
    std::uint64_t mostMemory_;  // of one child, bytes
    UniqueHandle nowhere_;      // the children's output: nobody may be reading what this process was given
};

}  // namespace morvex
