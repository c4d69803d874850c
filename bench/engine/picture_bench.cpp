// How long the picture of a model takes: a ball of as many triangles as asked for, opaque and transparent.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "engine/modules/picture/picture.h"

namespace {

morvex::MeshScene Ball(int triangles, float opacity) {
    const int rings = static_cast<int>(std::sqrt(triangles / 2.0)), segments = rings;
    morvex::MeshScene::Patch patch;
    patch.material = 0;
    for (int ring = 0; ring <= rings; ++ring) {
        for (int segment = 0; segment <= segments; ++segment) {
            const double up = M_PI * ring / rings, around = 2 * M_PI * segment / segments;
            patch.points.push_back(
                {std::sin(up) * std::cos(around), std::sin(up) * std::sin(around), std::cos(up)});
        }
    }
    for (int ring = 0; ring < rings; ++ring) {
        for (int segment = 0; segment < segments; ++segment) {
            const auto at = static_cast<std::uint32_t>(ring * (segments + 1) + segment);
            const auto below = at + static_cast<std::uint32_t>(segments) + 1;
            for (const std::uint32_t corner : {at, below, below + 1, at, below + 1, at + 1})
                patch.corners.push_back(corner);
        }
    }
    morvex::MeshScene scene;
    scene.materials.push_back(
        {"", Quantity_ColorRGBA(Quantity_Color(0.5, 0.1, 0.1, Quantity_TOC_sRGB), opacity), {}});
    scene.meshes.push_back({"", {std::move(patch)}});
    scene.roots.push_back({"", {}, 0, {}});
    return scene;
}

}  // namespace

int main(int count, char** arguments) {
    const int triangles = count > 1 ? std::atoi(arguments[1]) : 50'000;
    for (const float opacity : {1.f, 0.5f}) {
        const morvex::MeshScene scene = Ball(triangles, opacity);
        std::vector<double> times;
        for (int round = 0; round < 21; ++round) {
            const std::clock_t start = std::clock();  // of the processor: other load does not count
            const auto pixels = morvex::DrawScene(scene);
            times.push_back(static_cast<double>(std::clock() - start) * 1000 / CLOCKS_PER_SEC);
        }
        std::ranges::sort(times);
        std::printf("%d triangles, opacity %.1f: %.1f ms of processor time (median of 21), %.1f ms at best\n",
                    triangles, static_cast<double>(opacity), times[10], times[0]);
    }
}
