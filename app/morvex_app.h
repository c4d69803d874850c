#pragma once

#include <string>
#include <vector>

#include "core/context.h"

namespace morvex {

// The application object: one per process, on the main thread.
class CmorvexApp {
  public:
    CmorvexApp();

    // Starts up and takes one of two roads: without arguments the main window, shown until it closes; with
    // any argument one conversion, after which the process ends with the library's result as its exit code.
    // Returns false in every case in which it returns: there is no message loop to enter.
    bool InitInstance();

    // Says why the program ends: in a box where there was a window, else on standard error.
    static void ReportFailure(const char* what);

  private:
    [[noreturn]] void RunChildRoad(const std::vector<std::wstring>& arguments);

    AppContext context_;
};

}  // namespace morvex
