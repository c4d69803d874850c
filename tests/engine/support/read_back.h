// What a file holds, as libraries other than the engine's own code read it.
#pragma once

#include <array>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace morvex::test {

struct Facts {
    bool read = false;
    std::array<double, 3> low{1e300, 1e300, 1e300}, high{-1e300, -1e300, -1e300};  // millimetres, Z up
    double area = 0, volume = 0;  // of the triangles; the volume is signed
    long triangles = 0, solids = 0, faces = 0;
    long trianglesWithNormals = 0;  // that lead to the side from which the corners go counter-clockwise
    std::set<std::string> names;
    std::set<std::string> colours;  // "rrggbbaa", sRGB, in steps of 1/16 so that rounding does not matter

    // Of a drawing as DXF: its lines on the sheet, x and y in millimetres, with the layer of each; its texts.
    std::vector<std::pair<std::string, std::vector<double>>> lines;
    std::set<std::string> texts;
    std::set<std::string> faults;  // that the reader complains about

    double Diagonal() const;
};

// By the suffix: B-rep formats, STL, OBJ, glTF and VRML by Open CASCADE, Collada, FBX and 3MF by assimp, DXF
// and parts lists by the script beside this file.
Facts ReadBack(const std::string& path);

// Any mesh format by assimp.
Facts ReadByAssimp(const std::string& path);

// What the format's reference library, told to be strict, finds wrong with a 3MF file; empty: nothing.
std::string ThreeMfComplaint(const std::string& path);

}  // namespace morvex::test
