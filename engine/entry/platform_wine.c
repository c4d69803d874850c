/* The Wine home: the worker is a Linux process, paths become those of the host. */
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "engine/common/protocol.h"
#include "engine/entry/connect_wine.h"
#include "engine/entry/platform.h"

extern char** environ;

struct Worker {
    pid_t process; /* 0: a server's child */
    int toWorker, fromWorker;
};

char* NativePath(const WCHAR* path) {
    /* Part of Wine's kernel32 only, hence looked up. Its answer lives on the process heap. */
    char*(__cdecl * convert)(const WCHAR*) =
        (void*)GetProcAddress(GetModuleHandleA("kernel32.dll"), "wine_get_unix_file_name");
    char* const found = convert != NULL ? convert(path) : NULL;
    char* const copy = found != NULL ? strdup(found) : NULL;
    HeapFree(GetProcessHeap(), 0, found);
    return copy;
}

/* The worker's path, to be freed. */
static char* WorkerPath(void) {
    Dl_info self;
    if (!dladdr((void*)WorkerPath, &self) || self.dli_fname == NULL) return NULL;
    const char* const slash = strrchr(self.dli_fname, '/');
    const size_t folder = slash != NULL ? (size_t)(slash - self.dli_fname) + 1 : 0;
    char* const path = malloc(folder + sizeof MORVEX_WORKER_NAME);
    if (path == NULL) return NULL;
    memcpy(path, self.dli_fname, folder);
    memcpy(path + folder, MORVEX_WORKER_NAME, sizeof MORVEX_WORKER_NAME);
    return path;
}

static uint64_t Hash(uint64_t hash, const char* text) {
    for (; *text != '\0'; ++text) hash = (hash ^ (unsigned char)*text) * 0x100000001b3u;
    return hash * 0x100000001b3u; /* the end counts too */
}

char* ServerName(const char* run) {
    enum { kLongest = 100 }; /* of a socket's name */
    char* const name = malloc(kLongest);
    char* const path = WorkerPath();
    uint64_t hash = 0xcbf29ce484222325u;
    if (name == NULL || path == NULL) {
        free(name);
        free(path);
        return NULL;
    }
    hash = Hash(hash, path);
    for (char** variable = environ; *variable != NULL; ++variable) {
        /* What Wine tells its own processes differs from one to the next. */
        if (strncmp(*variable, "WINE", 4) != 0) hash = Hash(hash, *variable);
    }
    /* The socket may be seen from where the same path is another file: from another container or root. */
    struct stat space, root;
    if (stat("/proc/self/ns/mnt", &space) == 0 && stat("/", &root) == 0) {
        char seen[64];
        snprintf(seen, sizeof seen, "%llu %llu %llu", (unsigned long long)space.st_ino,
                 (unsigned long long)root.st_dev, (unsigned long long)root.st_ino);
        hash = Hash(hash, seen);
    }
    if (run != NULL) {
        snprintf(name, kLongest, "morvex-%u-%016llx-%s", geteuid(), (unsigned long long)hash, run);
    } else {
        snprintf(name, kLongest, "morvex-%u-%016llx-p%d", geteuid(), (unsigned long long)hash, getpid());
    }
    free(path);
    return name;
}

struct Worker* ReachWorker(const char* server) {
    const int file = ConnectToServer(server);
    struct Worker* const worker = file >= 0 ? malloc(sizeof *worker) : NULL;
    if (worker == NULL) {
        if (file >= 0) close(file);
        return NULL;
    }
    worker->process = 0;
    worker->toWorker = worker->fromWorker = file;
    return worker;
}

/* The process, or -1 with the reason in errno. */
static pid_t Spawn(const char* path, int input, int output, int showMessages) {
    char* arguments[] = {(char*)path, MORVEX_SERVE_OPTION, NULL};
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    sigset_t none, all;
    pid_t process = -1;

    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    if (!showMessages) posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    /* Wine blocks and handles signals in ways that are no business of the worker's. */
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    const int error = posix_spawn(&process, path, &actions, &attributes, arguments, environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    errno = error;
    return error == 0 ? process : -1;
}

struct Worker* StartWorker(int showMessages, int* mayPass) {
    errno = 0;
    struct Worker* const worker = malloc(sizeof *worker);
    char* const path = WorkerPath();
    int in[2] = {-1, -1}, out[2] = {-1, -1};
    pid_t process = -1;
    if (worker != NULL && path != NULL && pipe2(in, O_CLOEXEC) == 0 && pipe2(out, O_CLOEXEC) == 0) {
        process = Spawn(path, in[0], out[1], showMessages);
    }
    /* Want of processes, of memory or of descriptors. */
    *mayPass = process < 0 && (errno == EAGAIN || errno == ENOMEM || errno == EMFILE || errno == ENFILE);
    free(path);
    if (in[0] >= 0) close(in[0]);
    if (out[1] >= 0) close(out[1]);
    if (process < 0) {
        if (in[1] >= 0) close(in[1]);
        if (out[0] >= 0) close(out[0]);
        free(worker);
        return NULL;
    }
    worker->process = process;
    worker->toWorker = in[1];
    worker->fromWorker = out[0];
    return worker;
}

int SendToWorker(struct Worker* worker, const char* bytes, size_t size) {
    while (size > 0) {
        const ssize_t sent = write(worker->toWorker, bytes, size);
        if (sent < 0 && errno == EINTR) continue;
        if (sent <= 0) return 0;
        bytes += sent;
        size -= (size_t)sent;
    }
    return 1;
}

size_t ReceiveFromWorker(struct Worker* worker, char* bytes, size_t size) {
    ssize_t got;
    do {
        got = read(worker->fromWorker, bytes, size);
    } while (got < 0 && errno == EINTR);
    return got > 0 ? (size_t)got : 0;
}

void CloseWorker(struct Worker* worker) {
    int status;
    close(worker->toWorker);
    if (worker->process == 0) {
        free(worker);
        return;
    }
    close(worker->fromWorker);
    while (waitpid(worker->process, &status, 0) < 0 && errno == EINTR) {
    }
    free(worker);
}
