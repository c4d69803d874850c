#include "engine/modules/core/scene.h"

#include <BRep_Builder.hxx>
#include <TDataStd_Name.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Face.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_VisMaterialTool.hxx>
#include <array>
#include <cmath>
#include <map>

#include "engine/common/text.h"
#include "engine/modules/core/affine.h"
#include "engine/modules/core/read_error.h"

namespace morvex {
namespace {

constexpr double kNoise = 1e-6;  // of matrices that were written in single precision
constexpr std::size_t kDeepest = 400, kMostLabels = 1'000'000, kLongestName = 1000;

// Equal for maps that differ by no more than noise: the entries in steps that suit the largest, and the step.
using MapKey = std::array<double, 13>;

MapKey KeyOf(const gp_GTrsf& map) {
    MapKey key;
    double largest = 0;
    for (std::size_t at = 0; at < 12; ++at) {
        key[at] = map.Value(static_cast<int>(at / 4) + 1, static_cast<int>(at % 4) + 1);
        largest = std::max(largest, std::abs(key[at]));
    }
    key[12] = largest > 0 && std::isfinite(largest) ? std::ldexp(kNoise, std::ilogb(largest)) : 1;
    for (std::size_t at = 0; at < 12; ++at) key[at] = std::round(key[at] / key[12]);
    return key;
}

bool IsSound(const gp_GTrsf& map) {
    constexpr double kFarthest = 1e30;
    for (int at = 0; at < 12; ++at) {
        if (!(std::abs(map.Value(at / 4 + 1, at % 4 + 1)) <= kFarthest)) return false;
    }
    return true;
}

class SceneBuilder {
  public:
    SceneBuilder(Document& document, const Scene& scene)
        : document_(document),
          scene_(scene),
          toOurs_(scene.toOurs),
          toFile_(scene.toOurs.Inverted()),
          open_(scene.nodes.size()) {}

    void Build(const std::string& name) {
        const std::vector<Placed> placed = Place(scene_.roots, gp_GTrsf());
        const bool single = placed.size() == 1 && placed.front().location.Form() == gp_Identity;
        if (single)
            SetName(placed.front().label, placed.front().name);
        else if (!placed.empty())
            Assemble(placed, name);
    }

  private:
    struct Placed {
        TDF_Label label;
        gp_Trsf location;
        std::string name;
    };

    void SetName(const TDF_Label& label, const std::string& name) const {
        if (name.empty()) return;
        const std::string text = CleanUtf8(std::string_view(name).substr(0, kLongestName));
        TDataStd_Name::Set(label, TCollection_ExtendedString(text.c_str(), Standard_True));
    }

    // `above` is what locations further up could not hold, in our coordinates.
    std::vector<Placed> Place(const std::vector<ScenePlacement>& placements, const gp_GTrsf& above) {
        std::vector<Placed> placed;
        for (const ScenePlacement& placement : placements) {
            const gp_GTrsf whole = above * (toOurs_ * placement.place * toFile_);
            if (!IsSound(whole)) throw ReadError("The place of a node is no number, or beyond all measure");
            const AffineSplit split = SplitAffine(whole);
            const TDF_Label label = NodeLabel(placement.node, split.rest);
            const std::string& name =
                placement.name.empty() ? scene_.nodes[placement.node].name : placement.name;
            if (!label.IsNull()) placed.push_back({label, split.rigid, name});
        }
        return placed;
    }

    TDF_Label NodeLabel(std::size_t number, const gp_GTrsf& rest) {
        if (open_[number]) throw ReadError("A node of the file holds itself");
        if (depth_ >= kDeepest) throw ReadError("The nodes of the file are nested too deeply", ZEL_FAILED);
        if (labels_.size() > kMostLabels) {
            throw ReadError("The model has too many parts, each in all its places", ZEL_FAILED);
        }
        const auto [place, isNew] = labels_.try_emplace({number, KeyOf(rest)});
        if (!isNew) return place->second;
        const SceneNode& node = scene_.nodes[number];
        open_[number] = true;
        ++depth_;
        std::vector<Placed> below = Place(node.children, rest);
        const TDF_Label part = PartOf(node, rest);
        --depth_;
        open_[number] = false;
        if (below.empty()) return place->second = part;
        if (!part.IsNull()) below.insert(below.begin(), {part, gp_Trsf(), node.name});
        return place->second = Assemble(below, node.name);
    }

    TDF_Label Assemble(const std::vector<Placed>& parts, const std::string& name) {
        const TDF_Label assembly = document_.Shapes()->NewShape();
        SetName(assembly, name);
        for (const Placed& part : parts) {
            SetName(document_.Shapes()->AddComponent(assembly, part.label, TopLoc_Location(part.location)),
                    part.name);
        }
        return assembly;
    }

    // The part of a node's own meshes, shared by all nodes that show the same with the same rest.
    TDF_Label PartOf(const SceneNode& node, const gp_GTrsf& rest) {
        if (node.meshes.empty()) return {};
        const auto [place, isNew] = parts_.try_emplace({node.meshes, KeyOf(rest)});
        return isNew ? place->second = MakePart(node, rest) : place->second;
    }

    TDF_Label MakePart(const SceneNode& node, const gp_GTrsf& rest) {
        const BRep_Builder builder;
        TopoDS_Compound all;
        builder.MakeCompound(all);
        std::vector<std::pair<TopoDS_Face, const SceneFace*>> styled;
        for (const std::size_t mesh : node.meshes) {
            for (const SceneFace& style : scene_.meshes[mesh].faces) {
                TopoDS_Face face;
                builder.MakeFace(
                    face, rest.Form() == gp_Identity ? style.triangles : Transformed(style.triangles, rest));
                builder.Add(all, face);
                styled.emplace_back(face, &style);
            }
        }
        if (styled.empty()) return {};
        const bool single = styled.size() == 1;
        const TDF_Label part =
            document_.Shapes()->AddShape(single ? TopoDS_Shape(styled.front().first) : all, Standard_False);
        const std::string& meshName = scene_.meshes[node.meshes.front()].name;
        SetName(part, meshName.empty() ? node.name : meshName);
        for (const auto& [face, style] : styled) {
            if (!style->colour && style->material.IsNull()) continue;
            SetStyle(single ? part : document_.Shapes()->AddSubShape(part, face), *style);
        }
        return part;
    }

    void SetStyle(const TDF_Label& label, const SceneFace& style) {
        if (label.IsNull()) return;
        if (style.colour) document_.SetColour(label, *style.colour);
        if (style.material.IsNull()) return;
        const auto tool = XCAFDoc_DocumentTool::VisMaterialTool(document_.Data()->Main());
        TDF_Label& known = materials_[style.material.get()];
        if (known.IsNull()) {
            const auto& name = style.material->RawName();
            known = tool->AddMaterial(style.material, name.IsNull() ? "material" : name->String());
        }
        tool->SetShapeMaterial(label, known);
    }

    Document& document_;
    const Scene& scene_;
    gp_GTrsf toOurs_, toFile_;
    std::vector<bool> open_;  // nodes whose children are being placed
    std::size_t depth_ = 0;
    std::map<std::pair<std::size_t, MapKey>, TDF_Label> labels_;
    std::map<std::pair<std::vector<std::size_t>, MapKey>, TDF_Label> parts_;
    std::map<const XCAFDoc_VisMaterial*, TDF_Label> materials_;
};

}  // namespace

void AddScene(Document& document, const Scene& scene, const std::string& name) {
    SceneBuilder(document, scene).Build(name);
    document.Shapes()->UpdateAssemblies();
}

}  // namespace morvex
