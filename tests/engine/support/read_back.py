"""What a DXF file or a parts list holds, as lines of a word and its values, for the tests.

  box LOW HIGH, area A, volume V, triangles N, solids N, faces N, name TEXT, colour R G B A (0 to 1), fault TEXT;
  of a drawing also: line LAYER X Y X Y ... (on the sheet, in millimetres), text HEIGHT TEXT
"""

import sys
import xml.etree.ElementTree as xml


class Mesh:
    def __init__(self):
        self.low, self.high = [1e300] * 3, [-1e300] * 3
        self.area = self.volume = 0.0
        self.count = 0

    def reach(self, axis, value):
        self.low[axis], self.high[axis] = min(self.low[axis], value), max(self.high[axis], value)

    def add(self, a, b, c):
        for point in (a, b, c):
            for axis, value in enumerate(point):
                self.reach(axis, value)
        self.area += (b - a).cross(c - a).magnitude / 2
        self.volume += a.dot(b.cross(c)) / 6
        self.count += 1


def tell_drawing(document):
    box = Mesh()
    for name, axes in {"FRONT": (0, 2), "TOP": (0, 1), "RIGHT": (1, 2)}.items():
        for line in document.blocks[name].query("LWPOLYLINE"):
            for point in line.get_points("xy"):
                for axis, value in zip(axes, point):
                    box.reach(axis, value)
    print("box", *box.low, *box.high)
    # The dashes of a drawing are as much longer as it is larger than its sheet.
    scale = 1 / document.header["$LTSCALE"]
    for entity in disassemble.recursive_decompose(document.modelspace()):
        if entity.dxftype() == "LWPOLYLINE":
            points = [value * scale for point in entity.get_points("xy") for value in point]
            print("line", entity.dxf.layer, *points)
        elif entity.dxftype() == "TEXT":
            print("text", entity.dxf.height * scale, entity.dxf.text)


def tell_dxf(path):
    document = ezdxf.readfile(path)
    audit = document.audit()
    for fault in [*audit.errors, *audit.fixes]:
        print("fault", fault.message)
    for block in document.blocks:
        print("name", block.name)
    if "FRONT" in document.blocks:
        return tell_drawing(document)
    mesh, colours = Mesh(), set()
    for face in disassemble.recursive_decompose(document.modelspace()):
        if face.dxftype() == "3DFACE":
            mesh.add(face.dxf.vtx0, face.dxf.vtx1, face.dxf.vtx2)
            layer = document.layers.get(face.dxf.layer)
            if layer.rgb:
                colours.add((*layer.rgb, 255 * (1 - face.transparency)))
    print("box", *mesh.low, *mesh.high)
    print("area", mesh.area)
    print("volume", mesh.volume)
    print("triangles", mesh.count)
    for colour in colours:
        print("colour", *(value / 255 for value in colour))


def tell_parts_list(path):
    root = xml.parse(path).getroot()
    items = {item.get("id"): item for item in root if item.get("id")}
    colours, sums = set(), dict.fromkeys(("area", "volume", "solids", "faces", "triangles"), 0)

    def visit(item):
        for child in item.findall("item"):
            visit(items[child.get("of")])
        for key in ("solids", "faces", "triangles"):
            sums[key] += int(item.get(key, 0))
        for size in item.findall("size"):
            for key in ("area", "volume"):
                sums[key] += float(size.get(key, 0))

    visit(root.find("model"))
    for element in root.iter():
        if element.get("name"):
            print("name", element.get("name"))
        colours.update(text for text in (element.get("colour"), element.get("value")) if text)
    for key, number in sums.items():
        print(key, number)
    for colour in colours:
        print("colour", *(int(colour[at : at + 2], 16) / 255 for at in (1, 3, 5, 7)))


if sys.argv[1].endswith(".xml"):
    tell_parts_list(sys.argv[1])
else:
    import ezdxf
    from ezdxf import disassemble

    tell_dxf(sys.argv[1])
