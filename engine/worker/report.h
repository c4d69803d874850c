// The report beside an output.
#pragma once

#include <cstdint>
#include <filesystem>

#include "engine/common/journal.h"
#include "engine/common/request.h"

namespace morvex {

struct ReportFacts {
    Outcome outcome;
    const JournalRecord* journal;
    double seconds;
    std::int64_t peakMemory;  // bytes, of the job process
    bool pictureWanted = false;
};

// The output's path with "-zel.xml" after it.
std::filesystem::path ReportPath(const std::filesystem::path& output);

// Written under a temporary name and renamed; well-formed whatever bytes the names hold. False when the
// folder refuses it: there is none then, not even that of an earlier conversion.
bool WriteReport(const Request& request, const ReportFacts& facts);

// Writes the picture that the request asks for, in the same way. False also when the job has drawn none, or
// when it would replace the input or the output.
bool WritePicture(const Request& request, const JournalRecord& journal);

}  // namespace morvex
