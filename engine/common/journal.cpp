#include "engine/common/journal.h"

#include <cerrno>
#include <charconv>
#include <chrono>
#include <unistd.h>

namespace morvex {
namespace {

constexpr char kPhaseLine = 'S', kProgressLine = 'P', kCountLine = 'C', kWarningLine = 'W', kFinishLine = 'R';
constexpr std::size_t kLongestText = 2000;

double Now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

int NumberAt(std::string_view& text) {
    int number = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<std::size_t>(stop - text.data()));
    if (text.starts_with(' ')) text.remove_prefix(1);
    return number;
}

}  // namespace

const char* PhaseName(Phase phase) {
    constexpr const char* kNames[] = {"read", "prepare", "write", "publish"};
    return kNames[static_cast<std::size_t>(phase)];
}

void Journal::Start(Phase phase) {
    Send(kPhaseLine, std::to_string(static_cast<int>(phase)));
}

void Journal::Progress(int percent) {
    if (percent <= percent_ || percent > 100) return;
    percent_ = percent;
    Send(kProgressLine, std::to_string(percent));
}

void Journal::Count(std::string_view side, std::string_view what, std::int64_t number) {
    Send(kCountLine, std::string(side) + ' ' + std::string(what) + ' ' + std::to_string(number));
}

void Journal::Warn(std::string_view text) {
    Send(kWarningLine, text.substr(0, kLongestText));
}

void Journal::Finish(const Outcome& outcome) {
    Send(kFinishLine, std::to_string(outcome.result) + ' ' + outcome.reason.substr(0, kLongestText));
}

// One write a line: lines below PIPE_BUF bytes never mix.
void Journal::Send(char kind, std::string_view text) {
    std::string line{kind};
    line += text;
    for (char& c : line) c = c == '\n' ? ' ' : c;
    line += '\n';
    while (write(pipe_, line.data(), line.size()) < 0 && errno == EINTR) {
    }
}

void JournalRecord::Enter(Phase next) {
    const double now = Now();
    if (since_ > 0) seconds[static_cast<std::size_t>(phase)] += now - since_;
    since_ = now;
    phase = next;
}

void JournalRecord::TakeLine(std::string_view line) {
    if (line.empty()) return;
    const char kind = line.front();
    line.remove_prefix(1);
    switch (kind) {
        case kPhaseLine: {
            const int number = NumberAt(line);
            if (number >= 0 && number < static_cast<int>(kPhaseCount)) Enter(static_cast<Phase>(number));
            break;
        }
        case kProgressLine:
            percent = NumberAt(line);
            break;
        case kCountLine: {
            const auto side = line.substr(0, line.find(' '));
            line.remove_prefix(std::min(line.size(), side.size() + 1));
            const auto last = line.rfind(' ');
            if (last == std::string_view::npos) break;
            std::int64_t number = 0;
            std::from_chars(line.data() + last + 1, line.data() + line.size(), number);
            counts.push_back({std::string(side), std::string(line.substr(0, last)), number});
            break;
        }
        case kWarningLine:
            warnings.emplace_back(line);
            break;
        case kFinishLine:
            finished = true;
            outcome.result = NumberAt(line);
            outcome.reason = line;
            break;
        default:
            break;
    }
}

}  // namespace morvex
