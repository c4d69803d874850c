#include "engine/worker/serve.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <optional>
#include <string>

#include "engine/common/formats.h"
#include "engine/common/protocol.h"
#include "engine/common/settings.h"
#include "engine/worker/full_path.h"
#include "engine/worker/run_server.h"
#include "engine/worker/standard_streams.h"
#include "engine/worker/supervisor.h"

namespace morvex {
namespace {

constexpr std::size_t kLongestJob = 1u << 20;

// The texts of the job, each with its NUL; nothing when the caller went away before the end.
std::optional<std::string> ReceiveJob() {
    std::string job;
    while (job.size() < kLongestJob) {
        char bytes[4096];
        const std::size_t got = ReadFromCaller(bytes, sizeof bytes);
        if (got == 0) return std::nullopt;
        job.append(bytes, got);
        if (job == std::string(1, '\0') || job.ends_with(std::string(2, '\0'))) return job;
    }
    return std::nullopt;
}

std::string Field(const std::string& job, std::string_view key) {
    for (std::size_t at = 0; at < job.size();) {
        const std::string_view text(job.c_str() + at);
        if (text.starts_with(key)) return std::string(text.substr(key.size()));
        at += text.size() + 1;
    }
    return {};
}

void Answer(char kind, const std::string& text) {
    std::string line = kind + (" " + text);
    for (char& c : line) c = c == '\n' ? ' ' : c;
    line += '\n';
    WriteToCaller(line);
}

double SecondsFromEnvironment() {
    const char* const text = std::getenv("MORVEX_ENGINE_SECONDS");
    return text == nullptr ? 0 : std::atof(text);
}

ConversionEnd Convert(const std::string& job) {
    Request request;
    request.input = FullPath(Field(job, MORVEX_JOB_INPUT));
    request.output = FullPath(Field(job, MORVEX_JOB_OUTPUT));
    request.config = FullPath(Field(job, MORVEX_JOB_CONFIG));
    const int atOnce = std::max(1, std::atoi(Field(job, MORVEX_JOB_PARALLEL).c_str()));
    request.parallel = atOnce > 1;
    if (Field(job, MORVEX_JOB_PICTURE) == "1") request.settings.emplace_back(kPictureSetting);
    request.trace = std::atoi(Field(job, MORVEX_JOB_TRACE).c_str()) < 0;
    request.refused = std::atoi(Field(job, MORVEX_JOB_REFUSED).c_str());
    request.from = FindInputFormat(std::atoi(Field(job, MORVEX_JOB_INPUT_FORMAT).c_str()), request.input);
    request.to = FindOutputFormat(std::atoi(Field(job, MORVEX_JOB_OUTPUT_FORMAT).c_str()), request.output);
    const auto fail = [](int result, const char* why) { return ConversionEnd{Outcome::Fail(result, why)}; };
    if (request.input.empty() || request.output.empty())
        return fail(ZEL_FAILED, "The request names no files");
    if (request.from == nullptr) return fail(ZEL_UNKNOWN_TYPE, "The input format is not supported");
    if (request.to == nullptr) return fail(ZEL_UNKNOWN_TYPE, "The output format is not supported");

    SupervisorOptions options;
    options.watchCaller = true;
    options.atOnce = static_cast<unsigned>(atOnce);
    options.memoryAtMost = std::strtoull(Field(job, MORVEX_JOB_MEGABYTES).c_str(), nullptr, 10) << 20;
    options.time.secondsAllowed = SecondsFromEnvironment();
    options.onProgress = [](int percent) { Answer(MORVEX_LINE_PROGRESS, std::to_string(percent)); };
    try {
        return {Supervise(request, options), request.from, request.to};
    } catch (const std::exception& error) {
        return fail(ZEL_FAILED, error.what());  // the caller waits for an answer, whatever comes
    }
}

void AnswerEnd(const Outcome& outcome) {
    Answer(MORVEX_LINE_RESULT, std::to_string(outcome.result) + ' ' + outcome.reason);
}

}  // namespace

int Serve() {
    const std::optional<std::string> job = ReceiveJob();
    if (!job) return ZEL_FAILED;
    const RunServer server(Field(*job, MORVEX_JOB_RUN));
    const ConversionEnd end = Convert(*job);
    server.Learn(end);
    AnswerEnd(end.outcome);
    return ZEL_OK;
}

ConversionEnd ServeWarm() {
    Answer(MORVEX_LINE_READY, "");
    const std::optional<std::string> job = ReceiveJob();
    if (!job) return {Outcome::Fail(ZEL_FAILED, "The calling program has ended")};
    ConversionEnd end = Convert(*job);
    AnswerEnd(end.outcome);
    return end;
}

}  // namespace morvex
