"""Fails when an include of the program's sources points up or sideways between layers, or in a circle.

A layer may include itself and what its row names. The engine is a project of its own and includes only itself.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent

# Layer -> the layers it may include, lowest first.
LAYERS = {
    "formats": [],
    "win": [],
    "res": [],
    "stores": ["formats", "win", "res"],
    "run": ["stores", "formats", "win", "res"],
    "dialogs": ["run", "stores", "formats", "win", "res"],
    "ui": ["dialogs", "run", "stores", "formats", "win", "res"],
    "application": ["ui", "dialogs", "run", "stores", "formats", "win", "res"],
    "engine": [],
}
# Files that do not belong to the layer of their folder.
EXCEPTIONS = {
    "app/main": "application",
    "app/morvex_app": "application",
    "convert/progress_dialog": "dialogs",
    "settings/conversion_config": "run",
    "settings/default_config": "run",
}
FOLDERS = {"app": "stores", "convert": "run", "settings": "dialogs"}


def layer_of(path):
    stem = path.rsplit(".", 1)[0]
    folder = path.split("/", 1)[0]
    return EXCEPTIONS.get(stem) or FOLDERS.get(folder, folder)


def includes():
    """File -> the project files it includes, both as paths from the root."""
    graph = {}
    for layer in ("formats", "win", "app", "convert", "settings", "ui", "engine"):
        for file in sorted((ROOT / layer).rglob("*")):
            if file.suffix not in (".h", ".cpp", ".c", ".S"):
                continue
            targets = []
            for name in re.findall(r'^\s*#\s*include\s+"([^"]+)"', file.read_text(encoding="utf-8"), re.M):
                for base in (ROOT, file.parent, ROOT / "engine"):
                    if (base / name).is_file():
                        targets.append(str((base / name).resolve().relative_to(ROOT)))
                        break
            graph[str(file.relative_to(ROOT))] = targets
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

    for file in graph:
        circle = visit(file)
        if circle:
            return circle
    return None


def main():
    graph = includes()
    faults = []
    for file, targets in graph.items():
        layer = layer_of(file)
        for target in targets:
            if layer_of(target) != layer and layer_of(target) not in LAYERS[layer]:
                faults.append(f"{file}: layer {layer} may not include {target} of {layer_of(target)}")
    circle = find_circle(graph)
    if circle:
        faults.append("includes in a circle: " + " -> ".join(circle))
    print("\n".join(faults) if faults else f"{len(graph)} files: includes point down only")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
