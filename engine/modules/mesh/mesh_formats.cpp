// STL, read and written.
#include <BRep_Builder.hxx>
#include <RWStl.hxx>
#include <StlAPI_Writer.hxx>
#include <TopoDS_Face.hxx>

#include "engine/modules/core/context.h"

namespace morvex {

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

}  // namespace morvex
