// The modelling library's own text format.
#include <BRepTools.hxx>
#include <BRep_Builder.hxx>
#include <fstream>

#include "engine/modules/core/context.h"

namespace morvex {

extern "C" Outcome ReadBrep(JobContext& context) {
    TopoDS_Shape shape;
    // Without exceptions the reader goes on for ever behind the end of a file that is cut off.
    std::ifstream file(context.file, std::ios::binary);
    file.exceptions(std::ios::failbit | std::ios::badbit);
    try {
        BRepTools::Read(shape, file, BRep_Builder(), context.progress);
    } catch (const std::ios::failure&) {
        shape.Nullify();
    }
    if (shape.IsNull()) return Damaged("The file is not valid BREP");
    context.document.AddPart(shape, context.file.stem().string());
    return Outcome::Ok();
}

extern "C" Outcome WriteBrep(JobContext& context) {
    return Written(BRepTools::Write(context.document.WholeShape(), context.file.c_str(), context.progress));
}

}  // namespace morvex
