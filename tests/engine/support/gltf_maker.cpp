#include "tests/engine/support/gltf_maker.h"

#include "tests/engine/support/samples.h"

namespace morvex::test {
namespace {

std::string Joined(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts) all += (all.empty() ? "" : ",") + text;
    return "[" + all + "]";
}

}  // namespace

std::string Base64(const std::string& bytes) {
    constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        std::uint32_t bits = 0;
        for (std::size_t k = 0; k < 3; ++k)
            bits = bits << 8 | (at + k < bytes.size() ? static_cast<unsigned char>(bytes[at + k]) : 0u);
        for (std::size_t k = 0; k < 4; ++k)
            text += at + k > bytes.size() ? '=' : kDigits[bits >> (18 - 6 * k) & 63];
    }
    return text;
}

int GltfMaker::View(const std::string& bytes) {
    bytes_.resize((bytes_.size() + 3) / 4 * 4);
    views_.push_back("{\"buffer\":0,\"byteOffset\":" + std::to_string(bytes_.size()) +
                     ",\"byteLength\":" + std::to_string(bytes.size()) + "}");
    bytes_ += bytes;
    return static_cast<int>(views_.size()) - 1;
}

int GltfMaker::Raw(const std::string& accessor) {
    accessors_.push_back(accessor);
    return static_cast<int>(accessors_.size()) - 1;
}

int GltfMaker::Describe(int view, std::size_t size, bool floating, bool isSigned, std::size_t count,
                        const char* type, const std::string& more) {
    const int code = floating ? 5126 : size == 4 ? 5125 : (size == 2 ? 5122 : 5120) + !isSigned;
    const std::string name = type;
    const std::size_t components = name == "SCALAR" ? 1 : static_cast<std::size_t>(name.back() - '0');
    return Raw("{\"bufferView\":" + std::to_string(view) + ",\"componentType\":" + std::to_string(code) +
               ",\"count\":" + std::to_string(count / components) + ",\"type\":\"" + name + "\"" +
               (more.empty() ? "" : "," + more) + "}");
}

int GltfMaker::BoxPoints() {
    std::vector<float> points;
    for (const auto& [x, y, z] : morvex::test::BoxCorners())
        for (const double value : {x, z, -y}) points.push_back(static_cast<float>(value / 1000));
    return Accessor(points, "VEC3");
}

int GltfMaker::BoxCorners() {
    std::vector<std::uint16_t> corners;
    for (const auto& side : kBoxSides)
        for (const int at : {0, 1, 2, 0, 2, 3}) corners.push_back(static_cast<std::uint16_t>(side[at]));
    return Accessor(corners, "SCALAR");
}

std::string GltfMaker::File(const std::string& primitives, const std::string& nodes, const std::string& more,
                            const std::string& uri) const {
    const std::string data = "data:application/gltf-buffer;base64," + Base64(bytes_);
    return R"({"asset":{"version":"2.0"},"buffers":[{"byteLength":)" + std::to_string(bytes_.size()) +
           ",\"uri\":\"" + (uri.empty() ? data : uri) + "\"}],\"bufferViews\":" + Joined(views_) +
           ",\"accessors\":" + Joined(accessors_) +
           ",\"meshes\":[{\"name\":\"mesh\",\"primitives\":" + primitives + "}],\"nodes\":" + nodes +
           (more.empty() ? "" : "," + more) + "}";
}

std::string GltfBox(const std::string& nodes) {
    GltfMaker maker;
    std::vector<float> points;
    for (const Corner& corner : BoxCorners())
        for (const double value : corner) points.push_back(static_cast<float>(value));
    const int at = maker.Accessor(points, "VEC3"), corners = maker.BoxCorners();
    return maker.File(R"([{"attributes":{"POSITION":)" + std::to_string(at) +
                          "},\"indices\":" + std::to_string(corners) + ",\"material\":0}]",
                      nodes,
                      R"("scenes":[{"nodes":[0]}],"materials":[{"name":"red","pbrMetallicRoughness":)"
                      R"({"baseColorFactor":[0.8,0.1,0.1,1]}}])");
}

}  // namespace morvex::test
