#!/usr/bin/env python3
"""Compares what two engines have made of the same inputs: byte for byte, else what their reports say of the model and
what one of the engines finds when it reads both files (counts exactly; box, area, volume and centre of gravity to a
millionth). Of what the engine cannot read, drawings and parts lists, each number is compared.

compare_outputs.py ENGINE FOLDER FOLDER      exit code 0 only if all is equal
"""
import array
import math
import pathlib
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree
import zlib

REPORT = "-zel.xml"
# Outputs that have a part of themselves in a second file, and its suffix.
BESIDE = {".gltf": ".bin", ".obj": ".mtl"}
# What these formats say of the time and place at which they were written.
OF_THE_MOMENT = re.compile(rb"\d{4}-\d\d-\d\dT[\d:]+|\d{8}\.\d{6}|\d{6}\.\d{6}")

PDF_STREAM = re.compile(rb"stream\n(.*?)endstream", re.S)
NUMBER = re.compile(rb"-?\d+\.?\d*(?:[eE][-+]?\d+)?")


def same_bytes(left, right):
    a, b = left.read_bytes(), right.read_bytes()
    return a == b or OF_THE_MOMENT.sub(b"", a) == OF_THE_MOMENT.sub(b"", b)


def facts(report):
    """(element, attribute) -> value, without what differs from one run to the next."""
    found = {}
    for element in ElementTree.parse(report).iter():
        if element.tag in ("announced", "read", "written", "conversion"):
            found.update({(element.tag, name): value for name, value in element.attrib.items()})
    return found


def read_back(engine, output):
    """What the engine finds in a file; nothing when it cannot read it."""
    with tempfile.TemporaryDirectory() as folder:
        mesh = pathlib.Path(folder) / "read.stl"
        read = subprocess.run([engine, output, mesh], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False)
        return facts(pathlib.Path(f"{mesh}{REPORT}")) if read.returncode == 0 else None


def same_value(a, b):
    if a == b:
        return True
    try:
        left, right = [[float(number) for number in text.split()] for text in (a, b)]
    except (AttributeError, ValueError):
        return False
    return len(left) == len(right) and all(math.isclose(x, y, rel_tol=1e-6, abs_tol=1e-6) for x, y in zip(left, right))


def same_numbers(left, right):
    """Whether two files differ in the last digits of their numbers at most."""
    texts = [path.read_bytes() for path in (left, right)]
    if left.suffix == ".emf":
        a, b = (array.array("i", text) for text in texts)
        return len(a) == len(b) and all(abs(x - y) <= 1 for x, y in zip(a, b))
    if left.suffix == ".pdf":
        texts = [b"".join(map(zlib.decompress, PDF_STREAM.findall(text))) for text in texts]
    a, b = (" ".join(map(bytes.decode, NUMBER.findall(text))) for text in texts)
    return NUMBER.sub(b"", texts[0]) == NUMBER.sub(b"", texts[1]) and same_value(a, b)


def differences(engine, left, right):
    """A line for each fact that the two files or their reports do not share."""
    reports = (facts(pathlib.Path(f"{output}{REPORT}")) for output in (left, right))
    contents = [read_back(engine, output) for output in (left, right)]
    if None in contents:
        return unlike_facts(*reports) + ([] if same_numbers(left, right) else ["other numbers"])
    return unlike_facts(*reports) + unlike_facts(*contents)


def unlike_facts(a, b):
    return [f"{tag} {name}: {a.get((tag, name))} and {b.get((tag, name))}" for tag, name in sorted(a.keys() | b.keys())
            if not same_value(a.get((tag, name)), b.get((tag, name)))]


def main(engine, left, right):
    names = {path.name for path in left.iterdir()}
    missing = sorted(names ^ {path.name for path in right.iterdir()})
    for name in missing:
        print(f"{name}: only once")
    equal, alike, unlike = 0, 0, 0
    for name in sorted(names - set(missing)):
        if name.endswith(REPORT) or not (left / (name + REPORT)).exists():
            continue
        beside = pathlib.Path(name).stem + BESIDE.get(pathlib.Path(name).suffix, "")
        if all(same_bytes(left / file, right / file) for file in {name, beside} & names - set(missing)):
            equal += 1
            continue
        found = differences(engine, left / name, right / name)
        for line in found:
            print(f"{name}: {line}")
        if found:
            unlike += 1
        else:
            alike += 1
            print(f"{name}: other bytes, the same model")
    print(f"{equal} outputs equal byte for byte, {alike} in all that was counted, {unlike} different")
    return 0 if not unlike and not missing and equal + alike else 1


if __name__ == "__main__":
    sys.exit(main(*map(pathlib.Path, sys.argv[1:4])))
