// Colours at the vertices of a mesh. A face has one colour, so the triangles are sorted by theirs.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

namespace morvex {

using VertexColour = std::array<float, 4>;  // red, green, blue, alpha, each 0 to 1

struct ColouredCorners {
    VertexColour colour;
    std::vector<std::uint32_t> corners;  // three a triangle
};

// Each triangle with the mean colour of its corners. Where there would be too many colours, similar ones
// become one.
std::vector<ColouredCorners> GroupByColour(const std::vector<std::uint32_t>& corners,
                                           const std::function<VertexColour(std::uint32_t vertex)>& colourOf);

}  // namespace morvex
