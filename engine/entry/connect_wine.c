#include "engine/entry/connect_wine.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stddef.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

#include "engine/common/protocol.h"

static int Connect(const char* name) {
    struct sockaddr_un address = {AF_UNIX, {0}};
    const size_t length = strlen(name);
    struct ucred peer = {0, (uid_t)-1, 0};
    socklen_t size = sizeof peer;
    if (length >= sizeof address.sun_path) return -1;
    memcpy(address.sun_path + 1, name, length);
    const socklen_t whole = (socklen_t)(offsetof(struct sockaddr_un, sun_path) + 1 + length);
    /* Never waits: a server that is so busy is none. */
    const int file = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (file < 0) return -1;
    if (connect(file, (const struct sockaddr*)&address, whole) == 0 &&
        getsockopt(file, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == geteuid() &&
        fcntl(file, F_SETFL, 0) == 0) {
        return file;
    }
    close(file);
    return -1;
}

static long long MillisecondsNow(void) {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (long long)now.tv_sec * 1000 + now.tv_nsec / 1000000;
}

/* Whether a worker says there that it is ready. */
static int IsReady(int file) {
    enum { kPatience = 2000 };
    const long long end = MillisecondsNow() + kPatience;
    char byte, first = 0;
    for (;;) {
        struct pollfd waiting = {file, POLLIN, 0};
        const long long left = end - MillisecondsNow();
        const int ready = left > 0 ? poll(&waiting, 1, (int)left) : 0;
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0 || read(file, &byte, 1) != 1) return 0;
        if (byte == '\n') return first == MORVEX_LINE_READY;
        if (first == 0) first = byte;
    }
}

int ConnectToServer(const char* name) {
    const int file = Connect(name);
    if (file < 0 || IsReady(file)) return file;
    close(file);
    return -1;
}
