#include "engine/modules/picture/rasteriser.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace morvex {
namespace {

constexpr float kFar = -std::numeric_limits<float>::infinity();

float Dot(const Vector3& a, const Vector3& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

// Towards the viewer, of length one.
Vector3 Facing(const Vector3& normal) {
    const float factor = (normal.z < 0 ? -1.f : 1.f) / std::sqrt(std::max(Dot(normal, normal), 1e-30f));
    return {normal.x * factor, normal.y * factor, normal.z * factor};
}

// From above and the left of the viewer; what is turned away keeps some of it.
Colour4 Lit(const Colour4& colour, const Vector3& normal) {
    constexpr Vector3 kLight{-0.35f, -0.5f, 0.79f};
    const float light = 0.38f + 0.62f * std::max(0.f, Dot(normal, kLight));
    return {colour.red * light, colour.green * light, colour.blue * light, colour.alpha};
}

void Blend(std::array<std::uint8_t, 4>& under, const Colour4& over) {
    const auto mix = [&](std::uint8_t& value, float top) {
        const auto old = static_cast<float>(value);
        value = static_cast<std::uint8_t>(std::lround(old + (top * 255.f - old) * over.alpha));
    };
    mix(under[0], over.red), mix(under[1], over.green), mix(under[2], over.blue);
}

std::array<std::int8_t, 4> Packed(const Vector3& normal) {
    const auto pack = [](float value) { return static_cast<std::int8_t>(value * 127.f); };
    return {pack(normal.x), pack(normal.y), pack(normal.z), 0};
}

// Twice the area of the triangle a, b, p; positive on one side of the line from a to b.
float Side(const Vector3& a, const Vector3& b, float x, float y) {
    return (b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x);
}

}  // namespace

Rasteriser::Rasteriser(int width, int height)
    : width_(width * kSamples),
      height_(height * kSamples),
      samples_(static_cast<std::size_t>(width_ * height_), Sample{kFar, kFar, {}, {255, 255, 255, 255}}) {}

void Rasteriser::Draw(const CornerTriple& triangle, const Colour4& colour) {
    std::array<Vector3, 3> p;
    for (std::size_t at = 0; at < 3; ++at) {
        const Vector3& point = triangle[at].point;
        p[at] = {point.x * kSamples - 0.5f, point.y * kSamples - 0.5f, point.z * kSamples};
    }
    const float area = Side(p[0], p[1], p[2].x, p[2].y);
    if (!(std::abs(area) > 1e-12f)) return;
    const auto [left, right] = std::minmax({p[0].x, p[1].x, p[2].x});
    const auto [top, bottom] = std::minmax({p[0].y, p[1].y, p[2].y});
    const int firstX = std::max(0, static_cast<int>(left)),
              lastX = std::min(width_ - 1, static_cast<int>(right));
    const int firstY = std::max(0, static_cast<int>(top)),
              lastY = std::min(height_ - 1, static_cast<int>(bottom));
    layerIsEmpty_ = false;

    // The weights of the corners change by the same amount from each sample to the next.
    const float part = 1 / area;
    const float step[] = {(p[1].y - p[2].y) * part, (p[2].y - p[0].y) * part, (p[0].y - p[1].y) * part};
    for (int y = firstY; y <= lastY; ++y) {
        const auto fx = static_cast<float>(firstX), fy = static_cast<float>(y);
        float weight[] = {Side(p[1], p[2], fx, fy) * part, Side(p[2], p[0], fx, fy) * part,
                          Side(p[0], p[1], fx, fy) * part};
        for (int x = firstX; x <= lastX;
             ++x, weight[0] += step[0], weight[1] += step[1], weight[2] += step[2]) {
            if (weight[0] < 0 || weight[1] < 0 || weight[2] < 0) continue;
            const float depth = weight[0] * p[0].z + weight[1] * p[1].z + weight[2] * p[2].z;
            Sample& sample = At(x, y);
            if (depth <= sample.depth) continue;
            Vector3 normal;
            for (std::size_t at = 0; at < 3; ++at) {
                normal.x += weight[at] * triangle[at].normal.x;
                normal.y += weight[at] * triangle[at].normal.y;
                normal.z += weight[at] * triangle[at].normal.z;
            }
            normal = Facing(normal);
            Blend(sample.colour, Lit(colour, normal));
            if (colour.alpha >= 1) sample.depth = depth;
            if (depth > sample.layerDepth) sample.layerDepth = depth, sample.normal = Packed(normal);
        }
    }
}

// The nearer one of two samples carries the line.
bool Rasteriser::IsEdge(const Sample& sample, const Sample& neighbour) const {
    if (neighbour.layerDepth > sample.layerDepth) return false;
    if (neighbour.layerDepth == kFar) return neighbour.depth < sample.layerDepth;
    constexpr float kSharp = 0.86f;  // the cosine of 30 degrees
    int turn = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) turn += sample.normal[axis] * neighbour.normal[axis];
    if (static_cast<float>(turn) < kSharp * 127 * 127) return true;
    // A plane that leans away falls by so much from one sample to the next, and a step is more.
    const float lean =
        std::max(static_cast<float>(std::min(sample.normal[2], neighbour.normal[2])) / 127.f, 0.05f);
    return sample.layerDepth - neighbour.layerDepth > 2.5f / lean;
}

void Rasteriser::FinishLayer() {
    constexpr Colour4 kLine{0.1f, 0.12f, 0.15f, 0.75f};
    if (layerIsEmpty_) return;
    layerIsEmpty_ = true;
    std::vector<std::size_t> lines;
    for (int y = 0; y < height_; ++y) {
        for (int x = 0; x < width_; ++x) {
            const Sample& sample = At(x, y);
            if (sample.layerDepth == kFar) continue;
            const bool edge =
                (x > 0 && IsEdge(sample, At(x - 1, y))) || (x + 1 < width_ && IsEdge(sample, At(x + 1, y))) ||
                (y > 0 && IsEdge(sample, At(x, y - 1))) || (y + 1 < height_ && IsEdge(sample, At(x, y + 1)));
            if (edge) lines.push_back(IndexOf(x, y));
        }
    }
    for (const std::size_t line : lines) Blend(samples_[line].colour, kLine);
    for (Sample& sample : samples_) sample.layerDepth = kFar;
}

std::vector<std::uint8_t> Rasteriser::Pixels() const {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(samples_.size() / kSamples / kSamples * 3);
    for (int y = 0; y < height_; y += kSamples) {
        for (int x = 0; x < width_; x += kSamples) {
            int sum[3] = {};
            for (int at = 0; at < kSamples * kSamples; ++at) {
                const auto& colour = samples_[IndexOf(x + at % kSamples, y + at / kSamples)].colour;
                for (std::size_t channel = 0; channel < 3; ++channel) sum[channel] += colour[channel];
            }
            for (const int value : sum)
                bytes.push_back(static_cast<std::uint8_t>(value / (kSamples * kSamples)));
        }
    }
    return bytes;
}

}  // namespace morvex
