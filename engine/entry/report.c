#include "engine/entry/report.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "engine/common/protocol.h"
#include "engine/entry/platform.h"

/* To be freed. */
static WCHAR* ReportPath(const WCHAR* outputPath) {
    static const WCHAR kSuffix[] = WIDE(MORVEX_REPORT_SUFFIX);
    const size_t length = (size_t)lstrlenW(outputPath);
    WCHAR* const path = malloc(length * sizeof *path + sizeof kSuffix);
    if (path == NULL) return NULL;
    memcpy(path, outputPath, length * sizeof *path);
    memcpy(path + length, kSuffix, sizeof kSuffix);
    return path;
}

ULONGLONG ReportTime(const WCHAR* outputPath) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    WCHAR* const path = ReportPath(outputPath);
    const BOOL found = path != NULL && GetFileAttributesExW(path, GetFileExInfoStandard, &data);
    free(path);
    return found ? (ULONGLONG)data.ftLastWriteTime.dwHighDateTime << 32 | data.ftLastWriteTime.dwLowDateTime
                 : 0;
}

static void Write(HANDLE file, const char* text, size_t size) {
    DWORD written = 0;
    WriteFile(file, text, (DWORD)size, &written, NULL);
}

static void WriteEscaped(HANDLE file, const char* text) {
    while (*text != '\0') {
        const size_t plain = strcspn(text, "&<>");
        Write(file, text, plain);
        text += plain;
        if (*text == '\0') return;
        const char* const escape = *text == '&' ? "&amp;" : *text == '<' ? "&lt;" : "&gt;";
        Write(file, escape, strlen(escape));
        ++text;
    }
}

void LeaveReport(const WCHAR* outputPath, ULONGLONG before, const WCHAR* configFile, int result,
                 const char* reason) {
    const ULONGLONG now = ReportTime(outputPath);
    if (now != 0 && now != before) return;
    const BOOL configured = configFile != NULL && *configFile != 0;
    if (configured && GetPrivateProfileIntW(L"FILE CONF", L"WRITE_LOG_FILE", 1, configFile) != 1) return;
    WCHAR* const path = ReportPath(outputPath);
    if (path == NULL) return;
    const HANDLE file = CreateFileW(path, GENERIC_WRITE, 0, NULL, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, NULL);
    free(path);
    if (file == INVALID_HANDLE_VALUE) return;
    char start[128];
    const int size = snprintf(
        start, sizeof start,
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<conversion result=\"%d\" status=\"failed\">\n", result);
    static const char kReason[] = "  <reason>", kEnd[] = "</reason>\n</conversion>\n";
    Write(file, start, (size_t)size);
    Write(file, kReason, sizeof kReason - 1);
    WriteEscaped(file, reason);
    Write(file, kEnd, sizeof kEnd - 1);
    CloseHandle(file);
}
