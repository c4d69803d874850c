// Inputs that the tests make themselves.
#pragma once

#include <array>
#include <string>
#include <vector>

namespace morvex::test {

// A box from (1, 2, 3) to (11, 22, 33) millimetres.
constexpr double kBoxLow[] = {1, 2, 3}, kBoxHigh[] = {11, 22, 33};
// Its eight corners in units of so many millimetres, and its sides, each seen from outside.
using Corner = std::array<double, 3>;
std::vector<Corner> BoxCorners(double unit = 1);
constexpr int kBoxSides[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4},
                                 {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};

// An assembly of two levels: twice a pair of a red box with one blue face and a half transparent green
// cylinder, the second pair turned and moved. Names are not ASCII; one layer; one dimension with a tolerance.
constexpr char kBoxName[] = "Коробка <1> & \"2\"", kCylinderName[] = "圆柱", kPairName[] = "пара",
               kTopName[] = "сборка 😀";
// With `apart` each part is in a file of its own beside it, which the assembly refers to.
void WriteAssembly(const std::string& stepPath, bool apart = false);

// A grey box twice, the second instance blue, and beside that assembly a red cylinder.
void WriteColouredPlaces(const std::string& stepPath);

// Two boxes of 10 mm side by side, the second one hidden, and beside them a curve that bounds no face.
void WriteHiddenAndWire(const std::string& stepPath);

// A cylinder with its surfaces and a mesh of theirs, coarser than any that the engine makes by itself.
void WriteMeshedCylinder(const std::string& brepPath);

// The box above in formats written by hand: FBX as text in centimetres and Y up, IFC in millimetres, DXF in
// inches.
std::string FbxBox();
std::string IfcBox();
std::string DxfBox();
// In glTF 2, in metres and Z up as it stands there, red; `nodes` is the array of the scene's nodes, of which
// the first is the root and mesh 0 is the box.
std::string GltfBox(const std::string& nodes);

// STEP with two triangles of one square inch together, as a product without surfaces: #6 is its definition.
std::string TessellatedPlate();

// The text with what stands in it for certain replaced, where it first does.
std::string Replaced(std::string text, const std::string& what, const std::string& by);

}  // namespace morvex::test
