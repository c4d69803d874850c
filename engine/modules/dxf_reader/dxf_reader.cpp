// DXF drawings: their meshes, faces and solids, and the blocks that hold them.
#include <charconv>
#include <map>

#include "engine/common/paths.h"
#include "engine/common/text.h"
#include "engine/modules/core/context.h"
#include "engine/modules/core/input_bytes.h"
#include "engine/modules/core/keep_going.h"
#include "engine/modules/core/scene.h"
#include "engine/modules/core/text_lines.h"
#include "engine/modules/dxf_reader/dxf_drawing.h"

namespace morvex {
namespace {

constexpr std::int64_t kMostPlaces = 1'000'000;

// What a block takes over from the place where it stands: the colour for what has none of its own, and that
// of what lies on layer 0.
struct Inherited {
    DxfColour byBlock{7, {}, {}}, layerZero{7, {}, {}};
    auto operator<=>(const Inherited&) const = default;
};

// "\U+00FC" is how older files write letters that they have no byte for.
std::string NameOf(std::string_view text) {
    std::string name;
    while (!text.empty()) {
        std::uint32_t code = 0;
        const bool escaped =
            text.starts_with("\\U+") && text.size() >= 7 &&
            std::from_chars(text.data() + 3, text.data() + 7, code, 16).ptr == text.data() + 7;
        if (escaped)
            AppendUtf8(name, code);
        else
            name += text.front();
        text.remove_prefix(escaped ? 7 : 1);
    }
    return name;
}

class DrawingBuilder {
  public:
    DrawingBuilder(const JobContext& context, const DxfDrawing& drawing)
        : context_(context), drawing_(drawing) {
        scene_.toOurs.SetVectorialPart(gp_Mat(drawing.unit, 0, 0, 0, drawing.unit, 0, 0, 0, drawing.unit));
    }

    Scene Build() {
        // The model lies on its layers, each a part.
        const DxfBlock& model = drawing_.blocks.find("")->second;
        std::map<std::string, std::vector<const DxfMesh*>> layers;
        for (const DxfMesh& mesh : model.meshes) layers[mesh.layer].push_back(&mesh);
        for (const auto& [layer, meshes] : layers) {
            scene_.roots.push_back({scene_.nodes.size(), gp_GTrsf(), {}});
            scene_.nodes.push_back({NameOf(layer), {AddMeshes(NameOf(layer), meshes, {})}, {}});
        }
        for (const DxfInsert& insert : model.inserts)
            KeepGoing(context_, [&] { Place(insert, {}, scene_.roots); });
        // Blocks within blocks come to the end of the list while it is worked off.
        for (std::size_t at = 0; at < pending_.size(); ++at) {
            const auto [block, inherited, node] = pending_[at];
            FillNode(*block, inherited, node);
        }
        return std::move(scene_);
    }

  private:
    struct Pending {
        const DxfBlock* block;
        Inherited inherited;
        std::size_t node;
    };

    DxfColour Resolve(const DxfColour& own, const std::string& layer, const Inherited& inherited) const {
        DxfColour colour = own;
        if (!own.rgb && own.index == DxfColour::kByBlock) {
            colour = inherited.byBlock;
        } else if (!own.rgb && own.index >= DxfColour::kByLayer) {
            const auto found = drawing_.layers.find(layer);
            colour = found == drawing_.layers.end() ? DxfColour{7, {}, {}} : found->second;
            if (layer == "0" && inherited != Inherited()) colour = inherited.layerZero;
        }
        if (own.opacity) colour.opacity = own.opacity;
        return colour;
    }

    static Quantity_ColorRGBA Rgba(const DxfColour& colour) {
        std::array<double, 3> channels = TableColour(colour.index);
        for (std::size_t at = 0; colour.rgb && at < 3; ++at)
            channels[at] = *colour.rgb >> (16 - 8 * at) & 0xff;
        return {Quantity_Color(channels[0] / 255, channels[1] / 255, channels[2] / 255, Quantity_TOC_sRGB),
                static_cast<float>(colour.opacity.value_or(1))};
    }

    // One mesh of ours, with a face for each colour.
    std::size_t AddMeshes(const std::string& name, const std::vector<const DxfMesh*>& meshes,
                          const Inherited& inherited) {
        std::map<DxfColour, std::vector<const DxfMesh*>> byColour;
        for (const DxfMesh* mesh : meshes)
            if (!mesh->corners.empty())
                byColour[Resolve(mesh->colour, mesh->layer, inherited)].push_back(mesh);
        SceneMesh made{name, {}};
        for (const auto& [colour, some] : byColour) made.faces.push_back({Triangles(some), Rgba(colour), {}});
        scene_.meshes.push_back(std::move(made));
        return scene_.meshes.size() - 1;
    }

    Handle(Poly_Triangulation) Triangles(const std::vector<const DxfMesh*>& meshes) const {
        std::size_t points = 0, corners = 0;
        for (const DxfMesh* mesh : meshes) points += mesh->points.size(), corners += mesh->corners.size();
        Handle(Poly_Triangulation) triangles =
            new Poly_Triangulation(static_cast<int>(points), static_cast<int>(corners / 3), Standard_False);
        int node = 0, triangle = 0;
        for (const DxfMesh* mesh : meshes) {
            const auto number = [first = node](std::uint32_t corner) {
                return first + static_cast<int>(corner) + 1;
            };
            for (const gp_XYZ& point : mesh->points)
                triangles->SetNode(++node, gp_Pnt(point * drawing_.unit));
            for (std::size_t at = 0; at < mesh->corners.size(); at += 3) {
                triangles->SetTriangle(++triangle,
                                       Poly_Triangle(number(mesh->corners[at]), number(mesh->corners[at + 1]),
                                                     number(mesh->corners[at + 2])));
            }
        }
        return triangles;
    }

    void Place(const DxfInsert& insert, const Inherited& inherited, std::vector<ScenePlacement>& places) {
        const auto found = drawing_.blocks.find(insert.block);
        if (found == drawing_.blocks.end())
            throw ReadError("The block \"" + NameOf(insert.block) + "\" is missing");
        if (found->second.isExternal) {
            throw ReadError("\"" + NameOf(insert.block) + "\" is another drawing, which is not read");
        }
        const DxfColour colour = Resolve(insert.colour, insert.layer, inherited);
        const auto layer = drawing_.layers.find(insert.layer);
        const Inherited below{colour, layer == drawing_.layers.end() ? colour : layer->second};
        const std::size_t node = NodeOf(insert.block, found->second, below);
        gp_GTrsf base;
        base.SetTranslationPart(found->second.base.Reversed());
        placed_ += insert.columns <= kMostPlaces && insert.rows <= kMostPlaces ? insert.columns * insert.rows
                                                                               : kMostPlaces + 1;
        if (placed_ > kMostPlaces) throw ReadError("The blocks stand in too many places", ZEL_FAILED);
        for (std::int64_t row = 0; row < insert.rows; ++row) {
            for (std::int64_t column = 0; column < insert.columns; ++column) {
                gp_GTrsf place = insert.place;
                place.SetTranslationPart(place.TranslationPart() +
                                         insert.columnStep * static_cast<double>(column) +
                                         insert.rowStep * static_cast<double>(row));
                places.push_back({node, place * base, {}});
            }
        }
    }

    std::size_t NodeOf(const std::string& name, const DxfBlock& block, const Inherited& inherited) {
        const auto [place, isNew] = nodes_.try_emplace({name, inherited}, scene_.nodes.size());
        if (isNew) {
            scene_.nodes.push_back({NameOf(name), {}, {}});
            pending_.push_back({&block, inherited, place->second});
        }
        return place->second;
    }

    void FillNode(const DxfBlock& block, const Inherited& inherited, std::size_t node) {
        std::vector<const DxfMesh*> meshes;
        for (const DxfMesh& mesh : block.meshes) meshes.push_back(&mesh);
        if (!meshes.empty())
            scene_.nodes[node].meshes = {AddMeshes(scene_.nodes[node].name, meshes, inherited)};
        std::vector<ScenePlacement> children;
        for (const DxfInsert& insert : block.inserts)
            KeepGoing(context_, [&] { Place(insert, inherited, children); });
        scene_.nodes[node].children = std::move(children);
    }

    const JobContext& context_;
    const DxfDrawing& drawing_;
    Scene scene_;
    std::map<std::pair<std::string, Inherited>, std::size_t> nodes_;
    std::vector<Pending> pending_;
    std::int64_t placed_ = 0;
};

}  // namespace

extern "C" Outcome ReadDxf(JobContext& context) {
    const InputBytes bytes(context.file);
    const DecodedText text(bytes.View());
    const DxfDrawing drawing = ParseDxf(text.View(), context.settings.keepPartial);
    if (drawing.saysUnit) context.TellUnit(drawing.unit);
    AddScene(context.document, DrawingBuilder(context, drawing).Build(), Utf8(context.file.stem()));
    const bool empty = context.document.Roots().IsEmpty();
    if (!drawing.lost.empty()) {
        std::string what;
        for (const auto& [type, count] : drawing.lost) {
            what += (what.empty() ? "" : ", ") + std::to_string(count) + " " + type.substr(0, 40);
        }
        what = "Entities that cannot be read: " + what;
        if (!context.settings.keepPartial || empty)
            return Outcome::Fail(empty ? ZEL_VERSION : ZEL_CORRUPTED, what);
        context.journal.Lose(what);
    }
    if (empty) {
        return Outcome::Fail(ZEL_EMPTY, drawing.flat > 0
                                            ? "The drawing is two-dimensional: it contains no surface"
                                            : "The file contains no geometry");
    }
    if (drawing.flat > 0) {
        context.journal.Warn(std::to_string(drawing.flat) +
                             " curves, texts and other entities without a surface were left out");
    }
    return Outcome::Ok();
}

}  // namespace morvex
