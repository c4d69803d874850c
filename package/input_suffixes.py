#!/usr/bin/env python3
"""Prints the suffixes of the files that the profiles of norwend_morvex.ini offer as inputs, a line each."""
import configparser
import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parent.parent


def main():
    profiles = configparser.ConfigParser(strict=False)
    profiles.read(ROOT / "res/norwend_morvex.ini", encoding="utf-8")
    table = (ROOT / "formats/input_formats.cpp").read_text(encoding="utf-8")
    suffixes = set()
    for section in profiles.values():
        excepted = section.get("ZEL_INPUT_EXCEPT", "").split(",")
        for name in filter(None, section.get("ZEL_INPUT_FORMAT", "").split(",")):
            patterns = re.search(rf'{{L"{re.escape(name)}",\s*L"{re.escape(name)} \(([^)]*)\)"', table)[1]
            suffixes.update(set(re.findall(r"\*\.(\w+)", patterns)) - set(excepted))
    print("\n".join(sorted(suffixes)))


if __name__ == "__main__":
    main()
