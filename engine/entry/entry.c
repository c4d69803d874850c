/* The entry points of the conversion library. Thin: they hand the job to a worker process and pass on what it
 * says, so nothing that happens in a conversion can harm the process of the caller. */
#include <windows.h>

#include <stdlib.h>
#include <string.h>

#include "engine/common/protocol.h"
#include "engine/common/result.h"
#include "engine/entry/platform.h"
#include "engine/entry/report.h"

enum { kVersion = 244, kRelease = 20240930, kConvertingPhase = 1 };

/* Called on the thread that called _zelConvert. */
typedef void(__cdecl* ProgressCallback)(const int* phase, const int* percent);

struct Text {
    char* bytes;
    size_t size, room;
    int failed;
};

static void Append(struct Text* text, const char* bytes, size_t size) {
    if (text->failed) return;
    if (text->size + size > text->room) {
        const size_t room = (text->size + size) * 2;
        char* const larger = realloc(text->bytes, room);
        if (larger == NULL) {
            text->failed = 1;
            return;
        }
        text->bytes = larger;
        text->room = room;
    }
    memcpy(text->bytes + text->size, bytes, size);
    text->size += size;
}

/* "key=value" with its NUL; the keys of the protocol end in "=". */
static void AppendField(struct Text* job, const char* key, const char* value) {
    Append(job, key, strlen(key));
    Append(job, value, strlen(value) + 1);
}

static void AppendNumber(struct Text* job, const char* key, int number) {
    char digits[16], *start = digits + sizeof digits;
    unsigned left = number < 0 ? 0u - (unsigned)number : (unsigned)number;
    *--start = '\0';
    do {
        *--start = (char)('0' + left % 10);
    } while ((left /= 10) != 0);
    if (number < 0) *--start = '-';
    AppendField(job, key, start);
}

/* Locks of other programs and the system's attributes are known to this side only: the worker of a Wine
 * process does not see them. */
static int CheckLocks(const WCHAR* inputPath, const WCHAR* outputPath) {
    const DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    HANDLE file = CreateFileW(inputPath, GENERIC_READ, share, NULL, OPEN_EXISTING, 0, NULL);
    if (file != INVALID_HANDLE_VALUE) {
        CloseHandle(file);
    } else {
        const DWORD error = GetLastError();
        const BOOL missing = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ||
                             error == ERROR_INVALID_NAME || error == ERROR_BAD_NETPATH;
        return missing ? ZEL_NO_FILE : ZEL_CANNOT_OPEN_INPUT;
    }
    const DWORD attributes = GetFileAttributesW(outputPath);
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY))
        return ZEL_CANNOT_WRITE;
    file = CreateFileW(outputPath, GENERIC_WRITE | DELETE, share, NULL, OPEN_EXISTING, 0, NULL);
    if (file != INVALID_HANDLE_VALUE) {
        CloseHandle(file);
    } else if (GetLastError() != ERROR_FILE_NOT_FOUND) {
        return ZEL_CANNOT_WRITE;
    }
    return ZEL_OK;
}

/* The job in the form of the protocol; a result other than ZEL_OK when a path has no native form. */
static int ComposeJob(struct Text* job, const WCHAR* inputPath, const WCHAR* outputPath,
                      const WCHAR* configFile) {
    char* const input = NativePath(inputPath);
    char* const output = NativePath(outputPath);
    char* const config = configFile != NULL && *configFile != 0 ? NativePath(configFile) : NULL;
    int result = ZEL_OK;
    if (input == NULL) {
        result = ZEL_CANNOT_OPEN_INPUT;
    } else if (output == NULL) {
        result = ZEL_CANNOT_WRITE;
    } else {
        AppendField(job, MORVEX_JOB_INPUT, input);
        AppendField(job, MORVEX_JOB_OUTPUT, output);
        if (config != NULL) AppendField(job, MORVEX_JOB_CONFIG, config);
    }
    free(input);
    free(output);
    free(config);
    return result;
}

enum { kLongestLine = 4096 }; /* the rest of a longer one is only the reason's text */

struct Answer {
    int result;
    char reason[kLongestLine]; /* of a failure */
};

static void Fail(struct Answer* answer, int result, const char* reason) {
    answer->result = result;
    lstrcpynA(answer->reason, reason, sizeof answer->reason);
}

/* Takes one line of the worker. Nonzero when it was the result. */
static int TakeLine(const char* line, ProgressCallback progress, struct Answer* answer) {
    if (line[0] == MORVEX_LINE_RESULT) {
        char* reason;
        const int result = (int)strtol(line + 1, &reason, 10);
        Fail(answer, result, reason + strspn(reason, " "));
        return 1;
    }
    if (line[0] == MORVEX_LINE_PROGRESS && progress != NULL) {
        const int phase = kConvertingPhase, percent = atoi(line + 1);
        progress(&phase, &percent);
    }
    return 0;
}

/* Nonzero when the worker has told its result. */
static int FollowWorker(struct Worker* worker, ProgressCallback progress, struct Answer* answer) {
    char line[kLongestLine];
    size_t length = 0;
    char bytes[4096];
    for (;;) {
        const size_t got = ReceiveFromWorker(worker, bytes, sizeof bytes);
        if (got == 0) return 0;
        for (size_t at = 0; at < got; ++at) {
            if (bytes[at] != '\n') {
                if (length + 1 < sizeof line) line[length++] = bytes[at];
                continue;
            }
            line[length] = '\0';
            length = 0;
            if (TakeLine(line, progress, answer)) return 1;
        }
    }
}

/* A worker of the server's, or else one of our own; patiently, while the system has no room for a process. */
static struct Worker* FindWorker(const char* server, int showMessages) {
    enum { kTries = 50, kBetweenTries = 100 /* milliseconds */ };
    struct Worker* worker = server != NULL ? ReachWorker(server) : NULL;
    for (int tries = 0; worker == NULL && tries < kTries; ++tries) {
        int mayPass = 0;
        if (tries > 0) Sleep(kBetweenTries);
        worker = StartWorker(showMessages, &mayPass);
        if (!mayPass) break;
    }
    return worker;
}

static void RunWorker(const struct Text* job, const char* server, int showMessages, ProgressCallback progress,
                      struct Answer* answer) {
    if (job->failed) {
        Fail(answer, ZEL_FAILED, "There is no memory left");
        return;
    }
    struct Worker* const worker = FindWorker(server, showMessages);
    if (worker == NULL) {
        Fail(answer, ZEL_FAILED, "The engine's worker " MORVEX_WORKER_NAME " could not be started");
        return;
    }
    if (!SendToWorker(worker, job->bytes, job->size) || !FollowWorker(worker, progress, answer))
        Fail(answer, ZEL_FAILED, "The engine's worker " MORVEX_WORKER_NAME " ended without a result");
    CloseWorker(worker);
}

static int IsSetTo1(const char* variable) {
    char value[4];
    return GetEnvironmentVariableA(variable, value, sizeof value) == 1 && value[0] == '1';
}

/* Conversions that run at the same time. A process that converts one file of several is told nothing of the
 * others in the call; whoever runs them side by side says their number in the environment. */
static int ConversionsAtOnce(int parallel) {
    char value[12] = "";
    const DWORD length = GetEnvironmentVariableA("MORVEX_SIDE_BY_SIDE", value, sizeof value);
    if (length > 0 && length < sizeof value) return atoi(value);
    if (!parallel) return 1;
    SYSTEM_INFO machine;
    GetSystemInfo(&machine);
    return (int)machine.dwNumberOfProcessors;
}

/* The most memory that whoever runs this process allows it; 0 when nothing is said. */
static int MegabytesAllowed(void) {
    char value[12] = "";
    const DWORD length = GetEnvironmentVariableA("MORVEX_MEGABYTES", value, sizeof value);
    return length > 0 && length < sizeof value ? atoi(value) : 0;
}

/* The server that the other conversions of the run use; NULL for one alone, or one whose messages are wanted.
 */
static char* ServerOfRun(int runSize, int traceLevel) {
    char run[64];
    const DWORD length = GetEnvironmentVariableA("MORVEX_RUN", run, sizeof run);
    const int named = length > 0 && length < sizeof run;
    const int several = runSize > 1 || runSize < -1; /* negative for some of them */
    return traceLevel >= 0 && (named || several) ? ServerName(named ? run : NULL) : NULL;
}

int __cdecl _zelConvert(int inputFormat, int outputFormat, const WCHAR* inputPath, const WCHAR* outputPath,
                        const WCHAR* configFile, const WCHAR* schemaFolder, ProgressCallback progress,
                        int parallel, void* reserved, int option, int traceLevel, int reserved2,
                        int runSize) {
    struct Text job = {NULL, 0, 0, 0};
    struct Answer answer = {ZEL_OK, ""};
    (void)schemaFolder, (void)reserved, (void)option, (void)reserved2; /* of no use to this engine */
    if (inputPath == NULL || outputPath == NULL || *inputPath == 0 || *outputPath == 0) return ZEL_FAILED;
    const int refused = CheckLocks(inputPath, outputPath);
    if (refused == ZEL_NO_FILE) return refused;
    const ULONGLONG before = ReportTime(outputPath);
    answer.result = ComposeJob(&job, inputPath, outputPath, configFile);
    if (answer.result == ZEL_OK) {
        AppendNumber(&job, MORVEX_JOB_INPUT_FORMAT, inputFormat);
        AppendNumber(&job, MORVEX_JOB_OUTPUT_FORMAT, outputFormat);
        AppendNumber(&job, MORVEX_JOB_PARALLEL, ConversionsAtOnce(parallel));
        AppendNumber(&job, MORVEX_JOB_PICTURE, IsSetTo1("MORVEX_PREVIEW"));
        AppendNumber(&job, MORVEX_JOB_TRACE, traceLevel);
        AppendNumber(&job, MORVEX_JOB_REFUSED, refused);
        AppendNumber(&job, MORVEX_JOB_MEGABYTES, MegabytesAllowed());
        char* const server = ServerOfRun(runSize, traceLevel);
        if (server != NULL) AppendField(&job, MORVEX_JOB_RUN, server);
        Append(&job, "", 1);
        RunWorker(&job, server, traceLevel < 0, progress, &answer);
        free(server);
    } else {
        Fail(&answer, answer.result, "The path has no equivalent on this system");
    }
    free(job.bytes);
    if (answer.result != ZEL_OK && answer.result != ZEL_NO_FILE)
        LeaveReport(outputPath, before, configFile, answer.result, answer.reason);
    return answer.result;
}

int __cdecl _zel_Execute(int inputFormat, int outputFormat, const WCHAR* inputPath, const WCHAR* outputPath,
                         const WCHAR* configFile, const WCHAR* schemaFolder, ProgressCallback progress,
                         int parallel, void* reserved, int option, int traceLevel, int reserved2,
                         int runSize) {
    return _zelConvert(inputFormat, outputFormat, inputPath, outputPath, configFile, schemaFolder, progress,
                       parallel, reserved, option, traceLevel, reserved2, runSize);
}

int __cdecl _zelGetVersion(void) {
    return kVersion;
}

int __cdecl _zelGetRelease(void) {
    return kRelease;
}
