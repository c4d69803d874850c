#include "engine/common/journal.h"

#include <algorithm>
#include <charconv>
#include <chrono>

#include "engine/common/paths.h"

namespace morvex {
namespace {

constexpr char kPhaseLine = 'S', kProgressLine = 'P', kCountLine = 'C', kLossLine = 'L', kWarningLine = 'W',
               kPictureLine = 'I', kFinishLine = 'R', kFileLine = 'F';
constexpr char kBeforeValue = '\t';  // names and values may hold blanks
constexpr std::size_t kLongestText = 2000, kMostTexts = 1000;

double Now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// An input can give rise to any number of them.
void Keep(std::vector<std::string>& texts, std::string_view text) {
    if (texts.size() < kMostTexts)
        texts.emplace_back(text);
    else if (texts.size() == kMostTexts)
        texts.emplace_back("more than are listed here");
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
    Measure(side, what, std::to_string(number));
}

void Journal::Measure(std::string_view side, std::string_view what, std::string_view numbers) {
    Send(kCountLine, std::string(side) + ' ' + std::string(what) + kBeforeValue + std::string(numbers));
}

void Journal::Account(std::string_view what, std::int64_t announced, std::int64_t missing) {
    if (announced > 0) Count("announced", what, announced);
    if (missing <= 0) return;
    Lose(std::to_string(missing) + " of " + std::to_string(announced) + ' ' + std::string(what));
}

void Journal::Lose(std::string_view what) {
    const std::string_view text = what.substr(0, kLongestText);
    if (losses_.size() < kLongestText) losses_.append(losses_.empty() ? "" : ", ").append(text);
    Send(kLossLine, text);
}

void Journal::Warn(std::string_view text) {
    Send(kWarningLine, text.substr(0, kLongestText));
}

void Journal::Uses(std::string_view path) {
    Send(kFileLine, path);
}

void Journal::Picture(std::string_view base64) {
    Send(kPictureLine, base64);
}

void Journal::Finish(const Outcome& outcome) {
    Send(kFinishLine, std::to_string(outcome.result) + ' ' + outcome.reason.substr(0, kLongestText));
}

void Journal::Send(char kind, std::string_view text) {
    std::string line{kind};
    line += text;
    for (char& c : line) c = c == '\n' ? ' ' : c;
    line += '\n';
    send_(line);
}

void JournalRecord::Enter(Phase next) {
    const double now = Now();
    if (since_ > 0) seconds[static_cast<std::size_t>(phase)] += now - since_;
    since_ = now;
    phase = next;
}

void JournalRecord::Take(std::string_view bytes) {
    pending_ += bytes;
    std::size_t start = 0;
    for (std::size_t end; (end = pending_.find('\n', start)) != std::string::npos; start = end + 1) {
        TakeLine(std::string_view(pending_).substr(start, end - start));
    }
    pending_.erase(0, start);
}

// "side what number"
void JournalRecord::TakeCount(std::string_view text) {
    const std::size_t what = text.find(' '), value = text.find(kBeforeValue);
    if (what == std::string_view::npos || value == std::string_view::npos || value < what) return;
    counts.push_back({std::string(text.substr(0, what)), std::string(text.substr(what + 1, value - what - 1)),
                      std::string(text.substr(value + 1))});
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
        case kCountLine:
            TakeCount(line);
            break;
        case kLossLine:
            Keep(losses, line);
            break;
        case kWarningLine:
            Keep(warnings, line);
            break;
        case kFileLine:
            sideInputs.push_back(PathFromUtf8(line));
            break;
        case kPictureLine:
            picture = line;
            break;
        case kFinishLine:
            if (finished) break;  // the first one counts
            finished = true;
            outcome.result = NumberAt(line);
            outcome.reason = line;
            break;
        default:
            break;
    }
}

}  // namespace morvex
