#!/usr/bin/env python3
"""Prints the sources of Open CASCADE that may be called from some sources of ours: for each header that these include,
or that one of the sources so found includes, the sources of its name and those of its package that no header is named
after.

reached.py OPENCASCADE_SOURCES SOURCE...
"""
import collections
import pathlib
import re
import sys

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*[<"](?:[^>"]*/)?([^>"/]+)[>"]', re.M)
SOURCES = (".cxx", ".cpp", ".c")
# A header may be carried out in several sources, which are numbered.
NUMBER = re.compile(r"_\d+$")


def included(path):
    return INCLUDE.findall(path.read_text(encoding="utf-8", errors="replace"))


def reached(library, starts):
    files = [path for path in library.glob("*/*.*") if path.is_file()]
    headers = {path.name: path for path in files if path.suffix not in SOURCES}
    names = {path.stem for path in headers.values()}
    sources = collections.defaultdict(set)
    for path in set(files) - set(headers.values()):
        name = path.stem if path.stem in names else NUMBER.sub("", path.stem)
        sources[name if name in names else path.parent.name + "/"].add(path)
    found, seen = set(), set()
    ahead = [name for start in starts for name in included(start)]
    while ahead:
        name = ahead.pop()
        if name in seen or name not in headers:
            continue
        seen.add(name)
        ahead += included(headers[name])
        header = headers[name]
        new = (sources[header.stem] | sources[header.parent.name + "/"]) - found
        found |= new
        for source in new:
            ahead += included(source)
    return found


if __name__ == "__main__":
    print(*sorted(reached(pathlib.Path(sys.argv[1]), map(pathlib.Path, sys.argv[2:]))), sep="\n")
