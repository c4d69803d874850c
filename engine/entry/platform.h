/* What differs between the two homes of the entry library: a Wine process that starts a Linux worker, and a
 * Windows process that starts a Windows one. */
#pragma once

#include <windows.h>

#include <stddef.h>

#define WIDE_TEXT(text) L##text
#define WIDE(text) WIDE_TEXT(text)

struct Worker; /* one running worker and the pipes to and from it */

/* The path as the worker knows it, UTF-8, to be freed; NULL when there is none (a missing folder, a name that
 * the worker's system cannot hold). */
char* NativePath(const WCHAR* path);

/* The name of the server for the jobs of a run, to be freed: different for every user, worker and
 * environment. `run` is the name of the run, NULL for one within this process. NULL where there are no
 * servers. */
char* ServerName(const char* run);

/* A worker that the server of that name has ready; NULL when there is none. */
struct Worker* ReachWorker(const char* server);

/* Starts the worker that lies beside this library. `showMessages` lets what it says to standard error
 * through. NULL when it cannot be started; `mayPass` is nonzero then if another moment may be better. */
struct Worker* StartWorker(int showMessages, int* mayPass);

/* Whether all bytes were taken. */
int SendToWorker(struct Worker* worker, const char* bytes, size_t size);

/* Waits for output; the number of bytes received, or 0 at the end. Never polls. */
size_t ReceiveFromWorker(struct Worker* worker, char* bytes, size_t size);

/* Closes the pipes, which ends a worker that still runs, waits for it, and frees everything. */
void CloseWorker(struct Worker* worker);
