#include "convert/process_state.h"

#include <clocale>

namespace morvex {
namespace {

std::wstring CurrentFolder() {
    std::wstring folder(GetCurrentDirectoryW(0, nullptr), L'\0');
    folder.resize(GetCurrentDirectoryW(static_cast<DWORD>(folder.size()), folder.data()));
    return folder;
}

}  // namespace

ProcessState::ProcessState()
    : folder_(CurrentFolder()),
      locale_(std::setlocale(LC_ALL, nullptr)),
      priority_(GetPriorityClass(GetCurrentProcess())),
      errorMode_(GetErrorMode()),
      lastResort_(SetUnhandledExceptionFilter(nullptr)) {  // there is no other way to ask for it
    SetUnhandledExceptionFilter(lastResort_);
}

ProcessState::~ProcessState() {
    SetUnhandledExceptionFilter(lastResort_);
    SetErrorMode(errorMode_);
    if (GetPriorityClass(GetCurrentProcess()) != priority_) SetPriorityClass(GetCurrentProcess(), priority_);
    std::setlocale(LC_ALL, locale_.c_str());
    if (CurrentFolder() != folder_) SetCurrentDirectoryW(folder_.c_str());
}

}  // namespace morvex
