#include "engine/worker/report.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>

#include "engine/common/base64.h"
#include "engine/common/formats.h"
#include "engine/common/paths.h"
#include "engine/common/protocol.h"
#include "engine/common/text.h"
#include "engine/worker/temporary_folder.h"

namespace morvex {
namespace fs = std::filesystem;
namespace {

std::string Seconds(double seconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", seconds);
    return text;
}

std::string FileElement(const char* name, const fs::path& path, const Format& format) {
    std::error_code error;
    const auto size = fs::file_size(path, error);
    return std::string("  <") + name + " format=\"" + format.name + "\"" +
           (error ? "" : " bytes=\"" + std::to_string(size) + "\"") + ">" + XmlText(Utf8(path)) + "</" +
           name + ">\n";
}

std::string CountElement(const char* side, const JournalRecord& journal) {
    std::string attributes;
    for (const auto& count : journal.counts) {
        std::string name = count.what;
        std::ranges::replace(name, ' ', '-');
        if (count.side == side) attributes += " " + name + "=\"" + count.value + "\"";
    }
    return attributes.empty() ? "" : std::string("  <") + side + attributes + "/>\n";
}

std::string ReportText(const Request& request, const ReportFacts& facts) {
    const JournalRecord& journal = *facts.journal;
    const bool ok = facts.outcome.IsOk();
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<conversion result=\"" +
                       std::to_string(facts.outcome.result) + "\" status=\"" +
                       (!ok                        ? "failed"
                        : journal.warnings.empty() ? "ok"
                                                   : "ok with warnings") +
                       "\">\n";
    if (!ok) text += "  <reason>" + XmlText(facts.outcome.reason) + "</reason>\n";
    text += FileElement("input", request.input, *request.from);
    text += FileElement("output", request.output, *request.to);
    text += CountElement("announced", journal);
    text += CountElement("read", journal);
    if (ok) text += CountElement("written", journal);
    for (const std::string& loss : journal.losses) text += "  <missing>" + XmlText(loss) + "</missing>\n";
    for (const std::string& warning : journal.warnings) {
        text += "  <warning>" + XmlText(warning) + "</warning>\n";
    }
    if (facts.pictureWanted && !journal.picture.empty()) {
        text += "  <preview type=\"image/png\" encoding=\"base64\">" + journal.picture + "</preview>\n";
    }
    text += "  <time seconds=\"" + Seconds(facts.seconds) + "\"";
    for (std::size_t phase = 0; phase < kPhaseCount; ++phase) {
        text += std::string(" ") + PhaseName(static_cast<Phase>(phase)) + "=\"" +
                Seconds(journal.seconds[phase]) + "\"";
    }
    text += "/>\n  <memory peak=\"" + std::to_string(facts.peakMemory) + "\"/>\n</conversion>\n";
    return text;
}

// Under a temporary name, then renamed.
bool WriteWhole(const fs::path& path, const std::string& contents) {
    TemporaryFolder folder;
    if (folder.Make(path.parent_path())) return false;
    const fs::path temporary = folder.Path() / path.filename();
    std::ofstream file(temporary, std::ios::binary);
    file << contents;
    file.close();
    std::error_code error;
    if (file) fs::rename(temporary, path, error);
    return file && !error;
}

}  // namespace

fs::path ReportPath(const fs::path& output) {
    fs::path path = output;
    path += MORVEX_REPORT_SUFFIX;
    return path;
}

bool WriteReport(const Request& request, const ReportFacts& facts) {
    const fs::path path = ReportPath(request.output);
    if (WriteWhole(path, ReportText(request, facts))) return true;
    std::error_code ignored;
    fs::remove(path, ignored);
    return false;
}

bool WritePicture(const Request& request, const JournalRecord& journal) {
    std::error_code error;
    for (const fs::path& other : {request.input, request.output})
        if (fs::equivalent(request.picture, other, error)) return false;
    return !journal.picture.empty() && WriteWhole(request.picture, FromBase64(journal.picture));
}

}  // namespace morvex
