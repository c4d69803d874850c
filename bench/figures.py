"""Figures of the child road, the run and the whole road to the engine, as ratios against baselines of the same run.

Called by scripts/bench with the build folder. Each pair of commands runs in turn, so that a change of the machine's
speed meets both; the medians are printed. Wall times in milliseconds.
"""
import os
import pathlib
import re
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

WINE = "/usr/lib/wine/wine64"
SAMPLES = pathlib.Path("/usr/share/opencascade/data")
RUNS = 9


def windows(path):
    return "Z:" + str(path).replace("/", "\\")


def timed(command, environment=None):
    start = time.perf_counter()
    done = subprocess.run(command, env={**os.environ, **(environment or {})}, stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL)
    if done.returncode != 0:
        sys.exit(f"exit code {done.returncode}: {command}")
    return (time.perf_counter() - start) * 1000


def compare(ours, baseline, environment, runs=RUNS):
    """Medians of both and the median of the ratios pair by pair."""
    timed(ours, environment), timed(baseline)
    pairs = [(timed(ours, environment), timed(baseline)) for _ in range(runs)]
    return (statistics.median(a for a, _ in pairs), statistics.median(b for _, b in pairs),
            statistics.median(a / b for a, b in pairs))


def row(what, ours, baseline, ratio, bound):
    print(f"{what:<58} {ours:9.1f} {baseline:9.1f} {ratio:6.2f}   <= {bound}", flush=True)


def values(command, environment):
    done = subprocess.run(command, env={**os.environ, **environment}, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                          text=True)
    return {name: float(value) for name, value in re.findall(r"^([a-z_]+) (-?[0-9.]+)\r?$", done.stdout, re.M)}


def main():
    build = pathlib.Path(sys.argv[1])
    tools = build / "app/bench"
    program = build / "bin"
    work = pathlib.Path(tempfile.mkdtemp(prefix="morvex-bench-"))
    (work / "user").mkdir()
    environment = {"MORVEX_USER_FOLDER": windows(work / "user"), "MORVEX_FORMAT_IN": "STEP", "MORVEX_FORMAT_OUT": "STL"}
    idle = work / "idle"
    (idle / "Plugins").mkdir(parents=True)
    shutil.copy(program / "Morvex.exe", idle)
    shutil.copy(tools / "Polyvane_x64.dll", idle / "Plugins")
    bare = [WINE, str(tools / "bare.exe")]
    run = [WINE, str(tools / "bench_run.exe")]

    print(f"{'':<58} {'ours':>9} {'baseline':>9} {'ratio':>6}")
    ours, baseline, ratio = compare([WINE, str(idle / "Morvex.exe"), "C:\\in\\a.stp", "C:\\out\\"], bare, environment, 21)
    row("child road, idle library / bare program", ours, baseline, ratio, 1.5)
    bare_start = baseline

    rows = [values(run + ["rows", "1000", windows(idle / "Plugins/Polyvane_x64.dll")], environment) for _ in range(5)]
    own = statistics.median(figure["own_per_file"] for figure in rows)
    print(f"{'run of 1,000 rows in process, our own time per file':<58} {own:9.3f} ms{'':>15}   <= 0.5 ms")

    for part, bound in (("screw", 2.0), ("linkrods", 1.2)):
        step = SAMPLES / f"step/{part}.step"
        figures = compare([WINE, str(program / "Morvex.exe"), windows(step), windows(work / "ours.stl")],
                          [str(build / "bench-chain/bare_step_to_stl"), str(step), str(work / "bare.stl")], environment)
        row(f"{part}.step to STL, whole road / bare Open CASCADE", *figures, bound)

    count, sleep = 200, 50
    children = run + ["children", str(count), windows(idle / "Morvex.exe"), "STEP", "STL", "C:\\in\\a.stp", "C:\\out"]
    figures = [values(children, {**environment, "MORVEX_BENCH_SLEEP": str(sleep)}) for _ in range(3)]
    workers = figures[0]["workers"]
    ideal = count * (sleep / workers + bare_start)
    wall = statistics.median(figure["wall"] for figure in figures)
    row(f"200 files that sleep 50 ms, {workers:.0f} workers / ideal", wall, ideal, wall / ideal, 1.25)
    stricter = count * (sleep + bare_start) / workers
    row("  the same, child starts shared out among the workers", wall, stricter, wall / stricter, 1.25)
    processor = statistics.median(figure["processor_per_file"] for figure in figures)
    print(f"{'  parent, processor time per file':<58} {processor:9.3f} ms{'':>15}   <= 3 ms")

    for part in ("linkrods", "screw"):
        step, out = SAMPLES / f"step/{part}.step", work / "out"
        out.mkdir(exist_ok=True)
        ours_command = run + ["children", "40", windows(program / "Morvex.exe"), "STEP", "STL", windows(step), windows(out)]
        worker = program / "Plugins/morvex-engine"
        plain = ["sh", "-c", f"seq 40 | xargs -P {workers:.0f} -I N {worker} --jobs-beside --from STEP --to STL {step} {out}/N.stl"]
        figures = compare(ours_command, plain, environment, 5)
        row(f"40 x {part}.step, multiprocess / worker alone under xargs", *figures, 1.3 if part == "linkrods" else "-")
    where_the_time_goes(program, idle, bare, work, environment)
    shutil.rmtree(work)


def where_the_time_goes(program, idle, bare, work, environment):
    """One child for screw.step, taken apart by leaving out its parts."""
    step = SAMPLES / "step/screw.step"
    median = lambda command: statistics.median(timed(command, environment) for _ in range(RUNS))
    start = median(bare)
    child = median([WINE, str(idle / "Morvex.exe"), "C:\\in\\a.stp", "C:\\out\\"])
    whole = median([WINE, str(program / "Morvex.exe"), windows(step), windows(work / "a.stl")])
    worker = median([str(program / "Plugins/morvex-engine"), "--from", "STEP", "--to", "STL", str(step), str(work / "b.stl")])
    print("\nA child that converts screw.step to STL, in ms:")
    print(f"  Wine starts a process             {start:7.1f}\n  our start-up and an idle library  {child - start:7.1f}")
    print(f"  entry library                     {whole - child - worker:7.1f}\n  worker                            {worker:7.1f}")
    print(f"  all                               {whole:7.1f}")


if __name__ == "__main__":
    main()
