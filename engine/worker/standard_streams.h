// Standard input and output of the worker as the pipes to its caller.
#pragma once

#include <cstddef>
#include <string_view>

namespace morvex {

// First thing in the process: files opened later must not land on the standard streams of a caller that
// closed them, and a caller that is gone must be an error of the write, not a signal.
void PrepareStandardStreams();

// Waits for bytes from the caller; how many came, 0 at the end.
std::size_t ReadFromCaller(char* bytes, std::size_t size);

// A caller that is gone is not an error here: it is noticed by its pipe.
void WriteToCaller(std::string_view bytes);

}  // namespace morvex
