// The conversion proper, done by the core module in the job process.
#pragma once

#include <cstdint>
#include <filesystem>

#include "engine/common/journal.h"
#include "engine/common/outcome.h"
#include "engine/common/request.h"
#include "engine/common/settings.h"

namespace morvex {

// The function of that name in a module, which is loaded when it is not yet. Throws std::runtime_error when
// either is missing. May be called by any thread.
using LoadFunction = void*(const char* module, const char* function);

// What an input of so many bytes may take of memory for data. Small files that claim to hold a great deal end
// here.
constexpr std::uint64_t kMemoryPerByte = 200;
constexpr std::uint64_t MemoryWorth(std::uint64_t inputSize) {
    constexpr std::uint64_t kLeast = 768u << 20;
    return kLeast + kMemoryPerByte * inputSize;
}

struct Job {
    const Request& request;
    const Settings& settings;
    const std::filesystem::path& target;  // the file to write, in the temporary folder
    Journal& journal;
    LoadFunction* load;
};

// Reads the request's input, prepares the model and writes the target with its side files. May throw, crash,
// or take the process with it.
using RunJobFunction = Outcome(const Job& job);

}  // namespace morvex
