/* The results of a conversion, as callers of the library know them. As a command the worker exits with the
 * number without its sign. */
#pragma once

enum ZelResult {
    ZEL_OK = 0,
    ZEL_FAILED = 1,              /* anything without a number of its own; the report says what */
    ZEL_CORRUPTED = -5,          /* damaged, truncated, or only a part of it could be read */
    ZEL_CANNOT_OPEN_INPUT = -22, /* it is there, but is a folder, locked or not ours to read */
    ZEL_CANNOT_WRITE = -23,
    ZEL_VERSION = -27,
    ZEL_NO_FILE = -28,
    ZEL_UNKNOWN_TYPE = -29, /* no such format, or the file is of another one */
    ZEL_EMPTY = -32
};
