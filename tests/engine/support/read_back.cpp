#include "tests/engine/support/read_back.h"

#include <BRepBndLib.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <BRepTools.hxx>
#include <BRep_Builder.hxx>
#include <BRep_Tool.hxx>
#include <Bnd_Box.hxx>
#include <IGESCAFControl_Reader.hxx>
#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <Message_Printer.hxx>
#include <Model/COM/NMR_DLLInterfaces.h>
#include <Poly_Triangulation.hxx>
#include <RWGltf_CafReader.hxx>
#include <RWObj_CafReader.hxx>
#include <RWStl.hxx>
#include <STEPCAFControl_Reader.hxx>
#include <TDataStd_Name.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <VrmlData_DataMapOfShapeAppearance.hxx>
#include <VrmlData_Scene.hxx>
#include <XCAFApp_Application.hxx>
#include <XCAFDoc_ColorTool.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <XCAFDoc_VisMaterial.hxx>
#include <XCAFDoc_VisMaterialTool.hxx>
#include <assimp/Importer.hpp>
#include <assimp/config.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>

namespace morvex::test {
namespace {

std::string Colour(double red, double green, double blue, double alpha) {
    std::string text;
    for (const double value : {red, green, blue, alpha}) {
        char digits[8];
        std::snprintf(digits, sizeof digits, "%02ld", std::lround(value * 16));
        text += digits;
    }
    return text;
}

std::string Colour(const Quantity_ColorRGBA& colour) {
    double red, green, blue;
    colour.GetRGB().Values(red, green, blue, Quantity_TOC_sRGB);
    return Colour(red, green, blue, static_cast<double>(colour.Alpha()));
}

void AddTriangle(Facts& facts, const gp_Pnt& a, const gp_Pnt& b, const gp_Pnt& c) {
    const gp_Vec normal = gp_Vec(a, b).Crossed(gp_Vec(a, c));
    facts.area += normal.Magnitude() / 2;
    facts.volume += gp_Vec(a.XYZ()).Dot(gp_Vec(b.XYZ()).Crossed(gp_Vec(c.XYZ()))) / 6;
    ++facts.triangles;
    for (const gp_Pnt& point : {a, b, c}) {
        for (int axis = 0; axis < 3; ++axis) {
            auto &low = facts.low[static_cast<std::size_t>(axis)],
                 &high = facts.high[static_cast<std::size_t>(axis)];
            low = std::min(low, point.Coord(axis + 1));
            high = std::max(high, point.Coord(axis + 1));
        }
    }
}

void AddShape(Facts& facts, const TopoDS_Shape& shape) {
    Bnd_Box box;
    BRepBndLib::AddClose(shape, box);
    if (!box.IsVoid())
        BRepMesh_IncrementalMesh(shape, std::sqrt(box.SquareExtent()) * 1e-3, Standard_False, 0.5);
    for (TopExp_Explorer solid(shape, TopAbs_SOLID); solid.More(); solid.Next()) ++facts.solids;
    for (TopExp_Explorer face(shape, TopAbs_FACE); face.More(); face.Next()) {
        ++facts.faces;
        TopLoc_Location location;
        const auto mesh = BRep_Tool::Triangulation(TopoDS::Face(face.Current()), location);
        if (mesh.IsNull()) continue;
        for (int at = 1; at <= mesh->NbTriangles(); ++at) {
            int a, b, c;
            mesh->Triangle(at).Get(a, b, c);
            if (face.Current().Orientation() == TopAbs_REVERSED) std::swap(b, c);
            const auto point = [&](int node) {
                return mesh->Node(node).Transformed(location.Transformation());
            };
            AddTriangle(facts, point(a), point(b), point(c));
        }
    }
}

using ReadDocument = std::function<bool(Handle(TDocStd_Document)&)>;

Facts ReadByDocument(const ReadDocument& read) {
    Facts facts;
    Message::DefaultMessenger()->RemovePrinters(STANDARD_TYPE(Message_Printer));
    Handle(TDocStd_Document) document;
    XCAFApp_Application::GetApplication()->NewDocument("BinXCAF", document);
    facts.read = read(document);
    if (facts.read) {
        const auto shapes = XCAFDoc_DocumentTool::ShapeTool(document->Main());
        TDF_LabelSequence labels;
        shapes->GetFreeShapes(labels);
        for (const TDF_Label& label : labels) AddShape(facts, XCAFDoc_ShapeTool::GetShape(label));
        shapes->GetShapes(labels);
        for (const TDF_Label& label : labels) {
            Handle(TDataStd_Name) name;
            if (label.FindAttribute(TDataStd_Name::GetID(), name)) {
                facts.names.insert(TCollection_AsciiString(name->Get()).ToCString());
            }
        }
        const auto colours = XCAFDoc_DocumentTool::ColorTool(document->Main());
        colours->GetColors(labels);
        for (const TDF_Label& label : labels) {
            Quantity_ColorRGBA colour;
            if (colours->GetColor(label, colour)) facts.colours.insert(Colour(colour));
        }
        const auto materials = XCAFDoc_DocumentTool::VisMaterialTool(document->Main());
        materials->GetMaterials(labels);
        for (const TDF_Label& label : labels) {
            facts.colours.insert(Colour(materials->GetMaterial(label)->BaseColor()));
        }
    }
    XCAFApp_Application::GetApplication()->Close(document);
    return facts;
}

template <class Reader>
Facts ReadExchange(const std::string& path) {
    return ReadByDocument([&](Handle(TDocStd_Document) & document) {
        Reader reader;
        reader.SetColorMode(Standard_True);
        reader.SetNameMode(Standard_True);
        return reader.ReadFile(path.c_str()) == IFSelect_RetDone && reader.Transfer(document);
    });
}

template <class Reader>
Facts ReadMesh(const std::string& path, const std::function<void(Reader&)>& setUp) {
    return ReadByDocument([&](Handle(TDocStd_Document) & document) {
        Reader reader;
        reader.SetDocument(document);
        reader.SetSystemLengthUnit(0.001);
        reader.SetSystemCoordinateSystem(RWMesh_CoordinateSystem_Zup);
        setUp(reader);
        return reader.Perform(path.c_str(), Message_ProgressRange());
    });
}

Facts ReadShape(const std::string& path) {
    Facts facts;
    TopoDS_Shape shape;
    facts.read = BRepTools::Read(shape, path.c_str(), BRep_Builder());
    if (facts.read) AddShape(facts, shape);
    return facts;
}

Facts ReadTriangles(const std::string& path) {
    Facts facts;
    const auto triangles = RWStl::ReadFile(path.c_str());
    facts.read = !triangles.IsNull();
    for (int at = 1; facts.read && at <= triangles->NbTriangles(); ++at) {
        int a, b, c;
        triangles->Triangle(at).Get(a, b, c);
        AddTriangle(facts, triangles->Node(a), triangles->Node(b), triangles->Node(c));
    }
    return facts;
}

// A word, and its values.
void TakeLine(Facts& facts, std::istringstream line) {
    std::string word, text;
    line >> word >> std::ws;
    if (word == "box") {
        for (double& number : facts.low) line >> number;
        for (double& number : facts.high) line >> number;
    } else if (word == "colour") {
        double red = 0, green = 0, blue = 0, alpha = 0;
        line >> red >> green >> blue >> alpha;
        facts.colours.insert(Colour(red, green, blue, alpha));
    } else if (word == "line") {
        line >> text;
        std::vector<double>& points = facts.lines.emplace_back(text, std::vector<double>()).second;
        for (double number = 0; line >> number;) points.push_back(number);
    } else if (word == "area" || word == "volume") {
        line >> (word == "area" ? facts.area : facts.volume);
    } else if (word == "triangles" || word == "solids" || word == "faces") {
        line >> (word == "triangles" ? facts.triangles : word == "solids" ? facts.solids : facts.faces);
    } else if (std::getline(line, text)) {
        if (word == "text") text.erase(0, text.find(' ') + 1);
        (word == "name" ? facts.names : word == "text" ? facts.texts : facts.faults).insert(text);
    }
}

Facts ReadByScript(const std::string& path) {
    Facts facts;
    const std::string command = "/usr/bin/python3 '" MORVEX_READ_BACK_SCRIPT "' '" + path + "'";
    FILE* const output = popen(command.c_str(), "r");
    char* line = nullptr;
    std::size_t size = 0;
    while (getline(&line, &size, output) > 0) {
        std::string text = line;
        text.pop_back();
        TakeLine(facts, std::istringstream(text));
    }
    std::free(line);
    facts.read = pclose(output) == 0;
    return facts;
}

}  // namespace

double Facts::Diagonal() const {
    return std::hypot(high[0] - low[0], high[1] - low[1], high[2] - low[2]);
}

Facts ReadByAssimp(const std::string& path) {
    Facts facts;
    Assimp::Importer importer;
    importer.SetPropertyBool(AI_CONFIG_IMPORT_COLLADA_USE_COLLADA_NAMES, true);
    const aiScene* const scene =
        importer.ReadFile(path, aiProcess_Triangulate | aiProcess_ValidateDataStructure);
    facts.read = scene != nullptr;
    if (!facts.read) return facts;
    const std::string suffix = std::filesystem::path(path).extension();
    const bool metresYUp = suffix == ".dae" || suffix == ".glb" || suffix == ".gltf";
    const std::function<void(const aiNode&, aiMatrix4x4)> visit = [&](const aiNode& node, aiMatrix4x4 above) {
        above = above * node.mTransformation;
        facts.names.insert(node.mName.C_Str());
        for (unsigned number = 0; number < node.mNumMeshes; ++number) {
            const aiMesh& mesh = *scene->mMeshes[node.mMeshes[number]];
            const auto point = [&](unsigned index) {
                const aiVector3D p = above * mesh.mVertices[index];
                return metresYUp ? gp_Pnt(p.x * 1000, -p.z * 1000, p.y * 1000) : gp_Pnt(p.x, p.y, p.z);
            };
            for (unsigned at = 0; at < mesh.mNumFaces; ++at) {
                const unsigned* corner = mesh.mFaces[at].mIndices;
                if (mesh.mFaces[at].mNumIndices == 3)
                    AddTriangle(facts, point(corner[0]), point(corner[1]), point(corner[2]));
            }
            for (unsigned at = 0; mesh.HasNormals() && at < mesh.mNumFaces; ++at) {
                const unsigned* corner = mesh.mFaces[at].mIndices;
                const aiVector3D &a = mesh.mVertices[corner[0]], &b = mesh.mVertices[corner[1]],
                                 &c = mesh.mVertices[corner[2]];
                facts.trianglesWithNormals += (((b - a) ^ (c - a)) * mesh.mNormals[corner[0]]) > 0;
            }
            const aiMaterial& material = *scene->mMaterials[mesh.mMaterialIndex];
            aiColor4D colour;
            aiString name;
            float opacity = 1;
            material.Get(AI_MATKEY_OPACITY, opacity);
            material.Get(AI_MATKEY_NAME, name);
            if (name != aiString(AI_DEFAULT_MATERIAL_NAME) &&
                material.Get(AI_MATKEY_COLOR_DIFFUSE, colour) == AI_SUCCESS) {
                const float alpha = suffix == ".3mf" ? colour.a : opacity;
                facts.colours.insert(Colour(colour.r, colour.g, colour.b, alpha));
            }
        }
        for (unsigned at = 0; at < node.mNumChildren; ++at) visit(*node.mChildren[at], above);
    };
    visit(*scene->mRootNode, aiMatrix4x4());
    return facts;
}

Facts ReadVrml(const std::string& path) {
    Facts facts;
    std::ifstream file(path);
    VrmlData_Scene scene;
    scene << file;
    VrmlData_DataMapOfShapeAppearance appearances;
    const TopoDS_Shape shape = scene.GetShape(appearances);
    facts.read = scene.Status() == VrmlData_StatusOK && !shape.IsNull();
    if (!facts.read) return facts;
    AddShape(facts, shape);
    for (VrmlData_DataMapOfShapeAppearance::Iterator each(appearances); each.More(); each.Next()) {
        const auto& material = each.Value()->Material();
        if (material.IsNull()) continue;
        facts.colours.insert(Colour(
            Quantity_ColorRGBA(material->DiffuseColor(), static_cast<float>(1 - material->Transparency()))));
    }
    return facts;
}

std::string ThreeMfComplaint(const std::string& path) {
    const auto release = [](NMR::PLib3MFBase* object) { NMR::lib3mf_release(object); };
    using Owner = std::unique_ptr<NMR::PLib3MFBase, decltype(release)>;
    NMR::PLib3MFModel* model = nullptr;
    NMR::PLib3MFModelReader* reader = nullptr;
    if (NMR::lib3mf_createmodel(&model) != 0 || NMR::lib3mf_model_queryreader(model, "3mf", &reader) != 0)
        return "there is no reader";
    const Owner modelOwner(model, release), readerOwner(reader, release);
    NMR::lib3mf_reader_setstrictmodeactive(reader, true);
    DWORD warnings = 0, code = 0;
    LPCSTR message = nullptr;
    if (NMR::lib3mf_reader_readfromfileutf8(reader, path.c_str()) != 0) {
        NMR::lib3mf_getlasterror(reader, &code, &message);
        return message != nullptr ? message : "it cannot be read";
    }
    NMR::lib3mf_reader_getwarningcount(reader, &warnings);
    return warnings == 0 ? "" : std::to_string(warnings) + " warnings";
}

Facts ReadBack(const std::string& path) {
    const std::string suffix = std::filesystem::path(path).extension();
    if (suffix == ".step" || suffix == ".stp") return ReadExchange<STEPCAFControl_Reader>(path);
    if (suffix == ".iges" || suffix == ".igs") return ReadExchange<IGESCAFControl_Reader>(path);
    if (suffix == ".brep") return ReadShape(path);
    if (suffix == ".stl") return ReadTriangles(path);
    if (suffix == ".obj") {
        return ReadMesh<RWObj_CafReader>(path, [](RWObj_CafReader& reader) {
            reader.SetFileLengthUnit(0.001);
            reader.SetFileCoordinateSystem(RWMesh_CoordinateSystem_Zup);
        });
    }
    if (suffix == ".wrl") return ReadVrml(path);
    if (suffix == ".dxf" || suffix == ".xml") return ReadByScript(path);
    if (suffix == ".glb" || suffix == ".gltf")
        return ReadMesh<RWGltf_CafReader>(path, [](RWGltf_CafReader&) {});
    return ReadByAssimp(path);
}

}  // namespace morvex::test
