// A process here starts from nothing, so each job has one of its own as ever; a thread watches it.
#include <fstream>
#include <iostream>
#include <mutex>
#include <optional>
#include <thread>

#include "engine/common/paths.h"
#include "engine/worker/conversion_command.h"
#include "engine/worker/jobs_command.h"
#include "engine/worker/standard_streams.h"

namespace morvex {
namespace {

class Jobs {
  public:
    explicit Jobs(const JobsCommand& command) : command_(command) {
        if (command.source == "-") return;
        file_.open(PathFromUtf8(command.source));
        if (!file_) throw UsageError("cannot read " + command.source);
    }

    // False when a job has failed, or the jobs could not all be read.
    bool Run() {
        {
            std::vector<std::jthread> others;
            while (std::ssize(others) + 1 < command_.atOnce) others.emplace_back([this] { Work(); });
            Work();
        }
        return allConverted_ && !lines_.bad();
    }

  private:
    struct Line {
        std::string text;
        std::size_t number;
    };

    // The next one that holds something.
    std::optional<Line> Take() {
        const std::lock_guard taking(reading_);
        for (std::string text; std::getline(lines_, text);) {
            ++number_;
            if (text.find_first_not_of(" \t\r") != text.npos) return Line{std::move(text), number_};
        }
        return std::nullopt;
    }

    void Work() {
        while (const std::optional<Line> line = Take()) {
            const ConversionEnd end = ConvertLine(command_, line->text, false);
            const std::lock_guard answering(answers_);
            allConverted_ &= end.outcome.IsOk();
            WriteToCaller(AnswerTo(line->number, end.outcome));
        }
    }

    const JobsCommand& command_;
    std::ifstream file_;
    std::istream& lines_ = command_.source == "-" ? std::cin : file_;
    std::mutex reading_, answers_;
    std::size_t number_ = 0;
    bool allConverted_ = true;
};

}  // namespace

int RunJobs(const JobsCommand& command) {
    return Jobs(command).Run() ? ZEL_OK : ZEL_FAILED;
}

}  // namespace morvex
