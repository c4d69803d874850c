"""Figures of the batch command: throughput, own processor time, the start on a long list, memory; and a power-cut trial.

Called by scripts/bench with the build folder. The conversion library only sleeps, so what is measured is the command.
"""
import datetime
import os
import pathlib
import random
import shutil
import signal
import statistics
import subprocess
import sys
import tempfile
import time

WINE = "/usr/lib/wine/wine64"


def windows(path):
    return "Z:" + str(path).replace("/", "\\")


class Bench:
    def __init__(self, build):
        self.work = pathlib.Path(tempfile.mkdtemp(prefix="morvex-bench-batch-"))
        (self.work / "user").mkdir()
        (self.work / "Plugins").mkdir()
        for name in ("Morvex.exe", "morvex-batch.exe"):
            shutil.copy(build / "bin" / name, self.work)
        shutil.copy(build / "app/bench/Polyvane_x64.dll", self.work / "Plugins")
        self.bare = [WINE, str(build / "app/bench/bare.exe")]

    def start(self, *arguments, sleep=0, **options):
        environment = {**os.environ, "MORVEX_USER_FOLDER": windows(self.work / "user"), "MORVEX_BENCH_SLEEP": str(sleep)}
        return subprocess.Popen([WINE, str(self.work / "morvex-batch.exe"), "--quiet", *arguments], env=environment,
                                cwd=self.work, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **options)

    def files(self, count, folders=1):
        """A tree of that many files, and a list of them."""
        tree = self.work / f"files-{count}"
        for i in range(folders):
            (tree / str(i)).mkdir(parents=True)
        paths = [tree / str(i % folders) / f"bracket-left-{i:06}.stp" for i in range(count)]
        for path in paths:
            path.write_text("part")
        listed = self.work / f"list-{count}.txt"
        listed.write_text("".join(windows(path) + "\n" for path in paths))
        return listed

    def timed_bare(self):
        begin = time.perf_counter()
        subprocess.run(self.bare, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        return time.perf_counter() - begin


def own_seconds(pid):
    """Processor time of a process without those that it has started."""
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def throughput(bench, count=200, sleep=50, workers=2):
    listed = bench.files(count)
    walls, processor, bare = [], [], []
    for _ in range(5):
        bare += [bench.timed_bare() for _ in range(5)]
        begin = time.perf_counter()
        batch = bench.start("-t", "STL", "-j", str(workers), "--files-from", windows(listed), sleep=sleep)
        os.waitid(os.P_PID, batch.pid, os.WEXITED | os.WNOWAIT)
        walls.append(time.perf_counter() - begin)
        processor.append(own_seconds(batch.pid) / count * 1000)
        if batch.wait():
            sys.exit(f"status {batch.returncode}")
    wall, start = statistics.median(walls), statistics.median(bare)
    ideal = count * (sleep / 1000 + start) / workers
    print(f"{count} files that sleep {sleep} ms, {workers} at once: {wall:.2f} s, ideal {ideal:.2f} s, ratio {wall / ideal:.2f} <= 1.25")
    print(f"own processor time a file: {statistics.median(processor):.2f} ms <= 3 ms")


def first_start(bench, listed):
    """Seconds from the command to its first conversion, by the start that the log tells."""
    log = bench.work / "first.tsv"
    log.unlink(missing_ok=True)
    begin = datetime.datetime.now(datetime.timezone.utc)
    batch = bench.start("-t", "STL", "--files-from", windows(listed), "--log", windows(log))
    while not log.exists() or log.read_text().count("\n") < 1:
        time.sleep(0.01)
    for _ in range(2):
        batch.send_signal(signal.SIGINT)
        time.sleep(0.1)
    batch.wait()
    first = min(line.split("\t")[0] for line in log.read_text().splitlines())
    return (datetime.datetime.fromisoformat(first.replace("Z", "+00:00")) - begin).total_seconds()


def peak_memory(bench, listed):
    """Private bytes that a plan of the list takes, at its end."""
    batch = bench.start("-t", "STL", "--dry-run", "--files-from", windows(listed))
    most = 0
    while batch.poll() is None:
        try:
            status = pathlib.Path(f"/proc/{batch.pid}/status").read_text()
        except OSError:
            break
        most = max([most] + [int(line.split()[1]) for line in status.splitlines() if line.startswith("RssAnon")])
        time.sleep(0.005)
    return most * 1024


def long_list(bench, count=100_000):
    few, many = bench.files(10), bench.files(count, folders=100)
    starts = [first_start(bench, many) for _ in range(5)]
    print(f"first conversion of a list of {count} files: {statistics.median(starts):.2f} s <= 0.3 s "
          f"({first_start(bench, few):.2f} s with a list of 10)")
    each = (peak_memory(bench, many) - peak_memory(bench, few)) / count
    print(f"memory: {each:.0f} bytes a file <= 300")


def power_cuts(bench, count=100, cuts=10):
    """Kills the batch at random moments, resumes it each time, and counts what the log says in the end."""
    listed, log = bench.files(count), bench.work / "cuts.tsv"
    random.seed(13)
    for cut in range(cuts + 1):
        batch = bench.start("-t", "STL", "-j", "2", "--files-from", windows(listed), "--resume", windows(log), sleep=50)
        if cut < cuts:
            time.sleep(random.uniform(0.1, 0.5))
            batch.send_signal(signal.SIGKILL)
        batch.wait()
    records = [line.split("\t") for line in log.read_text().splitlines() if line.count("\t") == 7]
    inputs = [record[6] for record in records]
    failed = [record[3] for record in records if record[2] != "0"]
    print(f"{cuts} power cuts: {len(set(inputs))} of {count} files converted, {len(inputs) - len(set(inputs))} twice, "
          f"failed: {failed}")


def main():
    bench = Bench(pathlib.Path(sys.argv[1]))
    throughput(bench)
    long_list(bench)
    power_cuts(bench)
    shutil.rmtree(bench.work)


if __name__ == "__main__":
    main()
