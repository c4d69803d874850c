/* What the entry library and the worker say to each other.
 *
 * The library starts the worker with `--serve` and writes the job to its standard input: "key=value" texts in
 * UTF-8, each ended by a NUL, the job ended by an empty text. It then leaves that pipe open for as long as it
 * wants the conversion: the worker takes the end of the pipe for the death of its caller, stops and cleans
 * up. The worker answers on its standard output in lines: "P <percent>" whenever the whole percentage has
 * grown, and at last "R <result> <reason>", a number of result.h. A job may say the result with which the
 * library refuses it, for what only its side can see: the worker then converts nothing but reports it.
 *
 * A job may name the run that it belongs to. Its worker then leaves a server behind, which listens on the
 * local socket of that name in the abstract space and serves the run's next jobs with what is already loaded.
 * A connection takes the place of both pipes; before the job comes, it says "S". Who is not told that within
 * a few seconds, or meets no server of its own user there, starts a worker. */
#pragma once

#define MORVEX_WORKER_NAME "morvex-engine"
#define MORVEX_SERVE_OPTION "--serve"

/* The report beside an output: the output's path with this behind it. */
#define MORVEX_REPORT_SUFFIX "-zel.xml"

#define MORVEX_JOB_INPUT "input="
#define MORVEX_JOB_OUTPUT "output="
#define MORVEX_JOB_INPUT_FORMAT "input-format="
#define MORVEX_JOB_OUTPUT_FORMAT "output-format="
#define MORVEX_JOB_CONFIG "config="
#define MORVEX_JOB_PARALLEL "parallel="
#define MORVEX_JOB_PICTURE "picture="
#define MORVEX_JOB_TRACE "trace="
#define MORVEX_JOB_REFUSED "refused="
#define MORVEX_JOB_RUN "run="
#define MORVEX_JOB_MEGABYTES \
    "megabytes=" /* the most memory that the conversion may take; 0: its usual share */

#define MORVEX_LINE_READY 'S'
#define MORVEX_LINE_PROGRESS 'P'
#define MORVEX_LINE_RESULT 'R'
