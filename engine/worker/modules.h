// The shared objects of the engine, loaded when a job needs them: linking every library of every format to
// each worker costs more than a small conversion does.
#pragma once

namespace morvex {

// The function of that name in the module, which lies in the folder "engine" beside the worker. Throws
// std::runtime_error when either is missing.
void* FindFunction(const char* module, const char* function);

}  // namespace morvex
