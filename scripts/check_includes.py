"""Fails when an include points up or sideways between folders, or in a circle.

A folder with targets of its own is a layer, and what it may include is what its CMakeLists.txt links or takes a source
from. A test folder named after a layer may include what that layer may; other tests and the benchmarks stand on all
that lies below what they link. Both may include test support, whose headers count as part of the file that takes them.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
SOURCES = (".h", ".cpp", ".c", ".S", ".inc")
DEFINES = re.compile(r"add_(?:layer|module|library|executable|custom_target|test_library|\w+_tests?)")


def project_files(endings):
    tops = [top for top in sorted(ROOT.iterdir()) if top.is_dir() and top.name != "build" and top.name[0] != "."]
    return [file for top in tops for file in sorted(top.rglob("*")) if file.name.endswith(endings)]


def find_layers():
    """Folder -> the folders that its CMakeLists.txt names; folders without a target of their own are left out."""
    home, links, paths = {}, {}, {}
    for file in project_files(("CMakeLists.txt",)):
        folder = str(file.parent.relative_to(ROOT))
        text = re.sub(r"#.*", "", file.read_text(encoding="utf-8"))
        for function, arguments in re.findall(r"^\s*(\w+)\(([^)]*)\)", text, re.M):
            words = arguments.split()
            outside = {(file.parent / word).resolve().parent for word in words if word.startswith("../")}
            paths.setdefault(folder, set()).update(str(path.relative_to(ROOT)) for path in outside)
            if function == "add_layer":
                words = ["morvex_" + word for word in words]
            if DEFINES.fullmatch(function) and "$" not in words[0]:
                home[words[0]] = folder
            if DEFINES.fullmatch(function) or function == "target_link_libraries":
                links.setdefault(folder, set()).update(words[1:])
    return {folder: ({home[name] for name in links.get(folder, ()) if name in home} | paths[folder]) - {folder}
            for folder in home.values()}


def closure(folder, layers):
    reached, todo = set(), [folder]
    while todo:
        below = layers.get(todo.pop(), set()) - reached
        reached |= below
        todo += below
    return reached


def may_include(folder, layers):
    """The folders whose headers the files of this one may include, itself among them."""
    top, _, below = folder.partition("/")
    if top not in ("tests", "bench"):
        return {folder} | layers[folder]
    base = {below} | layers[below] if below in layers else closure(folder, layers)
    return {folder} | base | {name for name in ("tests/support", "tests/engine/support") if folder != name}


def find_includes():
    """File -> the project files it includes, both as paths from the root."""
    graph = {}
    for file in project_files(SOURCES):
        names = re.findall(r'^\s*#\s*include\s+"([^"]+)"', file.read_text(encoding="utf-8"), re.M)
        bases = (ROOT, file.parent)
        targets = [next((base / name for base in bases if (base / name).is_file()), None) for name in names]
        graph[str(file.relative_to(ROOT))] = [str(t.resolve().relative_to(ROOT)) for t in targets if t]
    return graph


def through_support(targets, graph):
    """The included files, and what those of them that are test support include in turn."""
    reached, todo = [], list(targets)
    while todo:
        target = todo.pop()
        reached.append(target)
        if target.startswith("tests/support/"):
            todo += graph[target]
    return reached


def find_circle(graph):
    done, path = set(), []

    def visit(node):
        if node in path:
            return path[path.index(node):] + [node]
        if node in done:
            return None
        path.append(node)
        circle = next((found for found in map(visit, graph.get(node, ())) if found), None)
        path.pop()
        done.add(node)
        return circle

    return next((circle for circle in map(visit, graph) if circle), None)


def main():
    layers, graph, faults = find_layers(), find_includes(), []
    for file, targets in graph.items():
        folder = str(pathlib.PurePath(file).parent)
        if folder == "tests/support":
            continue
        if folder not in layers:
            faults.append(f"{file}: its folder has no target in a CMakeLists.txt")
            continue
        allowed = may_include(folder, layers)
        for target in through_support(targets, graph):
            if str(pathlib.PurePath(target).parent) not in allowed:
                faults.append(f"{file}: {folder} may not include {target}")
    for what, nodes in (("includes", graph), ("layers", layers)):
        circle = find_circle(nodes)
        if circle:
            faults.append(f"{what} in a circle: " + " -> ".join(circle))
    print("\n".join(faults) if faults else f"{len(graph)} files in {len(layers)} folders: includes point down only")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
