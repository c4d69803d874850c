// A drawing as far as it has surfaces: blocks of meshes, and of places where other blocks stand.
#pragma once

#include <array>
#include <cstdint>
#include <gp_GTrsf.hxx>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace morvex {

struct DxfColour {
    static constexpr int kByBlock = 0, kByLayer = 256;
    int index = kByLayer;              // into the table of colours, or one of those
    std::optional<std::uint32_t> rgb;  // 0xrrggbb, instead of it
    std::optional<double> opacity;     // 0 to 1
    bool operator==(const DxfColour&) const = default;
    auto operator<=>(const DxfColour&) const = default;
};

// Red, green and blue of the table of 255 colours, each 0 to 255.
std::array<double, 3> TableColour(int index);

struct DxfMesh {
    std::string layer;
    DxfColour colour;
    std::vector<gp_XYZ> points;
    std::vector<std::uint32_t> corners;  // three a triangle
};

struct DxfInsert {
    std::string layer, block;
    DxfColour colour;
    gp_GTrsf place;
    gp_XYZ columnStep, rowStep;
    std::int64_t columns = 1, rows = 1;
};

struct DxfBlock {
    gp_XYZ base;
    bool isExternal = false;  // another drawing
    std::vector<DxfMesh> meshes;
    std::vector<DxfInsert> inserts;
};

struct DxfDrawing {
    double unit = 1;  // in millimetres
    bool saysUnit = false;
    std::map<std::string, DxfColour, std::less<>> layers;
    std::map<std::string, DxfBlock, std::less<>> blocks;  // that with the empty name is the drawing itself
    std::map<std::string, std::size_t> lost;              // entities that hold surfaces nobody here can read
    std::size_t flat = 0;                                 // curves, texts and the like
};

// Throws ReadError where the text contradicts itself; with `keepPartial`, an entity that does so counts as
// lost.
DxfDrawing ParseDxf(std::string_view text, bool keepPartial);

}  // namespace morvex
