// Triangles to pixels, with depth, light, edges and transparency.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace morvex {

struct Vector3 {
    float x = 0, y = 0, z = 0;
};

struct Colour4 {
    float red = 0, green = 0, blue = 0, alpha = 1;  // sRGB, 0 to 1
};

// In pixels of the picture, x to the right and y down; z grows towards the viewer, in the same unit. The
// normal has any length and either direction.
struct Corner {
    Vector3 point, normal;
};
using CornerTriple = std::array<Corner, 3>;

class Rasteriser {
  public:
    // The background is white.
    Rasteriser(int width, int height);

    // Draws a triangle. First all opaque ones, in any order; then, after FinishLayer, the others from back to
    // front, whose nearest ones count for the edges.
    void Draw(const CornerTriple& triangle, const Colour4& colour);
    // Draws lines where the surface bends sharply or ends before what lies behind it.
    void FinishLayer();

    // Rows from the top, three bytes a pixel.
    std::vector<std::uint8_t> Pixels() const;

  private:
    // Each pixel of the picture is so many samples wide and high.
    static constexpr int kSamples = 2;
    // Small, since the time goes into getting at them.
    struct Sample {
        float depth;                         // of the nearest opaque surface
        float layerDepth;                    // of the nearest surface of this layer
        std::array<std::int8_t, 4> normal;   // of that, towards the viewer, times 127
        std::array<std::uint8_t, 4> colour;  // red, green, blue
    };
    bool IsEdge(const Sample& sample, const Sample& neighbour) const;
    std::size_t IndexOf(int x, int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(x);
    }
    Sample& At(int x, int y) { return samples_[IndexOf(x, y)]; }

    int width_, height_;  // in samples
    bool layerIsEmpty_ = true;
    std::vector<Sample> samples_;
};

}  // namespace morvex
