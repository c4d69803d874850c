#include "convert/output_watch.h"

#include <windows.h>

#include <utility>

#include "convert/conversion_report.h"
#include "win/paths.h"

namespace morvex {

OutputWatch::OutputWatch(std::wstring output)
    : output_(std::move(output)),
      before_(StampOf(output_)),
      reportBefore_(StampOf(output_ + kReportSuffix)) {}

void OutputWatch::RemoveHalfWritten() const {
    const FileStamp now = StampOf(output_);
    if (now && now != before_) DeleteFileW(WithLongPrefix(output_).c_str());
}

void OutputWatch::RemoveStaleReport() const {
    const std::wstring report = output_ + kReportSuffix;
    if (reportBefore_ && StampOf(report) == reportBefore_) DeleteFileW(WithLongPrefix(report).c_str());
}

std::wstring OutputWatch::ReadReason() const {
    const FileStamp now = StampOf(output_ + kReportSuffix);
    if (!now || now == reportBefore_) return {};
    const auto report = ReadConversionReport(output_);
    return report ? report->reason : std::wstring();
}

}  // namespace morvex
