/* The report of a failure, where the worker has left none. */
#pragma once

#include <windows.h>

/* When the report beside the output was last written; 0 when there is none. */
ULONGLONG ReportTime(const WCHAR* outputPath);

/* Leaves a report with the reason (UTF-8) beside the output, unless one has been written since `before`, or
 * the configuration file wants none. */
void LeaveReport(const WCHAR* outputPath, ULONGLONG before, const WCHAR* configFile, int result,
                 const char* reason);
