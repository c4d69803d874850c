/* The way to the server of a run, in a file of its own: the socket functions have the names of those of
 * Windows. */
#pragma once

/* A connection to the server of that name, behind which a worker has said that it is ready; -1 when there is
 * none. Waits for a few seconds at most. */
int ConnectToServer(const char* name);
