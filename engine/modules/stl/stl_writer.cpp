// STL, written.
#include <bit>
#include <charconv>
#include <cmath>
#include <gp_Pnt.hxx>

#include "engine/modules/core/context.h"
#include "engine/modules/core/faces.h"
#include "engine/modules/scene/output_file.h"

namespace morvex {
namespace {

constexpr std::size_t kPiece = 1u << 20;
constexpr std::size_t kTitle = 80;  // bytes, which must not begin like the text form

using Numbers = std::array<float, 3>;

Numbers NumbersOf(const gp_XYZ& vector) {
    return {static_cast<float>(vector.X()), static_cast<float>(vector.Y()), static_cast<float>(vector.Z())};
}

// Seen from where the corners go counter-clockwise; zeros of a triangle without an area.
Numbers NormalOf(const gp_Pnt& a, const gp_Pnt& b, const gp_Pnt& c) {
    const gp_XYZ across = (b.XYZ() - a.XYZ()).Crossed(c.XYZ() - a.XYZ());
    const double size = across.Modulus();
    return size > 0 ? NumbersOf(across / size) : Numbers{};
}

// Both forms keep coordinates of 24 bits.
class StlFile {
  public:
    StlFile(const std::filesystem::path& path, bool text) : file_(path), text_(text) {}

    void Begin(std::uint64_t facets) {
        if (text_) {
            bytes_ = "solid\n";
            return;
        }
        bytes_ = "Morvex";
        bytes_.resize(kTitle, ' ');
        AppendLittleEndian(bytes_, facets, 4);
    }

    void AddFacet(const gp_Pnt& a, const gp_Pnt& b, const gp_Pnt& c) {
        Add(" facet normal", NormalOf(a, b, c));
        if (text_) bytes_ += "  outer loop\n";
        for (const gp_Pnt& corner : {a, b, c}) Add("   vertex", NumbersOf(corner.XYZ()));
        if (text_)
            bytes_ += "  endloop\n endfacet\n";
        else
            AppendLittleEndian(bytes_, 0, 2);  // no attributes
        if (bytes_.size() >= kPiece) Flush();
    }

    // False when anything could not be written.
    bool Close() {
        if (text_) bytes_ += "endsolid\n";
        Flush();
        return file_.Close();
    }

  private:
    void Add(std::string_view word, const Numbers& numbers) {
        if (text_) bytes_ += word;
        for (const float number : numbers) {
            if (!text_) {
                AppendLittleEndian(bytes_, std::bit_cast<std::uint32_t>(number), sizeof number);
                continue;
            }
            char digits[32];
            bytes_ += ' ';
            bytes_.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
        }
        if (text_) bytes_ += '\n';
    }

    void Flush() {
        file_.Write(bytes_);
        bytes_.clear();
    }

    OutputFile file_;
    const bool text_;
    std::string bytes_;  // not written yet
};

}  // namespace

extern "C" Outcome WriteStl(JobContext& context) {
    std::vector<FaceTriangles> meshes;
    std::uint64_t facets = 0;
    for (const TopoDS_Face& face : FacesOf(context.document.WholeShape())) {
        const FaceTriangles mesh(face);
        if (mesh.IsNull()) continue;
        facets += static_cast<std::uint64_t>(mesh.Count());
        meshes.push_back(mesh);
    }
    StlFile file(context.file, context.settings.asciiStl);
    file.Begin(facets);
    std::vector<gp_Pnt> nodes;
    for (const FaceTriangles& mesh : meshes) {
        nodes.assign(1, gp_Pnt());  // they count from 1
        for (int node = 1; node <= mesh.NodeCount(); ++node) nodes.push_back(mesh.Node(node));
        for (int at = 1; at <= mesh.Count(); ++at) {
            const auto [a, b, c] = mesh.Corners(at);
            file.AddFacet(nodes[static_cast<std::size_t>(a)], nodes[static_cast<std::size_t>(b)],
                          nodes[static_cast<std::size_t>(c)]);
        }
    }
    return Written(file.Close());
}

}  // namespace morvex
