#include "engine/modules/scene/mesh_scene.h"

#include <BRep_Tool.hxx>
#include <GeomLib.hxx>
#include <Geom_Surface.hxx>
#include <Poly_Triangulation.hxx>
#include <TDF_Tool.hxx>
#include <TDataStd_Name.hxx>
#include <TopTools_DataMapOfShapeInteger.hxx>
#include <TopTools_ShapeMapHasher.hxx>
#include <TopoDS_Face.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_VisMaterialTool.hxx>
#include <algorithm>
#include <map>
#include <optional>

#include "engine/common/text.h"
#include "engine/modules/core/faces.h"

namespace morvex {
namespace {

constexpr double kGrey = 0.8;  // sRGB

std::string NameOf(const TDF_Label& label) {
    Handle(TDataStd_Name) name;
    if (!label.FindAttribute(TDataStd_Name::GetID(), name)) return {};
    const TCollection_AsciiString utf8(name->Get());
    return CleanUtf8(utf8.ToCString());
}

// At each node the sum of the area vectors of the triangles around it.
std::vector<gp_Vec> AreaVectors(const Poly_Triangulation& triangles) {
    std::vector<gp_Vec> sums(static_cast<std::size_t>(triangles.NbNodes()));
    for (int at = 1; at <= triangles.NbTriangles(); ++at) {
        const std::array<int, 3> corners = CornersOf(triangles, at);
        const gp_Pnt first = triangles.Node(corners[0]);
        const gp_Vec normal =
            gp_Vec(first, triangles.Node(corners[1])).Crossed(gp_Vec(first, triangles.Node(corners[2])));
        for (const int node : corners) sums[static_cast<std::size_t>(node) - 1] += normal;
    }
    return sums;
}

gp_Dir DirectionOf(const gp_Vec& vector, const gp_Vec& otherwise) {
    if (vector.Magnitude() > gp::Resolution()) return {vector};
    return otherwise.Magnitude() > gp::Resolution() ? gp_Dir(otherwise) : gp::DZ();
}

// Files hold normals without a length.
std::vector<gp_Dir> OwnNormals(const Poly_Triangulation& triangles) {
    std::vector<gp_Dir> normals;
    std::vector<gp_Vec> sums;
    for (int node = 1; node <= triangles.NbNodes(); ++node) {
        gp_Vec3f normal;
        triangles.Normal(node, normal);
        const gp_Vec own(static_cast<double>(normal.x()), static_cast<double>(normal.y()),
                         static_cast<double>(normal.z()));
        const bool known = own.Magnitude() > gp::Resolution();
        if (!known && sums.empty()) sums = AreaVectors(triangles);
        normals.push_back(DirectionOf(own, known ? own : sums[static_cast<std::size_t>(node) - 1]));
    }
    return normals;
}

// Normals at the nodes, in the mesh's own place and for a face seen forward: the mesh's own if it has them,
// else those of the surface, and where that has none (the tip of a cone), those of the triangles around.
// Empty without surface.
std::vector<gp_Dir> NormalsOf(const TopoDS_Face& face, const Poly_Triangulation& triangles) {
    std::vector<gp_Dir> normals(static_cast<std::size_t>(triangles.NbNodes()));
    if (triangles.HasNormals()) return OwnNormals(triangles);
    TopLoc_Location location;
    const Handle(Geom_Surface) surface = BRep_Tool::Surface(face, location);
    if (surface.IsNull() || !triangles.HasUVNodes()) return {};
    const std::vector<gp_Vec> sums = AreaVectors(triangles);
    constexpr double kTolerance = 1e-9;
    constexpr int kUndefined = 2;
    for (int node = 1; node <= triangles.NbNodes(); ++node) {
        const auto at = static_cast<std::size_t>(node) - 1;
        if (GeomLib::NormEstim(surface, triangles.UVNode(node), kTolerance, normals[at]) < kUndefined)
            continue;
        normals[at] = DirectionOf(sums[at], gp::DZ());
    }
    return normals;
}

class Builder {
  public:
    Builder(const Document& document, bool normals)
        : document_(document),
          looks_(XCAFDoc_DocumentTool::VisMaterialTool(document.Data()->Main())),
          normals_(normals) {}

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
        node.transform = location.Transformation();
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
        const auto look = looks_->GetShapeMaterial(label);
        if (!document_.ColourOf(label, colour)) {
            if (look.IsNull()) return otherwise;
            colour = look->BaseColor();
        }
        const auto& rgb = colour.GetRGB();
        const MaterialKey key{{rgb.Red(), rgb.Green(), rgb.Blue(), static_cast<double>(colour.Alpha())},
                              look.get()};
        const auto [place, isNew] = materials_.try_emplace(key, scene_.MaterialCount());
        if (isNew) {
            std::string name =
                look.IsNull() || look->RawName().IsNull() ? "" : CleanUtf8(look->RawName()->ToCString());
            if (name.empty()) name = "colour " + std::to_string(place->second + 1);
            scene_.materials.push_back({name, colour, look});
        }
        return place->second;
    }

    bool HasImage(int material) const {
        if (material < 0) return false;
        const auto& look = scene_.materials[static_cast<std::size_t>(material)].look;
        return !look.IsNull() && !ImageOf(*look).IsNull();
    }

    // The materials of the faces that have one of their own.
    TopTools_DataMapOfShapeInteger FaceMaterials(const TDF_Label& part) {
        TopTools_DataMapOfShapeInteger materials;
        TDF_LabelSequence below;
        XCAFDoc_ShapeTool::GetSubShapes(part, below);
        // A colour of a shell counts less than that of one of its faces.
        for (const bool faces : {false, true}) {
            for (const TDF_Label& label : below) {
                const TopoDS_Shape sub = XCAFDoc_ShapeTool::GetShape(label);
                const int own = OwnMaterial(label, -1);
                if (sub.IsNull() || own < 0 || (sub.ShapeType() == TopAbs_FACE) != faces) continue;
                for (const TopoDS_Face& face : FacesOf(sub)) materials.Bind(face, own);
            }
        }
        return materials;
    }

    int MeshOf(const TDF_Label& part, int material) {
        TCollection_AsciiString entry;
        TDF_Tool::Entry(part, entry);
        const auto [place, isNew] = meshes_.try_emplace({entry.ToCString(), material}, -1);
        if (!isNew) return place->second;

        const TopTools_DataMapOfShapeInteger faceMaterials = FaceMaterials(part);
        MeshScene::Mesh mesh;
        mesh.name = NameOf(part);
        if (mesh.name.empty()) mesh.name = "part";
        std::map<int, MeshScene::Patch> patches;
        for (const TopoDS_Face& face : FacesOf(XCAFDoc_ShapeTool::GetShape(part))) {
            const int* own = faceMaterials.Seek(face);
            const int number = own != nullptr ? *own : material;
            AddFace(face, HasImage(number), patches[number]);
        }
        for (auto& [number, patch] : patches) {
            patch.material = number;
            if (patch.normals.size() != patch.points.size()) patch.normals.clear();
            if (patch.textureCoordinates.size() != patch.points.size()) patch.textureCoordinates.clear();
            if (!patch.corners.empty()) mesh.patches.push_back(std::move(patch));
        }
        if (mesh.patches.empty()) return -1;
        scene_.meshes.push_back(std::move(mesh));
        return place->second = static_cast<int>(scene_.meshes.size()) - 1;
    }

    void AddFace(const TopoDS_Face& face, bool withImage, MeshScene::Patch& patch) const {
        const FaceTriangles triangles(face);
        if (triangles.IsNull()) return;
        const auto normals = normals_ ? NormalsOf(face, triangles.Mesh()) : std::vector<gp_Dir>();
        const auto first = static_cast<std::uint32_t>(patch.points.size());
        if (first == 0) {  // a mesh is often one face
            patch.points.reserve(static_cast<std::size_t>(triangles.NodeCount()));
            patch.corners.reserve(3 * static_cast<std::size_t>(triangles.Count()));
        }
        for (int node = 1; node <= triangles.NodeCount(); ++node) {
            const gp_Pnt point = triangles.Node(node);
            patch.points.push_back({point.X(), point.Y(), point.Z()});
            if (withImage && triangles.Mesh().HasUVNodes()) {
                const gp_Pnt2d at = triangles.Mesh().UVNode(node);
                patch.textureCoordinates.push_back({static_cast<float>(at.X()), static_cast<float>(at.Y())});
            }
            if (normals.empty()) continue;
            gp_Dir normal = normals[static_cast<std::size_t>(node) - 1].Transformed(triangles.Place());
            if (face.Orientation() == TopAbs_REVERSED) normal.Reverse();
            patch.normals.push_back({normal.X(), normal.Y(), normal.Z()});
        }
        for (int at = 1; at <= triangles.Count(); ++at) {
            for (const int node : triangles.Corners(at))
                patch.corners.push_back(first + static_cast<std::uint32_t>(node) - 1);
        }
    }

    using MaterialKey = std::pair<std::array<double, 4>, const void*>;

    const Document& document_;
    const Handle(XCAFDoc_VisMaterialTool) looks_;
    bool normals_;
    MeshScene scene_;
    std::map<MaterialKey, int> materials_;
    std::map<std::pair<std::string, int>, int> meshes_;  // by the part's entry and the colour it inherits
};

}  // namespace

MeshScene MakeMeshScene(const Document& document, bool normals) {
    return Builder(document, normals).Build();
}

void FillMaterials(MeshScene& scene, bool everywhere) {
    const auto coloured = [](const MeshScene::Patch& patch) { return patch.material >= 0; };
    const bool any = !scene.materials.empty();
    int plain = -1;
    for (MeshScene::Mesh& mesh : scene.meshes) {
        if (!(everywhere ? any : std::ranges::any_of(mesh.patches, coloured))) continue;
        for (MeshScene::Patch& patch : mesh.patches) {
            if (coloured(patch)) continue;
            if (plain < 0) {
                plain = scene.MaterialCount();
                scene.materials.push_back(
                    {"plain",
                     Quantity_ColorRGBA(Quantity_Color(kGrey, kGrey, kGrey, Quantity_TOC_sRGB)),
                     {}});
            }
            patch.material = plain;
        }
    }
}

Handle(Image_Texture) ImageOf(const XCAFDoc_VisMaterial& look) {
    if (look.HasPbrMaterial() && !look.PbrMaterial().BaseColorTexture.IsNull())
        return look.PbrMaterial().BaseColorTexture;
    return look.HasCommonMaterial() ? look.CommonMaterial().DiffuseTexture : Handle(Image_Texture)();
}

std::array<double, 12> RowsOf(const gp_Trsf& transform) {
    std::array<double, 12> rows{};
    std::size_t at = 0;
    for (int row = 1; row <= 3; ++row) {
        for (int column = 1; column <= 4; ++column) rows[at++] = transform.Value(row, column);
    }
    return rows;
}

std::array<double, 4> SrgbOf(const MeshScene& scene, int material) {
    if (material < 0) return {kGrey, kGrey, kGrey, 1};
    const Quantity_ColorRGBA& colour = scene.materials[static_cast<std::size_t>(material)].colour;
    std::array<double, 4> value{};
    colour.GetRGB().Values(value[0], value[1], value[2], Quantity_TOC_sRGB);
    value[3] = static_cast<double>(colour.Alpha());
    return value;
}

}  // namespace morvex
