/* The Windows home: the worker is a Windows process, in a job that dies with the last handle to it. */
#include <stdlib.h>
#include <string.h>

#include "engine/common/protocol.h"
#include "engine/entry/platform.h"

struct Worker {
    HANDLE process, job, toWorker, fromWorker;
};

char* NativePath(const WCHAR* path) {
    const int size = WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, path, -1, NULL, 0, NULL, NULL);
    char* const utf8 = size > 0 ? malloc((size_t)size) : NULL;
    if (utf8 != NULL) WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, path, -1, utf8, size, NULL, NULL);
    return utf8;
}

char* ServerName(const char* run) {
    (void)run;
    return NULL;
}

struct Worker* ReachWorker(const char* server) {
    (void)server;
    return NULL;
}

/* The worker's path, to be freed. */
static WCHAR* WorkerPath(void) {
    static const WCHAR kName[] = WIDE(MORVEX_WORKER_NAME) L".exe";
    enum { kLongestPath = 32768 };
    HMODULE self = NULL;
    WCHAR* const path = malloc((kLongestPath + sizeof kName / sizeof *kName) * sizeof *path);
    const DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (path == NULL) return NULL;
    const DWORD length = GetModuleHandleExW(flags, (const WCHAR*)(const void*)kName, &self)
                             ? GetModuleFileNameW(self, path, kLongestPath)
                             : 0;
    WCHAR* name = path + length;
    while (name > path && name[-1] != L'\\') --name;
    memcpy(name, kName, sizeof kName);
    return path;
}

static void CloseAll(HANDLE* handles, size_t count) {
    for (size_t at = 0; at < count; ++at) {
        if (handles[at] != NULL) CloseHandle(handles[at]);
    }
}

/* A pipe of which the worker inherits one end. */
static int MakePipe(HANDLE* readEnd, HANDLE* writeEnd, HANDLE* ours) {
    if (!CreatePipe(readEnd, writeEnd, NULL, 0)) return 0;
    HANDLE* const theirs = ours == readEnd ? writeEnd : readEnd;
    return SetHandleInformation(*theirs, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
}

static HANDLE MakeJob(void) {
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits;
    HANDLE const job = CreateJobObjectW(NULL, NULL);
    memset(&limits, 0, sizeof limits);
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    if (job != NULL) SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits);
    return job;
}

/* NULL when there is none. */
static HANDLE InheritableStandardError(void) {
    HANDLE copy = NULL;
    HANDLE const self = GetCurrentProcess();
    DuplicateHandle(self, GetStdHandle(STD_ERROR_HANDLE), self, &copy, 0, TRUE, DUPLICATE_SAME_ACCESS);
    return copy;
}

/* Starts the process suspended, so that it is in the job before its first instruction. Only the handles named
 * here are inherited, whatever else the process holds. */
static HANDLE Spawn(const WCHAR* path, HANDLE job, HANDLE input, HANDLE output, int showMessages) {
    WCHAR command[] = L"\"" WIDE(MORVEX_WORKER_NAME) L"\" " WIDE(MORVEX_SERVE_OPTION);
    HANDLE inherited[3] = {input, output, NULL};
    STARTUPINFOEXW start;
    PROCESS_INFORMATION process = {NULL, NULL, 0, 0};
    SIZE_T size = 0;
    memset(&start, 0, sizeof start);
    start.StartupInfo.cb = sizeof start;
    start.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    start.StartupInfo.hStdInput = input;
    start.StartupInfo.hStdOutput = output;
    InitializeProcThreadAttributeList(NULL, 1, 0, &size);
    start.lpAttributeList = malloc(size);
    if (start.lpAttributeList == NULL ||
        !InitializeProcThreadAttributeList(start.lpAttributeList, 1, 0, &size)) {
        free(start.lpAttributeList);
        return NULL;
    }
    if (showMessages) start.StartupInfo.hStdError = inherited[2] = InheritableStandardError();
    UpdateProcThreadAttribute(start.lpAttributeList, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, inherited,
                              (inherited[2] != NULL ? 3 : 2) * sizeof(HANDLE), NULL, NULL);
    const BOOL started = CreateProcessW(path, command, NULL, NULL, TRUE,
                                        CREATE_NO_WINDOW | CREATE_SUSPENDED | EXTENDED_STARTUPINFO_PRESENT,
                                        NULL, NULL, &start.StartupInfo, &process);
    DeleteProcThreadAttributeList(start.lpAttributeList);
    free(start.lpAttributeList);
    CloseAll(&inherited[2], 1);
    if (!started) return NULL;
    AssignProcessToJobObject(job, process.hProcess);
    ResumeThread(process.hThread);
    CloseHandle(process.hThread);
    return process.hProcess;
}

struct Worker* StartWorker(int showMessages, int* mayPass) {
    struct Worker* const worker = calloc(1, sizeof *worker);
    WCHAR* const path = WorkerPath();
    HANDLE theirs[2] = {NULL, NULL};
    if (worker != NULL && path != NULL && MakePipe(&theirs[0], &worker->toWorker, &worker->toWorker) &&
        MakePipe(&worker->fromWorker, &theirs[1], &worker->fromWorker)) {
        worker->job = MakeJob();
        worker->process = Spawn(path, worker->job, theirs[0], theirs[1], showMessages);
    }
    const DWORD error = GetLastError();
    *mayPass = (worker == NULL || worker->process == NULL) &&
               (error == ERROR_NOT_ENOUGH_MEMORY || error == ERROR_OUTOFMEMORY ||
                error == ERROR_NO_SYSTEM_RESOURCES || error == ERROR_COMMITMENT_LIMIT ||
                error == ERROR_SHARING_VIOLATION);
    free(path);
    CloseAll(theirs, 2);
    if (worker != NULL && worker->process == NULL) {
        CloseAll(&worker->process, sizeof *worker / sizeof(HANDLE));
        free(worker);
        return NULL;
    }
    return worker;
}

int SendToWorker(struct Worker* worker, const char* bytes, size_t size) {
    DWORD sent = 0;
    return WriteFile(worker->toWorker, bytes, (DWORD)size, &sent, NULL) && sent == size;
}

size_t ReceiveFromWorker(struct Worker* worker, char* bytes, size_t size) {
    DWORD got = 0;
    return ReadFile(worker->fromWorker, bytes, (DWORD)size, &got, NULL) ? got : 0;
}

void CloseWorker(struct Worker* worker) {
    CloseHandle(worker->toWorker);
    worker->toWorker = NULL;
    WaitForSingleObject(worker->process, INFINITE);
    CloseAll(&worker->process, sizeof *worker / sizeof(HANDLE));
    free(worker);
}
