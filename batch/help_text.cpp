#include "batch/help_text.h"

namespace morvex {

// Fits a screen of 80 by 24 characters.
const wchar_t kBatchHelp[] =
    LR"(morvex-batch --to FORMAT [OPTIONS] PATH...     converts CAD files unattended

PATH: a file, a folder, a wildcard, a list file of the window. Results go beside
the inputs, as many files at once as there are processors.

  -t, --to FORMAT         what to write: "STL", "glTF Binary", stl, ZEL_STEP
  -f, --from FORMAT       what to read; without it each file tells its own
  -r, --recursive         folders with all that is below them
      --files-from FILE   paths from a file, one a line; "-": standard input
      --watch DIR         converts what appears in a folder, until Ctrl+C
  -o, --out DIR           where results go; --keep-tree  in the same sub-folders
      --skip-existing     leaves out files whose result is newer than they are
  -j, --jobs N            so many at once
      --set SECTION/KEY=VALUE   a conversion setting; --config FILE.zel  all
      --log FILE          a line for each file
      --resume LOG        goes on after a break; --retry-failed LOG  failed ones
      --report FILE.html  a page of all results
  -n, --dry-run           only says what would be done
  -q, --quiet             only failures; --json  everything, for programs

Exit code: failed files, 100 at most; 101: wrong usage; 102: stopped by Ctrl+C
(once: begins no more; twice: ends what runs). Everything: --help all
)";

const wchar_t kBatchHelpAll[] =
    LR"(morvex-batch --to FORMAT [OPTIONS] PATH...

What to convert
  PATH                    a file; a folder; a name with * or ?; a list file that the window has saved (its
                          formats stand where --from and --to are missing). "--" ends the options.
  -t, --to FORMAT         a format's name, identifier or extension, in any case
  -f, --from FORMAT       the same for the inputs. Of a folder only files of that format are taken. Without it a
                          file's extension tells its format, else its content; files of a folder that have the
                          output's own format are left aside.
  -r, --recursive         folders with their sub-folders
      --files-from FILE   a list of files, UTF-8 or UTF-16, one path a line; "-" is standard input
  -0, --null              the paths of --files-from end in zero bytes instead
      --watch DIR         a hot folder: converts each file that appears once it has stopped growing. Needs --log,
                          by which it knows at its next start what was done.
      --shard I/N         only the I-th of N shares of the files, equally heavy and the same on every machine

Where to
  -o, --out DIR           the folder of all results; it is made when it is missing
      --keep-tree         with --out: files of a folder keep their place below it
      --skip-existing     not when the result is newer than the input, is not empty, and neither the log nor its
                          report says that it failed
      --overwrite WHEN    never: results that exist stay; older: only those older than their input are replaced;
                          always (the default)

How
  -j, --jobs N            files converted at once, each in a process of its own; default: the processors
      --config FILE.zel   the conversion settings, in place of those of the window
      --set SECTION/KEY=VALUE   one of them, as in "STL CONF/LINEAR_TOL=0.05"; may stand several times
      --seconds-per-file N      ends a conversion that takes longer; 0: never
      --retries N         tries so many times more after a crash or a time-out
      --nice              leaves the processors to other programs
  -n, --dry-run           prints the plan: input, output, formats, what would be skipped

What it says
                          on a terminal a progress line and the failures, else a line for each file
  -q, --quiet             nothing but failures (on a terminal they stand out by themselves)
      --progress          the progress line though the output is no terminal
      --json              an object a line: state (converted, failed, skipped, done before, failed before, to
                          convert), start, seconds, result, reason, attempts, input_bytes, output_bytes, input,
                          output
      --log FILE          appends a line for each file as it ends, tabs between: start (UTC), seconds, result (0:
                          converted), reason, input bytes, output bytes, input, output. Tabs, line ends and "%"
                          in texts are %09, %0A, %0D, %25. Logs of several batches may be joined by cat.
      --resume LOG        leaves out what the log has done, unless its result has gone, and appends to it
      --retry-failed LOG  the same, and does again what failed; without PATH nothing but that
      --report FILE.html  a page of the results that sorts by its columns
      --version, --help

Exit code
  0 to 100: failed files (100: or more); 101: wrong usage; 102: stopped. The first Ctrl+C begins no more files, the
  second ends those being converted; the log is true in both cases.
)";

}  // namespace morvex
