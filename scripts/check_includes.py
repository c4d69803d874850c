"""Fails when an include points up or sideways between layers, or in a circle.

A folder is a layer, and what it may include is what its CMakeLists.txt links. Tests and benchmarks stand on top of all
layers and may include each; no layer includes them.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
ON_TOP = ("tests", "bench")
SOURCES = (".h", ".cpp", ".c", ".S", ".inc")


def find_layers():
    """Folder -> the folders that its CMakeLists.txt links. The engine is a project of its own and includes itself."""
    links = {}
    for file in ROOT.glob("*/CMakeLists.txt"):
        text = file.read_text(encoding="utf-8")
        calls = re.findall(r"^\s*(?:add_layer|target_link_libraries)\(([^)]*)\)", text, re.M)
        links[file.parent.name] = {name.removeprefix("morvex_") for call in calls for name in call.split()[1:]}
    return {folder: names & links.keys() for folder, names in links.items() if folder not in ON_TOP}


def find_includes(folders):
    """File -> the project files it includes, both as paths from the root."""
    graph = {}
    for folder in folders:
        for file in sorted((ROOT / folder).rglob("*")):
            if file.suffix not in SOURCES:
                continue
            bases = (ROOT, file.parent)
            names = re.findall(r'^\s*#\s*include\s+"([^"]+)"', file.read_text(encoding="utf-8"), re.M)
            targets = [next((base / name for base in bases if (base / name).is_file()), None) for name in names]
            graph[str(file.relative_to(ROOT))] = [str(t.resolve().relative_to(ROOT)) for t in targets if t]
    return graph


def find_circle(graph):
    done, path = set(), []

    def visit(file):
        if file in path:
            return path[path.index(file):] + [file]
        if file in done:
            return None
        path.append(file)
        for target in graph.get(file, ()):
            circle = visit(target)
            if circle:
                return circle
        path.pop()
        done.add(file)
        return None

    return next((circle for circle in map(visit, graph) if circle), None)


def main():
    layers = find_layers()
    graph = find_includes([*layers, *ON_TOP])
    faults = []
    for file, targets in graph.items():
        layer = file.split("/")[0]
        for target in targets:
            other = target.split("/")[0]
            allowed = other == layer or (other in layers if layer in ON_TOP else other in layers[layer])
            if not allowed and not (layer == "bench" and other == "tests"):
                faults.append(f"{file}: layer {layer} may not include {target} of {other}")
    circle = find_circle(graph)
    if circle:
        faults.append("includes in a circle: " + " -> ".join(circle))
    print("\n".join(faults) if faults else f"{len(graph)} files: includes point down only")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
