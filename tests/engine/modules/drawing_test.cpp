// Drawings: what is seen and what is hidden, and that the three formats show the same.
#include <BRepAlgoAPI_Cut.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepPrimAPI_MakeSphere.hxx>
#include <BRep_Builder.hxx>
#include <TopoDS_Compound.hxx>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <numbers>
#include <sstream>
#include <zlib.h>

#include "engine/modules/drawing/projection.h"
#include "tests/engine/support/read_back.h"
#include "tests/engine/support/samples.h"
#include "tests/engine/support/worker_run.h"

namespace morvex::test {
namespace {

double LengthOf(const std::vector<Polyline>& lines) {
    double length = 0;
    for (const Polyline& line : lines) {
        for (std::size_t at = 1; at < line.size(); ++at)
            length += std::hypot(line[at][0] - line[at - 1][0], line[at][1] - line[at - 1][1]);
    }
    return length;
}

TopoDS_Shape Both(const TopoDS_Shape& a, const TopoDS_Shape& b) {
    TopoDS_Compound both;
    const BRep_Builder builder;
    builder.MakeCompound(both);
    builder.Add(both, a);
    builder.Add(both, b);
    return both;
}

// A box of 30 x 20 x 10 whose front is at y = 0.
TopoDS_Shape Box() {
    return BRepPrimAPI_MakeBox(30, 20, 10).Shape();
}

TEST(Projection, WhatIsSeenAndWhatIsHidden) {
    constexpr double kPi = std::numbers::pi;
    const gp_Ax2 back(gp_Pnt(15, 20, 5), gp::DY());
    const struct {
        const char* what;
        TopoDS_Shape shape;
        double visible, hidden;  // length from the front
        std::size_t lines;       // visible ones; 0: any number, as an outline jumps from edge to edge
    } cases[] = {
        {"a box", Box(), 80, 0, 1},
        {"a smaller one behind it", Both(Box(), BRepPrimAPI_MakeBox(gp_Pnt(5, 30, 2), 6, 5, 4).Shape()), 80,
         20, 1},
        {"a smaller one before it", Both(Box(), BRepPrimAPI_MakeBox(gp_Pnt(5, -9, 2), 6, 5, 4).Shape()), 100,
         0, 2},
        {"one that it covers by half", Both(Box(), BRepPrimAPI_MakeBox(gp_Pnt(5, 30, 5), 6, 5, 10).Shape()),
         96, 16, 2},
        {"a sphere", BRepPrimAPI_MakeSphere(10).Shape(), 20 * kPi, 0, 0},
        {"a hole through it",
         BRepAlgoAPI_Cut(Box(), BRepPrimAPI_MakeCylinder(gp_Ax2({15, -1, 5}, gp::DY()), 3, 30)).Shape(),
         80 + 6 * kPi, 0, 2},
        {"a hole across it",
         BRepAlgoAPI_Cut(Box(), BRepPrimAPI_MakeCylinder(gp_Ax2({15, 10, -1}, gp::DZ()), 3, 30)).Shape(), 80,
         20, 1},
        {"a bore from behind",
         BRepAlgoAPI_Cut(Box(),
                         BRepPrimAPI_MakeCylinder(back.Rotated(gp_Ax1({15, 20, 5}, gp::DX()), kPi), 3, 8))
             .Shape(),
         80, 6 * kPi, 1},
    };
    for (const auto& [what, shape, visible, hidden, lines] : cases) {
        SCOPED_TRACE(what);
        const BRepMesh_IncrementalMesh mesher(shape, 0.01, Standard_False, 0.08);
        const Projection front =
            Project(FindEdges(shape), {{1, 0, 0}, {0, 0, 1}, {0, -1, 0}}, [] { return true; });
        EXPECT_NEAR(LengthOf(front.visible), visible, visible * 0.01);
        EXPECT_NEAR(LengthOf(front.hidden), hidden, lines > 0 ? 0.2 : visible / 10);
        EXPECT_TRUE(lines == 0 || front.visible.size() == lines) << front.visible.size();
    }
}

// The length of the sharp edges between a triangle in the plane of X and Y and two others on its long side,
// with a triangle that is but a line between them.
double SharpInside(double bend) {
    const gp_Pnt points[] = {{0, 0, 0},
                             {10, 0, 0},
                             {5, 5, 0},
                             {4, 0, 0},
                             {2, -5 * std::cos(bend), 5 * std::sin(bend)},
                             {8, -5 * std::cos(bend), 5 * std::sin(bend)}};
    const int corners[][3] = {{1, 2, 3}, {1, 4, 2}, {1, 5, 4}, {4, 5, 6}, {4, 6, 2}};
    const Handle(Poly_Triangulation) mesh = new Poly_Triangulation(6, 5, Standard_False);
    for (int at = 0; at < 6; ++at) mesh->SetNode(at + 1, points[at]);
    for (int at = 0; at < 5; ++at)
        mesh->SetTriangle(at + 1, Poly_Triangle(corners[at][0], corners[at][1], corners[at][2]));
    TopoDS_Face face;
    BRep_Builder().MakeFace(face, mesh);
    const EdgedSurface surface = FindEdges(face);
    double length = 0;
    for (const EdgedSurface::Edge& edge : surface.edges) {
        const Vector3d &from = surface.points[edge.from], &to = surface.points[edge.to];
        if (edge.sharp && from[1] == 0 && to[1] == 0 && edge.opposite[0] != edge.opposite[1])
            length += std::abs(to[0] - from[0]);
    }
    return length;
}

TEST(Projection, TrianglesWithoutAreaPassBendsOn) {
    EXPECT_NEAR(SharpInside(std::numbers::pi / 2), 10, 1e-9);
    EXPECT_NEAR(SharpInside(0), 0, 1e-9);
}

// The dark parts of a picture with one pixel a millimetre of the sheet, as some program draws the file.
struct Ink {
    static constexpr int kWidth = 420, kHeight = 297;
    std::vector<bool> dark = std::vector<bool>(kWidth * kHeight);

    // Within a pixel or so of the point.
    bool Near(double x, double y) const {
        for (int row = -1; row <= 1; ++row) {
            for (int column = -1; column <= 1; ++column) {
                const int px = static_cast<int>(x) + column, py = static_cast<int>(kHeight - y) + row;
                if (px >= 0 && px < kWidth && py >= 0 && py < kHeight &&
                    dark[static_cast<std::size_t>(py * kWidth + px)])
                    return true;
            }
        }
        return false;
    }
};

// `command` leaves a grey picture in PGM.
Ink InkOf(const std::string& command, const std::string& picture) {
    Ink ink;
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
    const std::string bytes = ReadWhole(picture);
    const std::string size = std::to_string(Ink::kWidth) + " " + std::to_string(Ink::kHeight);
    EXPECT_NE(bytes.substr(0, 30).find(size), std::string::npos) << bytes.substr(0, 30);
    if (bytes.size() < ink.dark.size()) return ink;
    const std::size_t start = bytes.size() - ink.dark.size();
    for (std::size_t at = 0; at < ink.dark.size(); ++at)
        ink.dark[at] = static_cast<unsigned char>(bytes[start + at]) < 235;
    return ink;
}

// Each point of the DXF file's lines has ink in the others, and there is no more ink in one than in the
// other.
TEST(Drawing, AllFormatsShowTheSame) {
    const ScratchFolder folder;
    WriteAssembly(folder / "asm.step");
    for (const std::string& input : {std::string(folder / "asm.step"), Sample("step/screw.step")}) {
        SCOPED_TRACE(input);
        for (const char* format : {"DXF", "PDF 2D", "EMF"}) {
            const std::string output = folder / (format == std::string("DXF")   ? "a.dxf"
                                                 : format == std::string("EMF") ? "a.emf"
                                                                                : "a.pdf");
            ASSERT_EQ(RunWorker({"--to", format, input, output}).code, 0) << format;
            EXPECT_EQ(ReadWhole(output + "-zel.xml").find("<warning>"), std::string::npos);
        }
        const Facts in = ReadBack(input), dxf = ReadBack(folder / "a.dxf");
        EXPECT_EQ(dxf.faults, std::set<std::string>());
        for (std::size_t axis = 0; axis < 3; ++axis) {
            EXPECT_NEAR(dxf.low[axis], in.low[axis], in.Diagonal() * 5e-3);
            EXPECT_NEAR(dxf.high[axis], in.high[axis], in.Diagonal() * 5e-3);
        }
        const std::string base = folder / "a";
        const Ink pdf = InkOf("pdftoppm -scale-to-x 420 -scale-to-y 297 -gray -singlefile '" + base +
                                  ".pdf' '" + base + "'",
                              base + ".pgm"),
                  emf = InkOf("emf2svg-conv -i '" + base + ".emf' -o '" + base +
                                  ".svg' && rsvg-convert -b white -w 420 -h 297 '" + base +
                                  ".svg' | pngtopnm | ppmtopgm >'" + base + ".pgm'",
                              base + ".pgm");
        std::size_t visible = 0, missing = 0;
        for (const auto& [layer, points] : dxf.lines) {
            for (std::size_t at = 0; at + 1 < points.size() && layer != "HIDDEN"; at += 2) {
                ++visible;
                missing += !pdf.Near(points[at], points[at + 1]) || !emf.Near(points[at], points[at + 1]);
            }
        }
        EXPECT_GT(visible, 100u);
        EXPECT_EQ(missing, 0u);
        std::size_t drawn = 0, alone = 0;
        for (int y = 0; y < Ink::kHeight; ++y) {
            for (int x = 0; x < Ink::kWidth; ++x) {
                if (!pdf.dark[static_cast<std::size_t>(y * Ink::kWidth + x)]) continue;
                ++drawn;
                alone += !emf.Near(x, Ink::kHeight - y);
            }
        }
        EXPECT_LT(alone, drawn / 50) << "dashes may be elsewhere";
    }
}

// Readers of PDF compute in single precision.
TEST(Drawing, NumbersOfPdfStaySmallFarFromTheOrigin) {
    const ScratchFolder folder;
    WriteWhole(folder / "in.obj",
               "v 1e7 -3e7 0\nv 10000010 -3e7 0\nv 1e7 -29999990 0\nv 1e7 -3e7 10\n"
               "f 1 3 2\nf 1 2 4\nf 2 3 4\nf 1 4 3\n");
    ASSERT_EQ(RunWorker({"--to", "PDF 2D", folder / "in.obj", folder / "out.pdf"}).code, 0);
    EXPECT_EQ(ReadWhole(folder / "out.pdf-zel.xml").find("<warning>"), std::string::npos)
        << "the box is found";
    const std::string pdf = ReadWhole(folder / "out.pdf");
    const std::size_t start = pdf.find("stream\n") + 7;
    std::string page(1 << 20, '\0');
    auto size = static_cast<uLongf>(page.size());
    ASSERT_EQ(uncompress(reinterpret_cast<Bytef*>(page.data()), &size,
                         reinterpret_cast<const Bytef*>(pdf.data() + start),
                         static_cast<uLong>(pdf.size() - start)),
              Z_OK);
    std::istringstream lines(page.substr(0, size));
    std::size_t drawn = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with('%')) continue;
        drawn += line.ends_with(" S");
        std::istringstream words(line);
        for (std::string word; words >> word;) EXPECT_LT(std::abs(std::atof(word.c_str())), 1000) << line;
    }
    EXPECT_GT(drawn, 8u);
}

TEST(Drawing, TheScaleIsAUsualOneAtWhichTheViewsFit) {
    const ScratchFolder folder;
    const struct {
        const char *size, *scale;
    } cases[] = {
        {"10", "Scale 5:1"}, {"40", "Scale 2:1"}, {"400", "Scale 1:5"}, {"0.0004", "Scale 200000:1"}};
    for (const auto& [size, scale] : cases) {
        const std::string s = size;
        WriteWhole(folder / "in.obj", "v 0 0 0\nv " + s + " 0 0\nv 0 " + s + " 0\nv 0 0 " + s +
                                          "\nf 1 3 2\nf 1 2 4\nf 2 3 4\nf 1 4 3\n");
        ASSERT_EQ(RunWorker({"--to", "DXF", folder / "in.obj", folder / "out.dxf"}).code, 0);
        const Facts drawing = ReadBack(folder / "out.dxf");
        EXPECT_TRUE(drawing.texts.contains(scale)) << size;
        double largest = 0;
        for (const auto& [layer, points] : drawing.lines) {
            for (std::size_t at = 0; at < points.size() && layer != "FRAME"; at += 2) {
                EXPECT_TRUE(points[at] > 10 && points[at] < 410 && points[at + 1] > 34 &&
                            points[at + 1] < 287);
                largest = std::max(largest, points[at + 1]);
            }
        }
        EXPECT_GT(largest, 150) << "the sheet is used";
    }
}

}  // namespace
}  // namespace morvex::test
