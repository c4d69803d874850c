// Inputs of mesh formats written by hand: each holds the box in units, axes and places of its own.
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

#include "tests/engine/support/read_back.h"
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

std::string X3dBox() {
    return "<?xml version=\"1.0\"?><X3D version=\"3.0\"><Scene><Transform scale=\"-1 1 "
           "1\"><Shape><Appearance>"
           "<Material diffuseColor=\"1 0 0\"/></Appearance><IndexedFaceSet coordIndex=\"" +
           Triangles(false, "a b c -1 ") + "\"><Coordinate point=\"" + Points(1000, YUpMirrored, "x y z ") +
           "\"/></IndexedFaceSet></Shape></Transform></Scene></X3D>";
}

// The elements' own names have letters of the form in them, so they are put in behind.
std::string Tagged(std::string text, const std::string& outer, const std::string& prefix) {
    std::istringstream numbers(text);
    std::string all;
    for (std::string a, b, c; numbers >> a >> b >> c;)
        all += "<" + outer + "><" + prefix + "1>" + a + "</" + prefix + "1><" + prefix + "2>" + b + "</" +
               prefix + "2><" + prefix + "3>" + c + "</" + prefix + "3></" + outer + ">";
    return all;
}

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

// The model of a package, in centimetres; the place of its one item mirrors.
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

class MeshInputs : public testing::Test {
  protected:
    void SetUp() override {
        WriteWhole(folder_ / "box.x3d", X3dBox());
        WriteWhole(folder_ / "box.amf", AmfBox());
        WriteWhole(folder_ / "box.dae", ColladaBox());
        WriteWhole(folder_ / "model", ThreeMfModel());
        WriteWhole(folder_ / "raw.obj", Points(1, Same, "v x y z\n"));
        const std::string in = "cd '" + folder_.Path().string() + "' && ";
        WriteWhole(folder_ / "rels",
                   "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
                   "<Relationship Target=\"/3D/3dmodel.model\" Id=\"r\" "
                   "Type=\"http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel\"/></Relationships>");
        const std::string pack =
            "import zipfile as z; p = z.ZipFile('box.3mf', 'w', 8); "
            "p.write('rels', '_rels/.rels'); p.write('model', '3D/3dmodel.model')";
        ASSERT_EQ(std::system((in + "/usr/bin/python3 -c \"" + pack + "\"").c_str()), 0);
        std::ofstream obj(folder_ / "raw.obj", std::ios::app);
        for (const auto& side : kBoxSides) {
            obj << "f";
            for (const int corner : side) obj << " " << corner + 1;
            obj << "\n";
        }
        obj.close();
        ASSERT_EQ(std::system((in + "assimp export raw.obj box.3ds >/dev/null").c_str()), 0);
    }
    const ScratchFolder folder_;
};

TEST_F(MeshInputs, UnitsAxesColoursAndMirroring) {
    const struct {
        const char *name, *unit;
        bool red;
    } cases[] = {{"box.x3d", "1000", true},
                 {"box.amf", "25.4", true},
                 {"box.dae", "25.4", true},
                 {"box.3mf", "10", true},
                 {"box.3ds", "", false}};
    for (const auto& [name, unit, red] : cases) {
        SCOPED_TRACE(name);
        const WorkerRun run = RunWorker({folder_ / name, folder_ / "out.glb"});
        ASSERT_EQ(run.code, 0) << run.errors;
        const Facts out = ReadBack(folder_ / "out.glb");
        for (std::size_t axis = 0; axis < 3; ++axis) {
            EXPECT_NEAR(out.low[axis], kBoxLow[axis], 1e-3);
            EXPECT_NEAR(out.high[axis], kBoxHigh[axis], 1e-3);
        }
        EXPECT_NEAR(out.volume, 6000, 1) << "not inside out";
        EXPECT_EQ(out.triangles, 12);
        EXPECT_EQ(out.colours.contains("16000016"), red);
        const std::string report = ReadWhole(folder_ / "out.glb-zel.xml");
        EXPECT_TRUE(*unit == '\0' || report.find("unit=\"" + std::string(unit) + "\"") != std::string::npos)
            << report;
    }
}

// Wrong contents, a missing end, a corner that is not there, a triangle that does not arrive, another file.
TEST_F(MeshInputs, WhatIsWrongIsSaid) {
    WriteWhole(folder_ / "other.x3d", X3dBox());
    const auto without = [](std::string text, const std::string& what, const std::string& by) {
        return text.replace(text.find(what), what.size(), by);
    };
    const struct {
        const char* name;
        std::string contents;
        int code;
    } cases[] = {
        {"a.x3d", "hello", 29},
        {"a.3mf", "hello", 29},
        {"a.3ds", "hello", 29},
        {"a.amf", "PK\3\4hello", 27},
        {"a.dae", ColladaBox().substr(0, 1500), 5},
        {"b.dae", without(ColladaBox(), "</float_array>", ""), 5},
        {"c.amf", without(AmfBox(), "<v1>0</v1>", "<v1>99</v1>"), 5},
        {"d.3ds", ReadWhole(folder_ / "box.3ds").substr(0, 200), 5},
        {"e.x3d", "<X3D><Scene><Inline url=\"other.x3d\"/></Scene></X3D>", 5},
    };
    for (const auto& [name, contents, code] : cases) {
        WriteWhole(folder_ / name, contents);
        const WorkerRun run = RunWorker({folder_ / name, folder_ / "out.stl"});
        EXPECT_EQ(run.code, code) << name << ": " << run.errors;
    }
}

}  // namespace
}  // namespace morvex::test
