// What an OBJ file holds: points, and polygons sorted by group and material.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace morvex {

struct ObjCorner {
    std::uint32_t point, texture, normal;  // kNone where there is no such
    static constexpr std::uint32_t kNone = UINT32_MAX;
    bool operator==(const ObjCorner&) const = default;
};

struct ObjPatch {
    std::string material;            // empty: none
    std::vector<ObjCorner> corners;  // three a triangle
};

struct ObjGroup {
    std::string name;
    std::vector<ObjPatch> patches;
};

struct ObjFile {
    std::vector<std::array<double, 3>> points;
    std::vector<std::array<float, 3>> colours;  // sRGB, for each point; empty when no point has one
    std::vector<std::array<float, 3>> normals;
    std::vector<std::array<float, 2>> texture;
    std::vector<ObjGroup> groups;
    std::vector<std::string> materialFiles;  // as they are named
    std::size_t curves = 0, surfaces = 0;    // lines and points; free-form surfaces, which are not read
    std::size_t lost = 0;                    // lines that make no sense
};

// Throws ReadError at a line that makes no sense; with `keepPartial` it goes on behind that.
ObjFile ParseObj(std::string_view text, bool keepPartial);

}  // namespace morvex
