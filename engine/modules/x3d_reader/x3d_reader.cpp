// VRML 2, in millimetres and Z up as CAD programs write it, and X3D, in metres or its own unit and Y up.
#include <algorithm>
#include <cmath>
#include <gp_Quaternion.hxx>
#include <set>
#include <unordered_map>

#include "engine/common/paths.h"
#include "engine/common/text.h"
#include "engine/modules/core/context.h"
#include "engine/modules/core/input_bytes.h"
#include "engine/modules/core/read_error.h"
#include "engine/modules/x3d_reader/x3d_geometry.h"

namespace morvex {
namespace {

gp_GTrsf Moved(const std::vector<double>& by, double sense = 1) {
    return {gp_Mat(1, 0, 0, 0, 1, 0, 0, 0, 1), gp_XYZ(by[0], by[1], by[2]) * sense};
}
gp_GTrsf Turned(const std::vector<double>& axisAndAngle, double sense = 1) {
    const gp_Vec axis(axisAndAngle[0], axisAndAngle[1], axisAndAngle[2]);
    if (!(axis.Magnitude() > 0)) return {};
    return {gp_Quaternion(axis, sense * axisAndAngle[3]).GetMatrix(), gp_XYZ()};
}

// Where a group stands in the one above it.
gp_GTrsf PlaceOf(const X3dNode& node) {
    if (!node.Is({"Transform"})) return {};
    const auto centre = node.Numbers("center", 3, {0, 0, 0}), scale = node.Numbers("scale", 3, {1, 1, 1}),
               axes = node.Numbers("scaleOrientation", 4, {0, 0, 1, 0});
    const gp_GTrsf scaled(gp_Mat(scale[0], 0, 0, 0, scale[1], 0, 0, 0, scale[2]), gp_XYZ());
    return Moved(node.Numbers("translation", 3, {0, 0, 0})) * Moved(centre) *
           Turned(node.Numbers("rotation", 4, {0, 0, 1, 0})) * Turned(axes) * scaled * Turned(axes, -1) *
           Moved(centre, -1);
}

class SceneMaker {
  public:
    SceneMaker(JobContext& context, const gp_GTrsf& toOurs) : context_(context) { scene_.toOurs = toOurs; }

    Scene Make(const std::vector<X3dNodePointer>& tops) {
        for (const X3dNodePointer& top : tops) {
            if (IsGroup(*top) || IsShape(*top))
                scene_.roots.push_back({NodeOf(top), PlaceOf(*top), {}});
            else
                PassOver(*top);
        }
        for (const std::string& type : lost_) context_.journal.Lose("what is in " + type + " nodes");
        if (!leftOut_.empty()) {
            std::string types;
            for (const std::string& type : leftOut_) types += (types.empty() ? "" : ", ") + type;
            context_.journal.Warn("Nodes without faces were left out: " + types);
        }
        return std::move(scene_);
    }

  private:
    static bool IsGroup(const X3dNode& node) {
        return node.Is({"Transform", "Group", "StaticGroup", "Anchor", "Billboard", "Collision", "Switch",
                        "LOD", "CADLayer", "CADAssembly", "CADPart"});
    }
    static bool IsShape(const X3dNode& node) { return node.Is({"Shape", "CADFace"}); }

    // The node of the scene that stands for a group or a single shape.
    std::size_t NodeOf(const X3dNodePointer& node) {
        const auto [place, isNew] = nodes_.try_emplace(node.get(), scene_.nodes.size());
        if (!isNew) return place->second;
        const std::size_t number = scene_.nodes.size();
        scene_.nodes.push_back({node->name, {}, {}});
        if (IsShape(*node)) {
            AddShape(number, *node);
            return number;
        }
        for (const X3dNodePointer& child : Shown(*node)) {
            if (IsGroup(*child)) {
                const std::size_t below = NodeOf(child);
                scene_.nodes[number].children.push_back({below, PlaceOf(*child), {}});
            } else if (IsShape(*child)) {
                AddShape(number, *child);
            } else {
                PassOver(*child);
            }
        }
        return number;
    }

    // Of nodes that show one child at a time it is the chosen one, or the finest.
    static std::vector<X3dNodePointer> Shown(const X3dNode& group) {
        std::vector<X3dNodePointer> all;
        for (const X3dNode::Child& child : group.children)
            if (child.field != "proxy" && child.field != "metadata") all.push_back(child.node);
        const double chosen = group.Is({"LOD"})      ? 0
                              : group.Is({"Switch"}) ? group.Number("whichChoice", -1)
                                                     : NAN;
        if (std::isnan(chosen)) return all;
        if (!(chosen >= 0 && chosen < static_cast<double>(all.size()))) return {};
        return {all[static_cast<std::size_t>(chosen)]};
    }

    void AddShape(std::size_t number, const X3dNode& shape) {
        if (const X3dNode* const inner = shape.Is({"CADFace"}) ? shape.Find({"Shape"}) : nullptr)
            return AddShape(number, *inner);
        const auto [place, isNew] = meshes_.try_emplace(&shape, scene_.meshes.size());
        if (isNew) {
            SceneMesh mesh{shape.name, {}};
            for (const X3dNode::Child& child : shape.children)
                AddGeometry(*child.node, ColourOf(shape), mesh);
            scene_.meshes.push_back(std::move(mesh));
        }
        if (!scene_.meshes[place->second].faces.empty()) scene_.nodes[number].meshes.push_back(place->second);
    }

    void AddGeometry(const X3dNode& geometry, const std::optional<Quantity_ColorRGBA>& colour,
                     SceneMesh& mesh) {
        std::optional<PolygonMesh> found = MeshOfSet(geometry);
        if (!found) found = MeshOfBody(geometry);
        if (!found) {
            if (!geometry.Is({"Appearance"})) PassOver(geometry);
            return;
        }
        for (SceneFace& face : found->Faces(scene_.toOurs, colour)) mesh.faces.push_back(std::move(face));
    }

    static std::optional<Quantity_ColorRGBA> ColourOf(const X3dNode& shape) {
        const X3dNode* const appearance = shape.Find({"Appearance"});
        const X3dNode* const material = appearance == nullptr ? nullptr : appearance->Find({"Material"});
        if (material == nullptr) return std::nullopt;
        const auto clamped = [](double value) { return value >= 0 ? std::min(value, 1.0) : 0; };
        const std::vector<double> colour = material->Numbers("diffuseColor", 3, {0.8, 0.8, 0.8});
        return Quantity_ColorRGBA(
            Quantity_Color(clamped(colour[0]), clamped(colour[1]), clamped(colour[2]), Quantity_TOC_sRGB),
            static_cast<float>(1 - clamped(material->Number("transparency", 0))));
    }

    // What may hold faces is a loss. Lines, points and texts are left out; the rest is nothing to be seen.
    void PassOver(const X3dNode& node) {
        static constexpr std::string_view kUnseen[] = {"Viewpoint",    "NavigationInfo",
                                                       "Background",   "WorldInfo",
                                                       "Light",        "Sensor",
                                                       "Interpolator", "Script",
                                                       "Sound",        "AudioClip",
                                                       "Fog",          "Metadata",
                                                       "Texture",      "Sequencer",
                                                       "Trigger",      "Filter",
                                                       "Toggle",       "ViewpointGroup",
                                                       "BooleanTimer", "ROUTE",
                                                       "LocalFog",     "Bindable",
                                                       "Appearance",   "FontStyle",
                                                       "ProtoDeclare", "ExternProtoDeclare",
                                                       "IMPORT",       "EXPORT",
                                                       "Material",     "OrthoViewpoint"};
        static constexpr std::string_view kWithoutFaces[] = {"LineSet",  "PointSet",   "Text",       "Arc2D",
                                                             "Circle2D", "Polyline2D", "Polypoint2D"};
        const auto ends = [&](std::string_view ending) { return node.type.ends_with(ending); };
        if (std::ranges::any_of(kWithoutFaces, ends))
            leftOut_.insert(node.type);
        else if (std::ranges::none_of(kUnseen, ends))
            lost_.insert(node.type);
    }

    JobContext& context_;
    Scene scene_;
    std::unordered_map<const X3dNode*, std::size_t> nodes_, meshes_;
    std::set<std::string> lost_, leftOut_;
};

Outcome Add(JobContext& context, const std::vector<X3dNodePointer>& nodes, const gp_GTrsf& toOurs) {
    AddScene(context.document, SceneMaker(context, toOurs).Make(nodes), Utf8(context.file.stem()));
    return Outcome::Ok();
}

}  // namespace

extern "C" Outcome ReadVrml(JobContext& context) {
    const InputBytes bytes(context.file);
    return Add(context, ParseVrml(bytes.View()).nodes, gp_GTrsf());
}

extern "C" Outcome ReadX3d(JobContext& context) {
    const InputBytes bytes(context.file);
    const DecodedText text(bytes.View());
    const X3dFile file = text.View().starts_with('#') ? ParseVrml(text.View()) : ParseX3dXml(text.View());
    const double unit = 1000 * file.metres;  // millimetres
    context.TellUnit(unit);
    return Add(context, file.nodes, {gp_Mat(unit, 0, 0, 0, 0, -unit, 0, unit, 0), gp_XYZ()});
}

}  // namespace morvex
