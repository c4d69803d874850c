#include <algorithm>
#include <cmath>

#include "engine/modules/dxf_reader/dxf_drawing.h"

namespace morvex {

// 1 to 9 are fixed, 250 to 255 are greys. In between there are 24 hues, 15 degrees apart, each in five steps
// of brightness, of which the odd ones are mixed with half as much grey.
std::array<double, 3> TableColour(int index) {
    constexpr std::array<double, 3> kFirst[] = {
        {255, 255, 255}, {255, 0, 0},   {255, 255, 0},   {0, 255, 0},     {0, 255, 255},
        {0, 0, 255},     {255, 0, 255}, {255, 255, 255}, {128, 128, 128}, {192, 192, 192}};
    constexpr double kGreys[] = {51, 91, 132, 173, 214, 255}, kBrightness[] = {255, 165, 127, 76, 38};
    if (index < 0 || index > 255) index = 7;
    if (index < 10) return kFirst[index];
    if (index >= 250) return {kGreys[index - 250], kGreys[index - 250], kGreys[index - 250]};
    const int turn = index / 10 - 1;  // of 15 degrees
    const double hue = turn * 15.0, full = kBrightness[index % 10 / 2];
    std::array<double, 3> colour;
    for (std::size_t channel = 0; channel < 3; ++channel) {
        const double away = std::abs(std::remainder(hue - 120.0 * static_cast<double>(channel), 360));
        const double share = std::clamp(2 - away / 60, 0.0, 1.0);
        colour[channel] = std::floor(full * (index % 2 == 0 ? share : (1 + share) / 2));
    }
    return colour;
}

}  // namespace morvex
