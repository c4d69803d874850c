// STL, read and written, and the reader of OBJ.
#include <BRep_Builder.hxx>
#include <RWObj_CafReader.hxx>
#include <RWStl.hxx>
#include <StlAPI_Writer.hxx>
#include <TopoDS_Face.hxx>

#include "engine/modules/core/context.h"
#include "engine/modules/core/messages.h"

namespace morvex {
namespace {

constexpr double kMillimetre = 0.001;  // in metres, as the mesh formats' classes count

Outcome ReadMesh(JobContext& context, RWMesh_CafReader& reader) {
    reader.SetDocument(context.document.Data());
    reader.SetSystemLengthUnit(kMillimetre);
    reader.SetSystemCoordinateSystem(RWMesh_CoordinateSystem_Zup);
    if (!reader.Perform(context.file.c_str(), context.progress)) {
        return Damaged("The file, or a file it refers to, could not be read");
    }
    if ((reader.ExtraStatus() & RWMesh_CafReaderStatusEx_Partial) != 0)
        return Damaged("Only a part of the file could be read");
    // The readers drop what they do not understand, say so, and go on.
    const std::string failure = FirstFailure();
    return failure.empty() ? Outcome::Ok() : Damaged(failure);
}

}  // namespace

extern "C" Outcome ReadStl(JobContext& context) {
    const Handle(Poly_Triangulation) triangles = RWStl::ReadFile(context.file.c_str(), context.progress);
    if (triangles.IsNull()) return Damaged("The file is not valid STL");
    if (triangles->NbTriangles() == 0) return Outcome::Fail(ZEL_EMPTY, "The file contains no triangles");
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

}  // namespace morvex
