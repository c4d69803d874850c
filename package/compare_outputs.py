#!/usr/bin/env python3
"""Compares what two engines have made of the same inputs: byte for byte, else what their reports say of the model and
of the written file (counts exactly; box, area, volume and centre of gravity to a millionth).

compare_outputs.py FOLDER FOLDER      exit code 0 only if all is equal
"""
import math
import pathlib
import re
import sys
import xml.etree.ElementTree as ElementTree

REPORT = "-zel.xml"
# What these formats say of the time and place at which they were written.
OF_THE_MOMENT = re.compile(rb"\d{4}-\d\d-\d\dT[\d:]+|\d{8}\.\d{6}|\d{6}\.\d{6}")


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


def same_value(a, b):
    if a == b:
        return True
    try:
        left, right = [[float(number) for number in text.split()] for text in (a, b)]
    except (AttributeError, ValueError):
        return False
    return len(left) == len(right) and all(math.isclose(x, y, rel_tol=1e-6, abs_tol=1e-6) for x, y in zip(left, right))


def differences(left, right):
    a, b = facts(left), facts(right)
    return [f"{tag} {name}: {a.get((tag, name))} and {b.get((tag, name))}" for tag, name in sorted(a.keys() | b.keys())
            if not same_value(a.get((tag, name)), b.get((tag, name)))]


def main(left, right):
    names = {path.name for path in left.iterdir()}
    missing = sorted(names ^ {path.name for path in right.iterdir()})
    for name in missing:
        print(f"{name}: only once")
    equal, alike, unlike = 0, 0, 0
    for name in sorted(names - set(missing)):
        if name.endswith(REPORT) or not (left / (name + REPORT)).exists():
            continue
        if same_bytes(left / name, right / name):
            equal += 1
            continue
        found = differences(left / (name + REPORT), right / (name + REPORT))
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
    sys.exit(main(*map(pathlib.Path, sys.argv[1:3])))
