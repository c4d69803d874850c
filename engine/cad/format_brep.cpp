// The modelling library's own text format.
#include <BRepTools.hxx>
#include <BRep_Builder.hxx>

#include "engine/cad/context.h"

namespace morvex {

extern "C" Outcome ReadBrep(JobContext& context) {
    TopoDS_Shape shape;
    if (!BRepTools::Read(shape, context.file.c_str(), BRep_Builder(), context.progress) || shape.IsNull()) {
        return Damaged("The file is no valid BREP file");
    }
    context.document.AddPart(shape, context.file.stem().string());
    return Outcome::Ok();
}

extern "C" Outcome WriteBrep(JobContext& context) {
    return BRepTools::Write(context.document.WholeShape(), context.file.c_str(), context.progress)
               ? Outcome::Ok()
               : NotWritten();
}

}  // namespace morvex
