// The job process's own side: it is this program, started with an option that only the program itself uses.
#pragma once

namespace morvex {

constexpr char kJobOption[] = "--be-the-job";

// Takes the order from standard input, converts, tells its journal on standard output, and ends the process.
[[noreturn]] void BeTheJob();

}  // namespace morvex
