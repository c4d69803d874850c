#include "engine/modules/assimp_reader/assimp_scene.h"

#include <algorithm>
#include <assimp/DefaultLogger.hpp>
#include <assimp/IOSystem.hpp>
#include <assimp/Importer.hpp>
#include <assimp/LogStream.hpp>
#include <assimp/config.h>
#include <assimp/postprocess.h>
#include <cmath>
#include <set>

#include "engine/common/paths.h"
#include "engine/common/text.h"
#include "engine/modules/core/affine.h"
#include "engine/modules/core/keep_going.h"
#include "engine/modules/core/scene.h"
#include "engine/modules/core/vertex_colours.h"

namespace morvex {
namespace {

bool HasOneOf(const std::string& line, std::initializer_list<std::string_view> texts) {
    return std::ranges::any_of(texts, [&](auto text) { return line.find(text) != std::string::npos; });
}

// Whether what assimp said means that geometry is missing.
bool IsLoss(const std::string& line, bool error) {
    if (error)
        return !HasOneOf(line, {"no material assigned", "ignoring additional", "window caps", "opening",
                                "FOV animation track", "Unknown material", "Empty material name",
                                "face material list", "effect input mapping"});
    if (HasOneOf(line, {"skipping mapped entity", "Unable to find geometry"})) return true;
    return line.find("entity, type is") != std::string::npos &&
           !HasOneOf(line,
                     {"Curve", "Polyline", "Text", "Annotation", "Point", "Set", "Circle", "Line", "Box"});
}

struct Said {
    std::string loss;             // the first line that means one
    std::set<std::string> lines;  // some of them
};

// Takes down what assimp says while it lives. The logger that it is attached to owns it.
class LogCapture : public Assimp::LogStream {
  public:
    LogCapture(Said& said, bool errors) : said_(said), errors_(errors) {}
    void write(const char* message) override {
        constexpr std::size_t kMost = 20;
        std::string line = message;
        while (line.ends_with('\n')) line.pop_back();
        if (said_.loss.empty() && IsLoss(line, errors_)) said_.loss = line;
        if (said_.lines.size() < kMost) said_.lines.insert(line);
    }

  private:
    Said& said_;
    bool errors_;
};

// Other files than the input, which some formats refer to, are not there.
class NoOtherFiles : public Assimp::IOSystem {
  public:
    bool Exists(const char*) const override { return false; }
    char getOsSeparator() const override { return '/'; }
    Assimp::IOStream* Open(const char*, const char*) override { return nullptr; }
    void Close(Assimp::IOStream*) override {}
};

class Log {
  public:
    Log() {
        Assimp::DefaultLogger::create("", Assimp::Logger::NORMAL, 0);
        Assimp::DefaultLogger::get()->attachStream(new LogCapture(said, true), Assimp::Logger::Err);
        Assimp::DefaultLogger::get()->attachStream(new LogCapture(said, false), Assimp::Logger::Warn);
    }
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;
    ~Log() { Assimp::DefaultLogger::kill(); }

    Said said;
};

gp_GTrsf PlaceOf(const aiMatrix4x4& m) {
    const auto number = [](float value) { return static_cast<double>(value); };
    return gp_GTrsf(gp_Mat(number(m.a1), number(m.a2), number(m.a3), number(m.b1), number(m.b2), number(m.b3),
                           number(m.c1), number(m.c2), number(m.c3)),
                    gp_XYZ(number(m.a4), number(m.b4), number(m.c4)));
}

class SceneConverter {
  public:
    SceneConverter(const aiScene& from, const gp_GTrsf& toOurs) : from_(from) { scene_.toOurs = toOurs; }

    Scene Convert() {
        for (unsigned at = 0; at < from_.mNumMeshes; ++at) AddMesh(*from_.mMeshes[at]);
        // The root is the file itself, not a node of it.
        const aiNode& root = *from_.mRootNode;
        const gp_GTrsf place = PlaceOf(root.mTransformation);
        if (root.mNumMeshes > 0) {
            scene_.nodes.push_back({root.mName.C_Str(), {root.mMeshes, root.mMeshes + root.mNumMeshes}, {}});
            scene_.roots.push_back({0, place, {}});
        }
        for (unsigned at = 0; at < root.mNumChildren; ++at) {
            ScenePlacement child = AddNode(*root.mChildren[at]);
            child.place = place * child.place;
            scene_.roots.push_back(child);
        }
        return std::move(scene_);
    }

  private:
    // Empty for a mesh of lines and points.
    void AddMesh(const aiMesh& mesh) {
        SceneMesh& made = scene_.meshes.emplace_back();
        made.name = mesh.mName.C_Str();
        std::vector<std::uint32_t> corners;
        for (unsigned at = 0; at < mesh.mNumFaces; ++at) {
            const aiFace& face = mesh.mFaces[at];
            if (face.mNumIndices == 3) corners.insert(corners.end(), face.mIndices, face.mIndices + 3);
        }
        if (corners.empty()) return;
        if (!HasColours(mesh)) {
            made.faces.push_back({Triangles(mesh, corners), MaterialColour(mesh), {}});
            return;
        }
        for (const ColouredCorners& group : GroupByColour(corners, [&](std::uint32_t vertex) {
                 const aiColor4D& colour = mesh.mColors[0][vertex];
                 return VertexColour{colour.r, colour.g, colour.b, colour.a};
             })) {
            const auto& [red, green, blue, alpha] = group.colour;
            made.faces.push_back({Triangles(mesh, group.corners), Colour(red, green, blue, alpha), {}});
        }
    }

    // Plain white is what programs write that have no colours.
    static bool HasColours(const aiMesh& mesh) {
        if (!mesh.HasVertexColors(0)) return false;
        return !std::all_of(mesh.mColors[0], mesh.mColors[0] + mesh.mNumVertices,
                            [](const aiColor4D& colour) { return colour == aiColor4D(1, 1, 1, 1); });
    }

    Handle(Poly_Triangulation)
        Triangles(const aiMesh& mesh, const std::vector<std::uint32_t>& corners) const {
        std::vector<int> numbers(mesh.mNumVertices, 0);
        int used = 0;
        for (const std::uint32_t corner : corners)
            if (numbers[corner] == 0) numbers[corner] = ++used;
        const Handle(Poly_Triangulation) triangles = new Poly_Triangulation(
            used, static_cast<int>(corners.size() / 3), Standard_False, mesh.HasNormals());
        for (unsigned at = 0; at < mesh.mNumVertices; ++at) {
            if (numbers[at] == 0) continue;
            const aiVector3D& point = mesh.mVertices[at];
            triangles->SetNode(numbers[at], gp_Pnt(static_cast<double>(point.x), static_cast<double>(point.y),
                                                   static_cast<double>(point.z)));
            if (!mesh.HasNormals()) continue;
            const aiVector3D& normal = mesh.mNormals[at];
            triangles->SetNormal(numbers[at], gp_Vec3f(normal.x, normal.y, normal.z));
        }
        for (std::size_t at = 0; at < corners.size(); at += 3) {
            triangles->SetTriangle(
                static_cast<int>(at / 3) + 1,
                Poly_Triangle(numbers[corners[at]], numbers[corners[at + 1]], numbers[corners[at + 2]]));
        }
        return Transformed(triangles, scene_.toOurs);
    }

    static Quantity_ColorRGBA Colour(float red, float green, float blue, float alpha) {
        const auto clamp = [](float value) {
            return static_cast<double>(std::isfinite(value) ? std::clamp(value, 0.f, 1.f) : 0.f);
        };
        return {Quantity_Color(clamp(red), clamp(green), clamp(blue), Quantity_TOC_sRGB),
                static_cast<float>(clamp(alpha))};
    }

    std::optional<Quantity_ColorRGBA> MaterialColour(const aiMesh& mesh) const {
        const aiMaterial& material = *from_.mMaterials[mesh.mMaterialIndex];
        aiString name;
        aiColor3D colour;
        float opacity = 1;
        if (material.Get(AI_MATKEY_NAME, name) == AI_SUCCESS && name == aiString(AI_DEFAULT_MATERIAL_NAME))
            return {};
        if (material.Get(AI_MATKEY_COLOR_DIFFUSE, colour) != AI_SUCCESS) return {};
        material.Get(AI_MATKEY_OPACITY, opacity);
        return Colour(colour.r, colour.g, colour.b, opacity);
    }

    ScenePlacement AddNode(const aiNode& node) {
        const std::size_t number = scene_.nodes.size();
        scene_.nodes.push_back({node.mName.C_Str(), {node.mMeshes, node.mMeshes + node.mNumMeshes}, {}});
        for (unsigned at = 0; at < node.mNumChildren; ++at) {
            const ScenePlacement child = AddNode(*node.mChildren[at]);
            scene_.nodes[number].children.push_back(child);
        }
        return {number, PlaceOf(node.mTransformation), {}};
    }

    const aiScene& from_;
    Scene scene_;
};

}  // namespace

Outcome ReadByAssimp(JobContext& context, const AssimpSource& source,
                     const std::function<gp_GTrsf(const aiScene& scene)>& toOurs) {
    Log log;
    Assimp::Importer importer;
    importer.SetIOHandler(new NoOtherFiles);  // which it owns
    importer.SetPropertyBool(AI_CONFIG_IMPORT_COLLADA_USE_COLLADA_NAMES, true);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
    importer.SetPropertyInteger(AI_CONFIG_PP_SBP_REMOVE, aiPrimitiveType_LINE | aiPrimitiveType_POINT);
    const aiScene* const scene = importer.ReadFileFromMemory(
        source.bytes.data(), source.bytes.size(),
        aiProcess_ValidateDataStructure | aiProcess_Triangulate | aiProcess_SortByPType, source.suffix);
    if (scene == nullptr || scene->mRootNode == nullptr) {
        return Damaged("The file could not be read: " + CleanUtf8(importer.GetErrorString()));
    }
    if (!log.said.loss.empty())
        KeepGoing(context, [&] {
            throw ReadError("A part of the file could not be read: " + CleanUtf8(log.said.loss));
        });
    for (const std::string& line : log.said.lines) context.journal.Warn(line);
    if ((scene->mFlags & AI_SCENE_FLAGS_INCOMPLETE) != 0 && scene->mNumMeshes == 0) {
        return Outcome::Fail(ZEL_EMPTY, "The file contains no mesh");
    }
    AddScene(context.document, SceneConverter(*scene, toOurs(*scene)).Convert(), Utf8(context.file.stem()));
    return Outcome::Ok();
}

}  // namespace morvex
