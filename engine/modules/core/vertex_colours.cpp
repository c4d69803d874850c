#include "engine/modules/core/vertex_colours.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace morvex {
namespace {

constexpr std::size_t kMostColours = 256;

// Triangles of each colour, told apart by the highest `bits` of each channel.
std::unordered_map<std::uint32_t, std::vector<std::size_t>> Sorted(const std::vector<VertexColour>& colours,
                                                                   int bits) {
    std::unordered_map<std::uint32_t, std::vector<std::size_t>> sorted;
    for (std::size_t triangle = 0; triangle < colours.size(); ++triangle) {
        std::uint32_t key = 0;
        for (const float value : colours[triangle])
            key = key << 8 | static_cast<std::uint32_t>(std::lround(value * 255.f)) >> (8 - bits);
        sorted[key].push_back(triangle);
        if (sorted.size() > kMostColours && bits > 1) break;
    }
    return sorted;
}

}  // namespace

std::vector<ColouredCorners> GroupByColour(
    const std::vector<std::uint32_t>& corners,
    const std::function<VertexColour(std::uint32_t vertex)>& colourOf) {
    std::vector<VertexColour> colours(corners.size() / 3);
    for (std::size_t at = 0; at < colours.size() * 3; ++at) {
        const VertexColour colour = colourOf(corners[at]);
        for (std::size_t channel = 0; channel < colour.size(); ++channel) {
            const float value = std::isfinite(colour[channel]) ? std::clamp(colour[channel], 0.f, 1.f) : 0.f;
            colours[at / 3][channel] += value / 3;
        }
    }
    for (VertexColour& colour : colours)
        for (float& value : colour) value = std::min(value, 1.f);
    int bits = 8;
    auto sorted = Sorted(colours, bits);
    while (sorted.size() > kMostColours && bits > 1) sorted = Sorted(colours, --bits);

    std::vector<ColouredCorners> groups;
    for (const auto& [key, triangles] : sorted) {
        ColouredCorners& group = groups.emplace_back();
        group.colour.fill(0);
        for (const std::size_t triangle : triangles) {
            for (std::size_t channel = 0; channel < group.colour.size(); ++channel)
                group.colour[channel] += colours[triangle][channel] / static_cast<float>(triangles.size());
            group.corners.insert(group.corners.end(),
                                 corners.begin() + static_cast<std::ptrdiff_t>(triangle * 3),
                                 corners.begin() + static_cast<std::ptrdiff_t>(triangle * 3 + 3));
        }
    }
    // In the order of the file, so that the same input gives the same output.
    std::ranges::sort(groups, {}, [&](const ColouredCorners& group) { return group.corners; });
    for (ColouredCorners& group : groups)
        for (float& value : group.colour) value = std::min(value, 1.f);
    return groups;
}

}  // namespace morvex
