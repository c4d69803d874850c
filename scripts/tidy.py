"""Runs clang-tidy on all sources of the builds, side by side.

With --changed only on those that differ, they or the project headers they take in, from what was last found good, and
without the analyzer, which walks all paths through a source and takes as long as all other checks. It begins no
further source after ten minutes then; those left are the next run's.
"""
import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import subprocess
import sys
import time

import check_includes

ROOT = check_includes.ROOT
STAMPS = ROOT / "build" / "tidy"
SECONDS_FOR_CHANGED = 600
CROSS_COMPILER = "x86_64-w64-mingw32-gcc-posix"
WINDOWS = ["--target=x86_64-w64-mingw32", "-Wno-unknown-warning-option"]


def cross_folders(language):
    """The cross compiler's header folders, without GCC's own, which Clang has in a form that it understands."""
    command = [CROSS_COMPILER, "-v", "-E", "-x", language, "/dev/null"]
    lines = subprocess.run(command, capture_output=True, text=True, check=True).stderr
    listed = lines.split("#include <...> search starts here:\n")[1].split("End of search list")[0]
    folders = [os.path.realpath(folder) for folder in listed.split()]
    return ["-isystem" + name for name in folders if not re.search(r"/lib/gcc/.*/include(-fixed)?$", name)]


def find_jobs():
    """Source -> its clang-tidy command."""
    jobs = {}
    cross = ["--extra-arg=" + flag for flag in WINDOWS]
    cross += ["--extra-arg-before=" + folder for folder in cross_folders("c++")]
    for project, extra in (("app", cross), ("engine", ["--extra-arg=-Wno-return-type-c-linkage"]), ("bench-chain", [])):
        database = ROOT / "build" / project
        for entry in json.loads((database / "compile_commands.json").read_text(encoding="utf-8")):
            file = pathlib.Path(entry["file"])
            if file.is_relative_to(ROOT) and file.suffix in (".cpp", ".c"):
                jobs[str(file.relative_to(ROOT))] = ["-p", str(database), *extra]
    # Built by a command of its own, for the other system, and so not among the compile commands.
    jobs["engine/entry/platform_windows.c"] = ["--", "-xc", f"-I{ROOT}", "-D_WIN32_WINNT=0x0A00", *WINDOWS,
                                               *cross_folders("c")]
    return {file: ["clang-tidy", "--quiet", file, *flags] for file, flags in jobs.items()}


def fingerprint(file, command, includes):
    """Of all that the verdict on a source depends on, as far as it lies in this project."""
    taken, todo = set(), [file]
    while todo:
        name = todo.pop()
        if name not in taken:
            taken.add(name)
            todo += includes.get(name, ())
    total = hashlib.sha256(" ".join(command).replace(str(ROOT), "").encode())
    folders = pathlib.PurePath(file).parents
    checks = [str(folder / ".clang-tidy") for folder in folders if (ROOT / folder / ".clang-tidy").exists()]
    for name in [*checks, *sorted(taken)]:
        total.update(name.encode() + b"\0" + (ROOT / name).read_bytes())
    return total.hexdigest()


def check(file, command, mark, options):
    """Whether the source is good; says what is not."""
    stamp = STAMPS / file.replace("/", "+")
    run = subprocess.run(["nice", *command[:1], *options, *command[1:]], cwd=ROOT, capture_output=True, text=True)
    if run.returncode == 0:
        stamp.write_text(mark)
    else:
        print(f"{file}:\n{run.stdout}{run.stderr}", flush=True)
    return run.returncode == 0


def main():
    changed_only = sys.argv[1:] == ["--changed"]
    includes = check_includes.find_includes()
    jobs = find_jobs()
    marks = {file: fingerprint(file, command, includes) for file, command in jobs.items()}
    STAMPS.mkdir(parents=True, exist_ok=True)

    def known(file):
        stamp = STAMPS / file.replace("/", "+")
        return changed_only and stamp.exists() and stamp.read_text() == marks[file]

    files = [file for file in jobs if not known(file)]
    options = ["--checks=-clang-analyzer-*"] if changed_only else []
    end = time.monotonic() + SECONDS_FOR_CHANGED if changed_only else float("inf")

    def check_in_time(file):
        """None when its turn came too late."""
        return check(file, jobs[file], marks[file], options) if time.monotonic() < end else None

    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        verdicts = list(pool.map(check_in_time, files))
    left, bad = verdicts.count(None), verdicts.count(False)
    print(f"clang-tidy: {len(files) - left} of {len(jobs)} sources checked, {bad} with faults, {left} left for later")
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())
