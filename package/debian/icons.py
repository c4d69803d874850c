#!/usr/bin/env python3
"""Takes the pictures that an icon file holds as PNG apart, into an icon theme's folders: icons.py FILE.ico FOLDER"""
import pathlib
import struct
import sys


def main(icon, theme):
    data = icon.read_bytes()
    for entry in range(struct.unpack_from("<HHH", data)[2]):
        width, *_, length, start = struct.unpack_from("<BBBBHHII", data, 6 + 16 * entry)
        picture = data[start:start + length]
        if picture.startswith(b"\x89PNG"):
            width = width or 256
            folder = theme / f"{width}x{width}" / "apps"
            folder.mkdir(parents=True, exist_ok=True)
            (folder / "morvex.png").write_bytes(picture)


if __name__ == "__main__":
    main(*map(pathlib.Path, sys.argv[1:]))
