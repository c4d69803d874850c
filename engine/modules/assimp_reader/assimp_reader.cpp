// FBX, IFC and DXF, by way of assimp's scene.
#include <BRep_Builder.hxx>
#include <Poly_Triangulation.hxx>
#include <TDataStd_Name.hxx>
#include <TopoDS_Compound.hxx>
#include <TopoDS_Face.hxx>
#include <assimp/Importer.hpp>
#include <assimp/config.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include <charconv>
#include <cmath>
#include <fstream>
#include <map>
#include <optional>

#include "engine/modules/core/context.h"

namespace morvex {
namespace {

// The affine part that no location may hold (scale, shear, mirroring) after a rigid motion has been taken
// out.
struct Split {
    gp_Trsf rigid;
    aiMatrix4x4 rest;
};

bool IsIdentity(const aiMatrix4x4& m) {
    return m.Equal(aiMatrix4x4(), 1e-6f);
}

// Gram-Schmidt on the columns: matrix = rigid * rest, with rest upper triangular.
Split TakeRigid(const aiMatrix4x4& m) {
    gp_Vec x(m.a1, m.b1, m.c1), y(m.a2, m.b2, m.c2);
    Split split;
    split.rest = m;
    if (x.Magnitude() < 1e-12 || x.Crossed(y).Magnitude() < 1e-12 * x.Magnitude()) return split;
    x.Normalize();
    y -= x * x.Dot(y);
    y.Normalize();
    const gp_Vec z = x.Crossed(y);
    split.rigid.SetValues(x.X(), y.X(), z.X(), m.a4, x.Y(), y.Y(), z.Y(), m.b4, x.Z(), y.Z(), z.Z(), m.c4);
    const aiMatrix4x4 back(static_cast<float>(x.X()), static_cast<float>(x.Y()), static_cast<float>(x.Z()), 0,
                           static_cast<float>(y.X()), static_cast<float>(y.Y()), static_cast<float>(y.Z()), 0,
                           static_cast<float>(z.X()), static_cast<float>(z.Y()), static_cast<float>(z.Z()), 0,
                           0, 0, 0, 1);
    aiMatrix4x4 linear = m;
    linear.a4 = linear.b4 = linear.c4 = 0;
    split.rest = back * linear;
    if (IsIdentity(split.rest)) split.rest = aiMatrix4x4();
    return split;
}

class SceneReader {
  public:
    SceneReader(const aiScene& scene, Document& document) : scene_(scene), document_(document) {}

    // `toOurs` turns the file's coordinates into millimetres, Z up.
    void Read(const aiMatrix4x4& toOurs, const std::string& name) {
        const aiNode& root = *scene_.mRootNode;
        std::vector<Placed> placed;
        const aiMatrix4x4 above = toOurs * root.mTransformation;
        if (root.mNumMeshes > 0) {
            const Split split = TakeRigid(above);
            placed.push_back({MeshPart(root, split.rest), split.rigid, root.mName.C_Str()});
        }
        for (unsigned at = 0; at < root.mNumChildren; ++at) {
            if (auto child = Place(*root.mChildren[at], above)) placed.push_back(*child);
        }
        std::erase_if(placed, [](const Placed& child) { return child.label.IsNull(); });
        if (placed.empty() || (placed.size() == 1 && placed.front().location.Form() == gp_Identity)) return;
        Assemble(placed, name);
        document_.Shapes()->UpdateAssemblies();
    }

  private:
    struct Placed {
        TDF_Label label;
        gp_Trsf location;
        std::string name;
    };

    static void SetName(const TDF_Label& label, const std::string& name) {
        if (!name.empty()) TDataStd_Name::Set(label, TCollection_ExtendedString(name.c_str(), Standard_True));
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

    std::optional<Placed> Place(const aiNode& node, const aiMatrix4x4& above) {
        const Split split = TakeRigid(above * node.mTransformation);
        std::vector<Placed> below;
        if (node.mNumMeshes > 0) below.push_back({MeshPart(node, split.rest), gp_Trsf(), node.mName.C_Str()});
        for (unsigned at = 0; at < node.mNumChildren; ++at) {
            if (auto child = Place(*node.mChildren[at], split.rest)) below.push_back(*child);
        }
        std::erase_if(below, [](const Placed& child) { return child.label.IsNull(); });
        if (below.empty()) return std::nullopt;
        if (node.mNumMeshes > 0 && below.size() == 1)
            return Placed{below.front().label, split.rigid, node.mName.C_Str()};
        return Placed{Assemble(below, node.mName.C_Str()), split.rigid, node.mName.C_Str()};
    }

    // The part of a node's meshes; shared by all nodes that show the same meshes with the same rest.
    TDF_Label MeshPart(const aiNode& node, const aiMatrix4x4& rest) {
        std::pair<std::vector<unsigned>, std::vector<float>> key;
        key.first.assign(node.mMeshes, node.mMeshes + node.mNumMeshes);
        key.second.assign(&rest.a1, &rest.a1 + 16);
        const auto [place, isNew] = parts_.try_emplace(key);
        if (!isNew) return place->second;

        std::vector<std::pair<TopoDS_Face, Quantity_ColorRGBA>> coloured;
        TopoDS_Compound all;
        const BRep_Builder builder;
        builder.MakeCompound(all);
        TopoDS_Face last;
        for (const unsigned number : key.first) {
            const aiMesh& mesh = *scene_.mMeshes[number];
            const Handle(Poly_Triangulation) triangles = Triangles(mesh, rest);
            if (triangles.IsNull()) continue;
            builder.MakeFace(last, triangles);
            builder.Add(all, last);
            if (const auto colour = ColourOf(mesh)) coloured.emplace_back(last, *colour);
        }
        if (all.NbChildren() == 0) return {};
        const bool single = all.NbChildren() == 1;
        const TDF_Label part = document_.AddPart(single ? TopoDS_Shape(last) : all, node.mName.C_Str());
        for (const auto& [face, colour] : coloured) {
            const TDF_Label label = single ? part : document_.Shapes()->AddSubShape(part, face);
            if (!label.IsNull()) document_.Colours()->SetColor(label, colour, XCAFDoc_ColorSurf);
        }
        return place->second = part;
    }

    static Handle(Poly_Triangulation) Triangles(const aiMesh& mesh, const aiMatrix4x4& rest) {
        int count = 0;
        for (unsigned at = 0; at < mesh.mNumFaces; ++at) count += mesh.mFaces[at].mNumIndices == 3;
        if (count == 0 || mesh.mNumVertices == 0) return {};
        const bool normals = mesh.HasNormals() && IsIdentity(rest);
        Handle(Poly_Triangulation) triangles =
            new Poly_Triangulation(static_cast<int>(mesh.mNumVertices), count, Standard_False, normals);
        for (unsigned at = 0; at < mesh.mNumVertices; ++at) {
            const aiVector3D point = rest * mesh.mVertices[at];
            triangles->SetNode(static_cast<int>(at) + 1, gp_Pnt(point.x, point.y, point.z));
            if (!normals) continue;
            const aiVector3D& normal = mesh.mNormals[at];
            triangles->SetNormal(static_cast<int>(at) + 1, gp_Vec3f(normal.x, normal.y, normal.z));
        }
        const bool mirrored = rest.Determinant() < 0;
        int number = 0;
        for (unsigned at = 0; at < mesh.mNumFaces; ++at) {
            const aiFace& face = mesh.mFaces[at];
            if (face.mNumIndices != 3) continue;
            const auto corner = [&](int which) { return static_cast<int>(face.mIndices[which]) + 1; };
            triangles->SetTriangle(
                ++number, Poly_Triangle(corner(0), corner(mirrored ? 2 : 1), corner(mirrored ? 1 : 2)));
        }
        return triangles;
    }

    std::optional<Quantity_ColorRGBA> ColourOf(const aiMesh& mesh) const {
        const auto make = [](float red, float green, float blue, float alpha) {
            const auto clamp = [](float value) {
                return static_cast<double>(std::isfinite(value) ? std::clamp(value, 0.f, 1.f) : 0.f);
            };
            return Quantity_ColorRGBA(
                Quantity_Color(clamp(red), clamp(green), clamp(blue), Quantity_TOC_sRGB),
                static_cast<float>(clamp(alpha)));
        };
        if (mesh.HasVertexColors(0)) {
            const aiColor4D& first = mesh.mColors[0][0];
            return make(first.r, first.g, first.b, first.a);
        }
        const aiMaterial& material = *scene_.mMaterials[mesh.mMaterialIndex];
        aiString name;
        aiColor3D colour;
        float opacity = 1;
        if (material.Get(AI_MATKEY_NAME, name) == AI_SUCCESS && name == aiString(AI_DEFAULT_MATERIAL_NAME))
            return {};
        if (material.Get(AI_MATKEY_COLOR_DIFFUSE, colour) != AI_SUCCESS) return {};
        material.Get(AI_MATKEY_OPACITY, opacity);
        return make(colour.r, colour.g, colour.b, opacity);
    }

    const aiScene& scene_;
    Document& document_;
    std::map<std::pair<std::vector<unsigned>, std::vector<float>>, TDF_Label> parts_;
};

aiMatrix4x4 Scaling(double factor) {
    aiMatrix4x4 matrix;
    return aiMatrix4x4::Scaling(aiVector3D(static_cast<float>(factor)), matrix);
}

// Assimp turns what it knows to be Z up into Y up.
aiMatrix4x4 YUpToZUp() {
    return {1, 0, 0, 0, 0, 0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1};
}

double Number(const aiMetadata& data, const char* key, double otherwise) {
    double asDouble = 0;
    float asFloat = 0;
    int32_t asInteger = 0;
    if (data.Get(key, asDouble)) return asDouble;
    if (data.Get(key, asFloat)) return static_cast<double>(asFloat);
    if (data.Get(key, asInteger)) return asInteger;
    return otherwise;
}

// An FBX file says which axes are which, and how many centimetres its unit is; assimp only passes that on.
aiMatrix4x4 FbxToOurs(const aiScene& scene) {
    constexpr double kMillimetresPerCentimetre = 10;
    if (scene.mMetaData == nullptr) return Scaling(kMillimetresPerCentimetre) * YUpToZUp();
    const aiMetadata& data = *scene.mMetaData;
    aiMatrix4x4 axes;
    const struct {
        const char *axis, *sign;
        int usual;
        double direction;
    } rows[] = {{"CoordAxis", "CoordAxisSign", 0, 1},
                {"FrontAxis", "FrontAxisSign", 2, -1},
                {"UpAxis", "UpAxisSign", 1, 1}};
    for (unsigned row = 0; row < 3; ++row) {
        const double axis = Number(data, rows[row].axis, rows[row].usual);
        for (unsigned column = 0; column < 3; ++column) axes[row][column] = 0;
        if (!(axis >= 0 && axis <= 2)) return Scaling(kMillimetresPerCentimetre) * YUpToZUp();
        axes[row][static_cast<unsigned>(axis)] =
            static_cast<float>(rows[row].direction * Number(data, rows[row].sign, 1));
    }
    if (std::abs(axes.Determinant()) < 0.5f) axes = YUpToZUp();
    const double unit = Number(data, "UnitScaleFactor", 1);
    return Scaling((unit > 0 && std::isfinite(unit) ? unit : 1) * kMillimetresPerCentimetre) * axes;
}

// The drawing's unit from its header; millimetres when it names none.
double DxfUnit(const std::filesystem::path& path) {
    std::string head(64u << 10, '\0');
    std::ifstream file(path, std::ios::binary);
    file.read(head.data(), static_cast<std::streamsize>(head.size()));
    auto at = head.find("$INSUNITS");
    for (int line = 0; line < 2 && at != std::string::npos; ++line) at = head.find('\n', at + 1);
    if (at == std::string::npos) return 1;
    at = head.find_first_not_of(" \t", at + 1);
    int unit = 0;
    if (at != std::string::npos) std::from_chars(head.data() + at, head.data() + head.size(), unit);
    switch (unit) {
        case 1:
            return 25.4;
        case 2:
            return 304.8;
        case 5:
            return 10;
        case 6:
            return 1000;
        default:
            return 1;
    }
}

template <class ToOurs>
Outcome Read(JobContext& context, ToOurs toOurs) {
    Assimp::Importer importer;
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
    importer.SetPropertyInteger(AI_CONFIG_PP_SBP_REMOVE, aiPrimitiveType_LINE | aiPrimitiveType_POINT);
    const aiScene* const scene =
        importer.ReadFile(context.file.string(),
                          aiProcess_ValidateDataStructure | aiProcess_Triangulate | aiProcess_SortByPType);
    if (scene == nullptr || scene->mRootNode == nullptr) {
        return Damaged(std::string("The file could not be read: ") + importer.GetErrorString());
    }
    if ((scene->mFlags & AI_SCENE_FLAGS_INCOMPLETE) != 0 && scene->mNumMeshes == 0) {
        return Outcome::Fail(ZEL_EMPTY, "The file contains no mesh");
    }
    SceneReader(*scene, context.document).Read(toOurs(*scene), context.file.stem().string());
    return Outcome::Ok();
}

}  // namespace

extern "C" Outcome ReadFbx(JobContext& context) {
    return Read(context, FbxToOurs);
}

extern "C" Outcome ReadIfc(JobContext& context) {
    return Read(context,
                [](const aiScene&) { return Scaling(1000) * YUpToZUp(); });  // assimp makes metres of it
}

extern "C" Outcome ReadDxf(JobContext& context) {
    const double unit = DxfUnit(context.file);
    return Read(context, [unit](const aiScene&) { return Scaling(unit) * YUpToZUp(); });
}

}  // namespace morvex
