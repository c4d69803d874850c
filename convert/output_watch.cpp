#include "convert/output_watch.h"

#include <windows.h>

#include <utility>

#include "convert/conversion_report.h"
#include "win/paths.h"

namespace morvex {

OutputWatch::OutputWatch(std::wstring output)
    : output_(std::move(output)),
      report_(output_ + kReportSuffix),
      before_(StampOf(output_)),
      reportBefore_(StampOf(report_)) {}

bool OutputWatch::IsNew() const {
    const FileStamp now = StampOf(output_);
    return now && now != before_;
}

bool OutputWatch::OutputIsThere() const {
    return IsNew() && !IsBeingWritten(output_);
}

void OutputWatch::RemoveHalfWritten() const {
    if (IsNew()) DeleteFileW(WithLongPrefix(output_).c_str());
    if (ReadReason().empty()) DeleteFileW(WithLongPrefix(report_).c_str());
}

void OutputWatch::RemoveStaleReport() const {
    if (reportBefore_ && StampOf(report_) == reportBefore_) DeleteFileW(WithLongPrefix(report_).c_str());
}

std::wstring OutputWatch::ReadReason() const {
    const FileStamp now = StampOf(report_);
    if (!now || now == reportBefore_) return {};
    const auto report = ReadConversionReport(output_);
    return report ? report->reason : std::wstring();
}

}  // namespace morvex
