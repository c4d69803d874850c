#!/usr/bin/env python3
"""Times the engine's worker against other converters on the same files, and its start against a program that links
every library. Prints tables in Markdown. Installs the other converters from Debian when they are missing.

The programs take turns within each round, so that other load on the machine meets all of them alike; the figures are
medians over the rounds, and the ratios are those of the medians."""
import argparse
import math
import os
import re
import shutil
import statistics
import struct
import subprocess
import sys
import tempfile
import time

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
SAMPLES = "/usr/share/opencascade/data"
LIBRARIES = "/usr/lib/x86_64-linux-gnu"
FREECAD = "/usr/lib/freecad/bin/freecadcmd-python3"
DRAW = "/usr/bin/occt-draw-7.6"
PACKAGES = {FREECAD: "freecad-python3", DRAW: "occt-draw", "/usr/bin/assimp": "assimp-utils"}
QUALITY = ["--set", "STL CONF/LINEAR_DIS=0", "--set", "STL CONF/LINEAR_TOL=0.005",
           "--set", "STL CONF/ANGULAR_DIS=0", "--set", "STL CONF/ANGULAR_TOL=0.5"]


def need_programs():
    missing = [package for path, package in PACKAGES.items() if not os.path.exists(path)]
    if missing:
        sudo = [] if os.geteuid() == 0 else ["sudo"]
        subprocess.run(sudo + ["apt-get", "install", "-y", "-q", "--no-install-recommends"] + missing,
                       check=True, stdout=sys.stderr)


class Run:
    """One program on one task: seconds and peak memory of each round, and what it left."""

    def __init__(self, name, command, output=None, environment=None):
        self.name, self.command, self.output = name, command, output
        self.environment = {**os.environ, **(environment or {})}
        self.seconds, self.megabytes = [], []

    def once(self):
        if self.output and os.path.exists(self.output):
            os.remove(self.output)
        start = time.perf_counter()
        process = subprocess.Popen(self.command, env=self.environment, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        _, status, usage = os.wait4(process.pid, 0)
        self.seconds.append(time.perf_counter() - start)
        self.megabytes.append(usage.ru_maxrss / 1024)
        process.returncode = os.waitstatus_to_exitcode(status)
        if self.output and not os.path.exists(self.output):
            sys.exit(f"{self.name} wrote nothing: {self.command}")


def measure(runs, rounds):
    for run in runs:
        run.once()
        run.seconds.clear(), run.megabytes.clear()
    for _ in range(rounds):
        for run in runs:
            run.once()


def print_table(title, runs, rounds):
    measure(runs, rounds)
    ours = statistics.median(runs[0].seconds)
    print(f"\n{title}\n\n| Program | seconds | ours / theirs | peak MB | output bytes |\n|---|---|---|---|---|")
    for run in runs:
        seconds = statistics.median(run.seconds)
        size = os.path.getsize(run.output) if run.output else "-"
        print(f"| {run.name} | {seconds:.3f} | {ours / seconds:.2f} | {statistics.median(run.megabytes):.0f} | {size} |")


class Bench:
    def __init__(self, worker, folder, rounds):
        self.worker, self.folder, self.rounds = worker, folder, rounds
        links = os.path.join(folder, "links")  # Draw looks for its plugins under names that Debian does not install
        os.mkdir(links)
        for name in os.listdir(LIBRARIES):
            if name.startswith("libTK") and name.endswith(".so.7"):
                os.symlink(os.path.join(LIBRARIES, name), os.path.join(links, name[:-2]))
        resources = "/usr/share/opencascade/resources"
        draw = resources + "/DrawResources"
        self.draw_environment = {"LD_LIBRARY_PATH": links, "CASROOT": "/usr/share/opencascade", "DRAWHOME": draw,
                                 "CSF_OCCTResourcePath": resources, "CSF_DrawPluginDefaults": draw,
                                 "DRAWDEFAULT": draw + "/DrawDefault"}

    def path(self, name):
        return os.path.join(self.folder, name)

    def script(self, name, text):
        with open(self.path(name), "w", encoding="utf-8") as file:
            file.write(text)
        return self.path(name)

    def ours(self, source, name, options=()):
        output = self.path(name)
        return Run("morvex-engine", [self.worker, *options, source, output], output)

    def draw(self, name, lines):
        output = self.path(name)
        text = "pload MODELING XDE\n" + lines.replace("OUT", output) + "\nexit\n"
        return Run("occt-draw", [DRAW, "-b", "-f", self.script(name + ".tcl", text)], output, self.draw_environment)

    def freecad(self, name, lines):
        output = self.path(name)
        return Run("FreeCAD", [FREECAD, self.script(name + ".py", lines.replace("OUT", output))], output,
                   {"QT_QPA_PLATFORM": "offscreen"})

    def conversions(self):
        rods, bearing = SAMPLES + "/step/linkrods.step", SAMPLES + "/iges/bearing.iges"
        head = SAMPLES + "/stl/head.stl"
        mesh = "incmesh s 0.005 -a 28.6478897565\n"
        freecad_mesh = (f"import Part, MeshPart\nshape = Part.read('{rods}')\n"
                        "MeshPart.meshFromShape(Shape=shape, LinearDeflection=0.005, AngularDeflection=0.5,"
                        " Relative=False).write('OUT')\n")
        print_table("linkrods.step to STL, deflection 0.005 mm, 0.5 rad", [
            self.ours(rods, "ours.stl", QUALITY),
            self.draw("draw.stl", f"ReadStep D {rods}\nXGetOneShape s D\n{mesh}writestl s OUT 1"),
            self.freecad("freecad.stl", freecad_mesh)], self.rounds)
        print_table("linkrods.step to glb (FreeCAD: to OBJ, it writes no glb), same deflection", [
            self.ours(rods, "ours.glb", QUALITY),
            self.draw("draw.glb", f"ReadStep D {rods}\nXGetOneShape s D\n{mesh}WriteGltf D OUT"),
            self.freecad("freecad.obj", freecad_mesh)], self.rounds)
        print_table("bearing.iges to STEP", [
            self.ours(bearing, "ours.stp"),
            self.draw("draw.stp", f"ReadIges D {bearing}\nWriteStep D OUT"),
            self.freecad("freecad.step", f"import Part\nPart.read('{bearing}').exportStep('OUT')\n")], self.rounds)
        print_table("head.stl to OBJ", [
            self.ours(head, "ours.obj"),
            Run("assimp", ["/usr/bin/assimp", "export", head, self.path("assimp.obj")], self.path("assimp.obj"))],
            self.rounds)

    def many(self):
        """Small files: by one command, and each by a command of its own."""
        screw, count = SAMPLES + "/step/screw.step", 200
        outputs = [self.path(f"many{number}.stl") for number in range(count)]
        jobs = self.script("jobs.txt", "".join(f"{screw} {output}\n" for output in outputs))
        loop = f'while read -r i o; do "{self.worker}" "$i" "$o"; done < {jobs}'
        print_table(f"{count} times screw.step to STL", [
            Run("morvex-engine --jobs", [self.worker, "--jobs", jobs], outputs[-1]),
            Run("morvex-engine --jobs -j 2", [self.worker, "--jobs", jobs, "-j", "2"], outputs[-1]),
            Run("morvex-engine, a start a file", ["bash", "-c", loop], outputs[-1])], self.rounds)

    def instances(self):
        """One part under one parent, so many times: the time is to grow as their number."""
        for count in (1024, 4096, 16384):
            source = self.path(f"instances{count}.step")
            self.make_instances(count, source)
            print_table(f"{count} instances under one parent, STEP to glb", [
                self.ours(source, "instances.glb"),
                self.draw("draw_instances.glb", f"ReadStep D {source}\nXGetOneShape s D\nincmesh s 0.1\nWriteGltf D OUT")],
                1)

    def bodies(self):
        """Many bodies, each a part of its own, by all processors: the others use one."""
        mesh = "XGetOneShape s D\nincmesh s 0.1 -a 28.6478897565\n"
        quality = ["--set", "STL CONF/LINEAR_DIS=0", "--set", "STL CONF/LINEAR_TOL=0.1",
                   "--set", "STL CONF/ANGULAR_DIS=0", "--set", "STL CONF/ANGULAR_TOL=0.5"]
        for count in (64, 256):
            source = self.path(f"bodies{count}.step")
            self.make_bodies(count, source)
            for suffix, options, lines in (("stl", quality, mesh + "writestl s OUT 1"),
                                           ("glb", quality, mesh + "WriteGltf D OUT"), ("stp", [], "WriteStep D OUT")):
                alone = self.ours(source, f"alone.{suffix}", [*options, "--jobs-beside"])
                alone.name += " with one processor"
                print_table(f"{count} bodies ({os.path.getsize(source) / 1e6:.0f} MB), STEP to {suffix}", [
                    self.ours(source, f"bodies.{suffix}", options), alone,
                    self.draw(f"draw_bodies.{suffix}", f"ReadStep D {source}\n{lines}")], self.rounds)

    def make_bodies(self, count, path):
        """Copies of one part, the numbers of their entities moved apart."""
        with open(SAMPLES + "/step/screw.step", encoding="latin-1") as file:
            head, data = re.split(r"(?<=DATA;)", file.read(), maxsplit=1)
        data, tail = data.rsplit("ENDSEC;", 1)
        stride = max(map(int, re.findall(r"#(\d+)", data)))
        copies = (re.sub(r"#(\d+)", lambda match: f"#{int(match[1]) + copy * stride}", data) for copy in range(count))
        self.script(os.path.basename(path), head + "".join(copies) + "ENDSEC;" + tail)

    def meshes(self):
        """Triangles in, triangles out."""
        small, large = self.path("small.stl"), self.path("large.stl")
        self.make_mesh(224, small)
        self.make_mesh(1581, large)
        for suffix, kind in (("stl", "stlb"), ("fbx", "fbxa")):
            theirs = self.path("assimp." + suffix)
            print_table(f"0.1 million triangles, STL to {suffix}", [
                self.ours(small, "small." + suffix),
                Run("assimp", ["/usr/bin/assimp", "export", small, theirs, "-f" + kind], theirs)], self.rounds)
        print_table("5 million triangles, STL to 3MF and glb", [
            self.ours(large, "large.3mf"), self.ours(large, "large.glb")], self.rounds)

    def make_mesh(self, side, path):
        """A wavy square of so many times so many squares of two triangles."""
        pack = struct.Struct("<12fH").pack
        height = [[20 * math.sin(x * 0.01) * math.cos(y * 0.013) for y in range(side + 1)] for x in range(side + 1)]
        with open(path, "wb") as file:
            file.write(b" " * 80 + struct.pack("<I", 2 * side * side))
            for x in range(side):
                for y in range(side):
                    a, b, c, d = ((x + i, y + j, height[x + i][y + j]) for i, j in ((0, 0), (1, 0), (1, 1), (0, 1)))
                    file.write(pack(0, 0, 1, *a, *b, *c, 0) + pack(0, 0, 1, *a, *c, *d, 0))

    def make_instances(self, count, path):
        """By way of a DXF file, in which a block stands in rows and columns."""
        corners = [(x, y, z) for x in (0, 1) for y in (0, 1) for z in (0, 1)]
        sides = ((0, 2, 3, 1), (4, 5, 7, 6), (0, 1, 5, 4), (2, 6, 7, 3), (0, 4, 6, 2), (1, 3, 7, 5))
        faces = "".join("0\n3DFACE\n8\n0\n" + "".join(
            f"{10 + at}\n{corners[corner][0]}\n{20 + at}\n{corners[corner][1]}\n{30 + at}\n{corners[corner][2]}\n"
            for at, corner in enumerate(side)) for side in sides)
        block = "0\nSECTION\n2\nBLOCKS\n0\nBLOCK\n2\nb\n10\n0\n20\n0\n30\n0\n" + faces + "0\nENDBLK\n0\nENDSEC\n"
        uses = "".join(f"0\nINSERT\n8\n0\n2\nb\n10\n{number % 256 * 2}\n20\n{number // 256 * 2}\n30\n0\n"
                       for number in range(count))
        drawing = self.script("instances.dxf", block + "0\nSECTION\n2\nENTITIES\n" + uses + "0\nENDSEC\n0\nEOF\n")
        subprocess.run([self.worker, drawing, path], check=True)

    def start(self):
        everything = self.compile("everything", "int main(void) { return 0; }", [
            "-Wl,--no-as-needed", "-lTKXDESTEP", "-lTKXDEIGES", "-lTKRWMesh", "-lTKSTL", "-lTKXCAF", "-lTKMesh", "-lassimp"])
        loader = self.compile("loader", """#include <dlfcn.h>
#include <unistd.h>
int main(int count, char** modules) {
    for (int at = 1; at < count; ++at) if (!dlopen(modules[at], RTLD_LAZY)) return 1;
    _exit(0);
}
""", ["-Wl,--no-as-needed", "-lstdc++", "-Wl,--unresolved-symbols=ignore-all"])
        modules = os.path.join(os.path.dirname(self.worker), "engine")
        # The modules find the worker's own functions in the worker only; bound lazily, they load without it.
        load = {name: Run(f"loading the modules for {name}", [loader, *[f"{modules}/{m}.so" for m in parts]])
                for name, parts in (("STEP to STL", ("core", "step", "stl")), ("STL to OBJ", ("core", "stl")))}
        nothing = Run("worker that does nothing (--list)", [self.worker, "--list"])
        linked = Run("program linked to everything, does nothing", [everything])
        screw = self.ours(SAMPLES + "/step/screw.step", "screw.stl")
        runs = [nothing, linked, *load.values(), screw]
        screw.name = "screw.step to STL, whole"
        measure(runs, self.rounds * 8)
        print("\nStart\n\n| What | ms |\n|---|---|")
        for run in runs:
            print(f"| {run.name} | {statistics.median(run.seconds) * 1000:.1f} |")
        share = statistics.median(load["STEP to STL"].seconds) / statistics.median(screw.seconds)
        print(f"\nShare of loading libraries in screw.step to STL ({self.rounds * 8} runs, one after another): {share:.0%}")

    def compile(self, name, source, options):
        path = self.path(name)
        subprocess.run(["cc", self.script(name + ".c", source), "-o", path, *options], check=True)
        return path


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--worker", default=os.path.join(ROOT, "build/bin/Plugins/morvex-engine"))
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("parts", nargs="*", default=["conversions", "many", "instances", "bodies", "meshes", "start"])
    arguments = parser.parse_args()
    need_programs()
    folder = tempfile.mkdtemp(prefix="engine-bench-")
    try:
        bench = Bench(os.path.abspath(arguments.worker), folder, arguments.rounds)
        print(f"Processors: {os.cpu_count()}, load before: {os.getloadavg()[0]:.1f}, rounds: {arguments.rounds}")
        for part in arguments.parts:
            getattr(bench, part)()
    finally:
        shutil.rmtree(folder)


if __name__ == "__main__":
    main()
