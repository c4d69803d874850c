#pragma once

#include <optional>
#include <string>

#include "win/unique_handle.h"

// How a child tells its run what became of its conversion. Its exit code alone is not believed: several ways
// to die leave 0.
namespace morvex {

// Names the channel in a child's environment. Where it is set, the process is a child of a run, and its
// arguments are those of ChildArguments, to be taken as they stand.
inline constexpr wchar_t kResultChannelVariable[] = L"MORVEX_RESULT_CHANNEL";
bool IsChildOfRun();

using UniqueView = UniqueResource<void*, ::UnmapViewOfFile>;

struct ChildReport {
    int result = 0;
    bool abandoned = false;  // the library is not usable
    bool crashed = false;    // the library faulted; the child survived it
    std::wstring message;    // what to tell the user then; cut at about 1,000 characters
};

// The run's side: one channel a child.
class ResultChannel {
  public:
    ResultChannel();

    // For the child to inherit; null when the system has no memory for it.
    HANDLE Handle() const { return section_.get(); }
    // The value of the child's variable.
    std::wstring Name() const;
    // What the child has told by now; nothing when it has not come to its end.
    std::optional<ChildReport> Read() const;
    // The child has come to its conversion: from here on it may have written something.
    bool HasBegun() const;
    // How far the child's conversion is, 0 to 100.
    int Percent() const;

  private:
    UniqueHandle section_;
    UniqueView view_;
};

// The child's side. Does nothing in a process that is no run's child. Made before the library is called: one
// that closes handles which are not its own does not take it away.
class ChannelToRun {
  public:
    ChannelToRun();

    // Before the library is called.
    void ShowBegun() const;
    void ShowPercent(int percent) const;
    // Once, when the conversion is over.
    void Report(const ChildReport& report) const;

  private:
    UniqueView view_;
};

}  // namespace morvex
