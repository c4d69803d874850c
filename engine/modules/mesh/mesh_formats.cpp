// STL, OBJ and glTF.
#include <BRep_Builder.hxx>
#include <RWGltf_CafWriter.hxx>
#include <RWObj_CafReader.hxx>
#include <RWObj_CafWriter.hxx>
#include <RWStl.hxx>
#include <StlAPI_Writer.hxx>
#include <TColStd_IndexedDataMapOfStringString.hxx>
#include <TopoDS_Face.hxx>

#include "engine/modules/core/context.h"
#include "engine/modules/core/messages.h"

namespace morvex {
namespace {

constexpr double kMillimetre = 0.001;  // in metres, as the mesh formats' classes count
constexpr double kMetre = 1;

bool IsBinaryGltf(const JobContext& context) {
    return context.request.to->id == FormatId::Glb;
}

Outcome ReadMesh(JobContext& context, RWMesh_CafReader& reader) {
    reader.SetDocument(context.document.Data());
    reader.SetSystemLengthUnit(kMillimetre);
    reader.SetSystemCoordinateSystem(RWMesh_CoordinateSystem_Zup);
    if (!reader.Perform(context.file.c_str(), context.progress)) {
        return Damaged("The file, or a file it refers to, could not be read");
    }
    if ((reader.ExtraStatus() & RWMesh_CafReaderStatusEx_Partial) != 0)
        return Damaged("Only a part could be read");
    // The readers drop what they do not understand, say so, and go on.
    const std::string failure = FirstFailure();
    return failure.empty() ? Outcome::Ok() : Damaged(failure);
}

TColStd_IndexedDataMapOfStringString FileInfo() {
    TColStd_IndexedDataMapOfStringString info;
    info.Add("Author", "Morvex");
    return info;
}

}  // namespace

extern "C" Outcome ReadStl(JobContext& context) {
    const Handle(Poly_Triangulation) triangles = RWStl::ReadFile(context.file.c_str(), context.progress);
    if (triangles.IsNull()) return Damaged("The file is no valid STL file");
    if (triangles->NbTriangles() == 0) return Outcome::Fail(ZEL_EMPTY, "There is no triangle in the file");
    TopoDS_Face face;
    BRep_Builder().MakeFace(face, triangles);
    context.document.AddPart(face, context.file.stem().string());
    return Outcome::Ok();
}

extern "C" Outcome WriteStl(JobContext& context) {
    StlAPI_Writer writer;
    writer.ASCIIMode() = context.settings.asciiStl;
    return Written(writer.Write(context.document.WholeShape(), context.file.c_str(), context.progress));
}

// The format says nothing of units and axes. Millimetres and Z up are taken for granted both ways.
extern "C" Outcome ReadObj(JobContext& context) {
    RWObj_CafReader reader;
    reader.SetFileLengthUnit(kMillimetre);
    reader.SetFileCoordinateSystem(RWMesh_CoordinateSystem_Zup);
    return ReadMesh(context, reader);
}

extern "C" Outcome WriteObj(JobContext& context) {
    RWObj_CafWriter writer(context.file.c_str());
    writer.ChangeCoordinateSystemConverter().SetInputLengthUnit(kMillimetre);
    writer.ChangeCoordinateSystemConverter().SetOutputLengthUnit(kMillimetre);
    return Written(writer.Perform(context.document.Data(), FileInfo(), context.progress));
}

extern "C" Outcome WriteGltf(JobContext& context) {
    RWGltf_CafWriter writer(context.file.c_str(), IsBinaryGltf(context));
    writer.ChangeCoordinateSystemConverter().SetInputLengthUnit(kMillimetre);
    writer.ChangeCoordinateSystemConverter().SetInputCoordinateSystem(RWMesh_CoordinateSystem_Zup);
    writer.ChangeCoordinateSystemConverter().SetOutputLengthUnit(kMetre);
    writer.ChangeCoordinateSystemConverter().SetOutputCoordinateSystem(RWMesh_CoordinateSystem_glTF);
    return Written(writer.Perform(context.document.Data(), FileInfo(), context.progress));
}

}  // namespace morvex
