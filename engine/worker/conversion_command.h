// A conversion as the words of a command line ask for it.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "engine/common/request.h"
#include "engine/worker/supervisor.h"

namespace morvex {

struct ConversionCommand {
    Request request;
    SupervisorOptions options;
    std::string input;  // as it was written
};

// What the words ask for makes no sense; the text says why.
struct UsageError : std::runtime_error {
    using runtime_error::runtime_error;
};
constexpr int kUsageError = 64;  // the exit code

// Options, an input and an output. Relative paths are those of the working folder. Throws UsageError.
ConversionCommand ParseConversion(const std::vector<std::string>& words);

double PositiveNumber(const std::string& text);  // throws UsageError

// A line of the help, or several; those after the first are indented like it.
void PrintOption(const std::string& name, std::string_view help);
// The help on the options that ParseConversion knows.
void PrintConversionOptions();

}  // namespace morvex
