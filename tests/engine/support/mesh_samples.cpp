#include "tests/engine/support/mesh_samples.h"

#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

#include "tests/engine/support/samples.h"
#include "tests/engine/support/worker_run.h"

namespace morvex::test {
namespace {

using Turn = Corner (*)(const Corner&);
Corner Same(const Corner& c) {
    return c;
}
Corner YUpMirrored(const Corner& c) {
    return {-c[0], c[2], -c[1]};
}

// The corners in units of so many millimetres, as the file turns them; `form` holds "x", "y" and "z".
std::string Points(double unit, Turn turn, const std::string& form) {
    std::ostringstream text;
    text.precision(12);
    for (const Corner& corner : BoxCorners(unit)) {
        const Corner turned = turn(corner);
        for (const char c : form) {
            if (c >= 'x' && c <= 'z')
                text << turned[static_cast<std::size_t>(c - 'x')];
            else
                text << c;
        }
    }
    return text.str();
}

// Two triangles a side, seen from outside or from inside; `form` holds "a", "b" and "c".
std::string Triangles(bool outside, const std::string& form) {
    std::string text;
    for (const auto& side : kBoxSides) {
        for (const int second : {1, 2}) {
            const int corners[] = {side[0], side[outside ? second : second + 1],
                                   side[outside ? second + 1 : second]};
            for (const char c : form)
                text += c >= 'a' && c <= 'c' ? std::to_string(corners[c - 'a']) : std::string(1, c);
        }
    }
    return text;
}

}  // namespace

std::string X3dBox() {
    return "<?xml version=\"1.0\"?><X3D version=\"3.0\"><Scene><Transform scale=\"-1 1 "
           "1\"><Shape><Appearance>"
           "<Material diffuseColor=\"1 0 0\"/></Appearance><IndexedFaceSet coordIndex=\"" +
           Triangles(false, "a b c -1 ") + "\"><Coordinate point=\"" + Points(1000, YUpMirrored, "x y z ") +
           "\"/></IndexedFaceSet></Shape></Transform></Scene></X3D>";
}

namespace {

// The elements' own names have letters of the form in them, so they are put in behind.
std::string Tagged(std::string text, const std::string& outer, const std::string& prefix) {
    std::istringstream numbers(text);
    std::string all;
    for (std::string a, b, c; numbers >> a >> b >> c;)
        all += "<" + outer + "><" + prefix + "1>" + a + "</" + prefix + "1><" + prefix + "2>" + b + "</" +
               prefix + "2><" + prefix + "3>" + c + "</" + prefix + "3></" + outer + ">";
    return all;
}

}  // namespace

std::string AmfBox() {
    std::string points = Tagged(Points(25.4, Same, "x y z "), "coordinates", "v");
    const std::pair<const char*, const char*> names[] = {{"v1>", "x>"},
                                                         {"v2>", "y>"},
                                                         {"v3>", "z>"},
                                                         {"<coordinates>", "<vertex><coordinates>"},
                                                         {"</coordinates>", "</coordinates></vertex>"}};
    for (const auto& [from, to] : names) {
        for (std::size_t at = 0; (at = points.find(from, at)) != std::string::npos; at += std::strlen(to))
            points.replace(at, std::strlen(from), to);
    }
    return "<?xml version=\"1.0\"?><amf unit=\"inch\"><object "
           "id=\"1\"><color><r>1</r><g>0</g><b>0</b></color><mesh>"
           "<vertices>" +
           points + "</vertices><volume>" + Tagged(Triangles(true, "a b c "), "triangle", "v") +
           "</volume></mesh></object></amf>";
}

std::string ColladaBox() {
    return "<?xml version=\"1.0\"?><COLLADA xmlns=\"http://www.collada.org/2005/11/COLLADASchema\" "
           "version=\"1.4.1\">"
           "<asset><unit name=\"inch\" meter=\"0.0254\"/><up_axis>Y_UP</up_axis></asset><library_effects>"
           "<effect id=\"e\"><profile_COMMON><technique sid=\"c\"><lambert><diffuse><color>1 0 0 "
           "1</color></diffuse>"
           "</lambert></technique></profile_COMMON></effect></library_effects><library_materials><material "
           "id=\"m\">"
           "<instance_effect url=\"#e\"/></material></library_materials><library_geometries><geometry "
           "id=\"g\"><mesh>"
           "<source id=\"p\"><float_array id=\"pa\" count=\"24\">" +
           Points(25.4, YUpMirrored, "x y z ") +
           "</float_array><technique_common><accessor source=\"#pa\" count=\"8\" stride=\"3\"><param "
           "name=\"X\" "
           "type=\"float\"/><param name=\"Y\" type=\"float\"/><param name=\"Z\" type=\"float\"/></accessor>"
           "</technique_common></source><vertices id=\"v\"><input semantic=\"POSITION\" "
           "source=\"#p\"/></vertices>"
           "<triangles count=\"12\" material=\"s\"><input semantic=\"VERTEX\" source=\"#v\" "
           "offset=\"0\"/><p>" +
           Triangles(false, "a b c ") +
           "</p></triangles></mesh></geometry></library_geometries><library_visual_scenes><visual_scene "
           "id=\"vs\">"
           "<node id=\"n\" name=\"mirrored\"><scale>-1 1 1</scale><instance_geometry "
           "url=\"#g\"><bind_material>"
           "<technique_common><instance_material symbol=\"s\" "
           "target=\"#m\"/></technique_common></bind_material>"
           "</instance_geometry></node></visual_scene></library_visual_scenes><scene><instance_visual_scene "
           "url=\"#vs\"/></scene></COLLADA>";
}

std::string PlyBox() {
    std::string text =
        "ply\rformat ascii 1.0\rcomment a box\relement vertex 8\rproperty double x\rproperty double y\r"
        "property double z\rproperty uchar red\rproperty uchar green\rproperty uchar blue\relement face 6\r"
        "property list uchar int vertex_indices\relement edge 1\rproperty int vertex1\rproperty int vertex2\r"
        "end_header\r" +
        Points(1, Same, "x y z 255 0 0\r");
    for (const auto& side : kBoxSides) {
        text += "4";
        for (const int corner : side) text += " " + std::to_string(corner);
        text += "\r";
    }
    return text + "0 1\r";
}

std::string BinaryPlyBox(bool bigEndian) {
    const auto put = [&](std::string& bytes, auto number) {
        char raw[sizeof number];
        std::memcpy(raw, &number, sizeof number);
        bytes += bigEndian ? std::string(std::rbegin(raw), std::rend(raw)) : std::string(raw, sizeof raw);
    };
    std::string bytes = std::string("ply\nformat binary_") + (bigEndian ? "big" : "little") +
                        "_endian 1.0\nelement vertex 8\nproperty float32 x\nproperty float32 y\nproperty "
                        "float32 z\nelement face 6\nproperty float32 red\nproperty float32 green\nproperty "
                        "float32 blue\nproperty list uint16 uint8 vertex_index\nend_header\n";
    for (const Corner& corner : BoxCorners())
        for (const double value : corner) put(bytes, static_cast<float>(value));
    for (const auto& side : kBoxSides) {
        for (const float channel : {1.f, 0.f, 0.f}) put(bytes, channel);
        put(bytes, std::uint16_t{4});
        for (const int corner : side) put(bytes, static_cast<std::uint8_t>(corner));
    }
    return bytes;
}

std::string OffBox() {
    std::string text = "# a box\nOFF\n8 6\n" + Points(1, Same, "x y z # a point\n") + "\n";
    for (const auto& side : kBoxSides) {
        text += "4 ";
        for (const int corner : side) text += " " + std::to_string(corner);
        text += " 1.0 0 0\n";
    }
    return text;
}

std::string VrmlBox() {
    const Turn mirrored = [](const Corner& c) { return Corner{-c[0], c[1], c[2]}; };
    return "#VRML V2.0 utf8\nPROTO Part [ field SFColor colour 0 1 0 exposedField MFVec3f points [] ] { "
           "Shape { "
           "appearance Appearance { material Material { diffuseColor IS colour } } geometry IndexedFaceSet { "
           "coord Coordinate { point IS points } coordIndex [" +
           Triangles(true, "a, b, c, -1, ") +
           "] ccw FALSE } } }\nDEF mirrored Transform { scale -1 1 1 # of the whole\n children [ Part { "
           "colour 1 "
           "0 0 points [" +
           Points(1, mirrored, "x y z, ") + "] } Viewpoint { position 0 0 9 } ] }\n";
}

// In centimetres; the place of its one item mirrors.
std::string ThreeMfModel() {
    const auto tag = [](const std::string& numbers, const std::string& element, const char* const names[3]) {
        std::istringstream list(numbers);
        std::string all;
        for (std::string a, b, c; list >> a >> b >> c;)
            all += "<" + element + " " + names[0] + "=\"" + a + "\" " + names[1] + "=\"" + b + "\" " +
                   names[2] + "=\"" + c + "\"/>";
        return all;
    };
    static constexpr const char* kAxes[] = {"x", "y", "z"};
    static constexpr const char* kCorners[] = {"v1", "v2", "v3"};
    const Turn mirrored = [](const Corner& c) { return Corner{-c[0], c[1], c[2]}; };
    return "<?xml version=\"1.0\"?><model unit=\"centimeter\" "
           "xmlns=\"http://schemas.microsoft.com/3dmanufacturing/core/2015/02\"><resources><basematerials "
           "id=\"2\">"
           "<base name=\"red\" displaycolor=\"#FF0000FF\"/></basematerials><object id=\"1\" type=\"model\" "
           "pid=\"2\" pindex=\"0\"><mesh><vertices>" +
           tag(Points(10, mirrored, "x y z "), "vertex", kAxes) + "</vertices><triangles>" +
           tag(Triangles(false, "a b c "), "triangle", kCorners) +
           "</triangles></mesh></object></resources><build><item objectid=\"1\" "
           "transform=\"-1 0 0 0 1 0 0 0 1 0 0 0\"/></build></model>";
}

void WriteThreeMf(const std::filesystem::path& path, const std::string& model, const std::string& other) {
    const ScratchFolder parts;
    WriteWhole(parts / "model", model);
    WriteWhole(parts / "other", other);
    WriteWhole(parts / "rels",
               "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
               "<Relationship Target=\"/3D/3dmodel.model\" Id=\"r\" "
               "Type=\"http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel\"/></Relationships>");
    const std::string pack =
        "import zipfile as z; p = z.ZipFile('" + path.string() +
        "', 'w', 8); p.write('rels', '_rels/.rels'); p.write('model', '3D/3dmodel.model'); "
        "p.write('other', '3D/other.model')";
    const std::string command = "cd '" + parts.Path().string() + "' && /usr/bin/python3 -c \"" + pack + "\"";
    ASSERT_EQ(std::system(command.c_str()), 0);
}

void WriteMeshBoxes(const std::filesystem::path& folder) {
    WriteWhole(folder / "box.ply", PlyBox());
    WriteWhole(folder / "box.off", OffBox());
    WriteWhole(folder / "box.wrl", VrmlBox());
    WriteWhole(folder / "box.x3d", X3dBox());
    WriteWhole(folder / "box.amf", AmfBox());
    WriteWhole(folder / "box.dae", ColladaBox());
    WriteThreeMf(folder / "box.3mf", ThreeMfModel());
    std::ofstream obj(folder / "raw.obj");
    obj << Points(1, Same, "v x y z\n");
    for (const auto& side : kBoxSides) {
        obj << "f";
        for (const int corner : side) obj << " " << corner + 1;
        obj << "\n";
    }
    obj.close();
    const std::string command = "cd '" + folder.string() + "' && assimp export raw.obj box.3ds >/dev/null";
    ASSERT_EQ(std::system(command.c_str()), 0);
}

}  // namespace morvex::test
