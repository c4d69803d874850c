#include "engine/modules/scene/mesh_scene.h"

#include <BRep_Tool.hxx>
#include <GeomLib.hxx>
#include <Geom_Surface.hxx>
#include <Poly_Triangulation.hxx>
#include <TDF_Tool.hxx>
#include <TDataStd_Name.hxx>
#include <TopExp.hxx>
#include <TopExp_Explorer.hxx>
#include <TopTools_DataMapOfShapeInteger.hxx>
#include <TopTools_ShapeMapHasher.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Face.hxx>
#include <algorithm>
#include <map>
#include <optional>

#include "engine/common/text.h"

namespace morvex {
namespace {

std::string NameOf(const TDF_Label& label) {
    Handle(TDataStd_Name) name;
    if (!label.FindAttribute(TDataStd_Name::GetID(), name)) return {};
    const TCollection_AsciiString utf8(name->Get());
    return CleanUtf8(utf8.ToCString());
}

std::array<double, 12> Matrix(const gp_Trsf& transform) {
    std::array<double, 12> matrix{};
    std::size_t at = 0;
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 4; ++column) {
            matrix[at++] = transform.Value(row + 1, column + 1);
        }
    }
    return matrix;
}

// Normals at the nodes, in the mesh's own place and for a face seen forward: the mesh's own if it has them,
// else those of the surface, and where that has none (the tip of a cone), those of the triangles around.
// Empty without surface.
std::vector<gp_Dir> NormalsOf(const TopoDS_Face& face, const Poly_Triangulation& triangles) {
    std::vector<gp_Dir> normals(static_cast<std::size_t>(triangles.NbNodes()));
    if (triangles.HasNormals()) {
        for (int node = 1; node <= triangles.NbNodes(); ++node) {
            normals[static_cast<std::size_t>(node) - 1] = triangles.Normal(node);
        }
        return normals;
    }
    TopLoc_Location location;
    const Handle(Geom_Surface) surface = BRep_Tool::Surface(face, location);
    if (surface.IsNull() || !triangles.HasUVNodes()) return {};
    std::vector<gp_Vec> sums(normals.size());
    for (int at = 1; at <= triangles.NbTriangles(); ++at) {
        int corner[3];
        triangles.Triangle(at).Get(corner[0], corner[1], corner[2]);
        const gp_Pnt first = triangles.Node(corner[0]);
        const gp_Vec normal =
            gp_Vec(first, triangles.Node(corner[1])).Crossed(gp_Vec(first, triangles.Node(corner[2])));
        for (const int node : corner) sums[static_cast<std::size_t>(node) - 1] += normal;
    }
    constexpr double kTolerance = 1e-9;
    constexpr int kUndefined = 2;
    for (int node = 1; node <= triangles.NbNodes(); ++node) {
        const auto at = static_cast<std::size_t>(node) - 1;
        if (GeomLib::NormEstim(surface, triangles.UVNode(node), kTolerance, normals[at]) < kUndefined)
            continue;
        normals[at] = sums[at].Magnitude() > gp::Resolution() ? gp_Dir(sums[at]) : gp::DZ();
    }
    return normals;
}

class Builder {
  public:
    Builder(const Document& document, bool normals) : document_(document), normals_(normals) {}

    MeshScene Build() {
        for (const TDF_Label& root : document_.Roots()) {
            if (auto node = NodeOf(root, root, TopLoc_Location(), -1))
                scene_.roots.push_back(std::move(*node));
        }
        return std::move(scene_);
    }

  private:
    // `label` is where the node hangs, `shape` what it shows. Nothing when there is no triangle below.
    std::optional<MeshScene::Node> NodeOf(const TDF_Label& label, const TDF_Label& shape,
                                          const TopLoc_Location& location, int inherited) {
        MeshScene::Node node;
        node.name = NameOf(label);
        if (node.name.empty()) node.name = NameOf(shape);
        if (node.name.empty()) node.name = "part";
        node.matrix = Matrix(location.Transformation());
        int material = OwnMaterial(shape, inherited);
        if (label != shape) material = OwnMaterial(label, material);
        if (!XCAFDoc_ShapeTool::IsAssembly(shape)) {
            node.mesh = MeshOf(shape, material);
            return node.mesh < 0 ? std::nullopt : std::optional(std::move(node));
        }
        TDF_LabelSequence components;
        XCAFDoc_ShapeTool::GetComponents(shape, components);
        for (const TDF_Label& component : components) {
            TDF_Label referred;
            if (!XCAFDoc_ShapeTool::GetReferredShape(component, referred)) continue;
            auto child = NodeOf(component, referred, XCAFDoc_ShapeTool::GetLocation(component), material);
            if (child) node.children.push_back(std::move(*child));
        }
        return node.children.empty() ? std::nullopt : std::optional(std::move(node));
    }

    int OwnMaterial(const TDF_Label& label, int otherwise) {
        Quantity_ColorRGBA colour;
        if (!document_.ColourOf(label, colour)) return otherwise;
        const auto found = std::ranges::find(scene_.materials, colour);
        if (found != scene_.materials.end()) return static_cast<int>(found - scene_.materials.begin());
        scene_.materials.push_back(colour);
        return static_cast<int>(scene_.materials.size()) - 1;
    }

    int MeshOf(const TDF_Label& part, int material) {
        TCollection_AsciiString entry;
        TDF_Tool::Entry(part, entry);
        const auto [place, isNew] = meshes_.try_emplace({entry.ToCString(), material}, -1);
        if (!isNew) return place->second;

        const TopoDS_Shape shape = XCAFDoc_ShapeTool::GetShape(part);
        TopTools_DataMapOfShapeInteger faceMaterials;
        TDF_LabelSequence below;
        XCAFDoc_ShapeTool::GetSubShapes(part, below);
        // A colour of a shell counts less than that of one of its faces.
        for (const bool faces : {false, true}) {
            for (const TDF_Label& label : below) {
                const TopoDS_Shape sub = XCAFDoc_ShapeTool::GetShape(label);
                const int own = OwnMaterial(label, -1);
                if (sub.IsNull() || own < 0 || (sub.ShapeType() == TopAbs_FACE) != faces) continue;
                for (TopExp_Explorer face(sub, TopAbs_FACE); face.More(); face.Next()) {
                    faceMaterials.Bind(face.Current(), own);
                }
            }
        }
        MeshScene::Mesh mesh;
        mesh.name = NameOf(part);
        if (mesh.name.empty()) mesh.name = "part";
        std::map<int, MeshScene::Patch> patches;
        for (TopExp_Explorer face(shape, TopAbs_FACE); face.More(); face.Next()) {
            const int* own = faceMaterials.Seek(face.Current());
            AddFace(TopoDS::Face(face.Current()), patches[own != nullptr ? *own : material]);
        }
        for (auto& [number, patch] : patches) {
            patch.material = number;
            if (patch.normals.size() != patch.points.size()) patch.normals.clear();
            if (!patch.corners.empty()) mesh.patches.push_back(std::move(patch));
        }
        if (mesh.patches.empty()) return -1;
        scene_.meshes.push_back(std::move(mesh));
        return place->second = static_cast<int>(scene_.meshes.size()) - 1;
    }

    void AddFace(const TopoDS_Face& face, MeshScene::Patch& patch) const {
        TopLoc_Location location;
        const Handle(Poly_Triangulation) triangles = BRep_Tool::Triangulation(face, location);
        if (triangles.IsNull()) return;
        const std::vector<gp_Dir> normals = normals_ ? NormalsOf(face, *triangles) : std::vector<gp_Dir>();
        const gp_Trsf transform = location.Transformation();
        const bool reversed = (face.Orientation() == TopAbs_REVERSED) != transform.IsNegative();
        const auto first = static_cast<std::uint32_t>(patch.points.size());
        for (int node = 1; node <= triangles->NbNodes(); ++node) {
            const gp_Pnt point = triangles->Node(node).Transformed(transform);
            patch.points.push_back({point.X(), point.Y(), point.Z()});
            if (normals.empty()) continue;
            gp_Dir normal = normals[static_cast<std::size_t>(node) - 1].Transformed(transform);
            if (face.Orientation() == TopAbs_REVERSED) normal.Reverse();
            patch.normals.push_back({normal.X(), normal.Y(), normal.Z()});
        }
        for (int at = 1; at <= triangles->NbTriangles(); ++at) {
            int corner[3];
            triangles->Triangle(at).Get(corner[0], corner[1], corner[2]);
            if (reversed) std::swap(corner[1], corner[2]);
            for (const int node : corner)
                patch.corners.push_back(first + static_cast<std::uint32_t>(node) - 1);
        }
    }

    const Document& document_;
    bool normals_;
    MeshScene scene_;
    std::map<std::pair<std::string, int>, int> meshes_;  // by the part's entry and the colour it inherits
};

}  // namespace

MeshScene MakeMeshScene(const Document& document, bool normals) {
    return Builder(document, normals).Build();
}

std::array<double, 4> SrgbOf(const Quantity_ColorRGBA& colour) {
    std::array<double, 4> value{};
    colour.GetRGB().Values(value[0], value[1], value[2], Quantity_TOC_sRGB);
    value[3] = static_cast<double>(colour.Alpha());
    return value;
}

}  // namespace morvex
