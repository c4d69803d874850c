#include "convert/crash_log.h"

#include "core/text_catalogue.h"
#include "win/text_file.h"

namespace morvex {

// Readers of these logs know the mangled accents: "\u00EF\u00BF\u00BD" stands for a letter that has one.

void CrashLog::RunStarts(size_t files) const {
    if (path_.empty()) return;
    WriteTextFile(
        path_,
        Format(L"Nombre de fichiers \u00EF\u00BF\u00BD convertir: %d", static_cast<int>(files)) + L"\n\n");
}

void CrashLog::FileStarts(const std::wstring& input) {
    Append(input + L"\nD\u00EF\u00BF\u00BDbut de traitement...");
}

void CrashLog::FileCrashed() {
    Append(L"Crash!!!\n");
}

void CrashLog::RunEnds() {
    Append(L"\nFin des conversions");
}

void CrashLog::Append(const std::wstring& text) {
    if (path_.empty()) return;
    const std::lock_guard lock(mutex_);
    AppendTextFile(path_, text);
}

}  // namespace morvex
