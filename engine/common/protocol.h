/* What the entry library and the worker say to each other, and the results both of them give.
 *
 * The library starts the worker with `--serve` and writes the job to its standard input: "key=value" texts in
 * UTF-8, each ended by a NUL, the job ended by an empty text. It then leaves that pipe open for as long as it
 * wants the conversion: the worker takes the end of the pipe for the death of its caller, stops and cleans
 * up. The worker answers on its standard output in lines: "P <percent>" whenever the whole percentage has
 * grown, and at last "R <result> <reason>". */
#pragma once

#define MORVEX_WORKER_NAME "morvex-engine"
#define MORVEX_SERVE_OPTION "--serve"

#define MORVEX_JOB_INPUT "input="
#define MORVEX_JOB_OUTPUT "output="
#define MORVEX_JOB_INPUT_FORMAT "input-format="
#define MORVEX_JOB_OUTPUT_FORMAT "output-format="
#define MORVEX_JOB_CONFIG "config="
#define MORVEX_JOB_PARALLEL "parallel="
#define MORVEX_JOB_TRACE "trace="

#define MORVEX_LINE_PROGRESS 'P'
#define MORVEX_LINE_RESULT 'R'

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
