// The modelling library's own format, text or binary.
#include <BRepTools.hxx>
#include <BRep_Builder.hxx>
#include <BinTools.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS_TShape.hxx>
#include <istream>
#include <unordered_set>

#include "engine/common/paths.h"
#include "engine/modules/core/context.h"
#include "engine/modules/core/input_bytes.h"
#include "engine/modules/scan/brep_scan.h"

namespace morvex {

namespace {

// Null when the file cannot be read to its end.
TopoDS_Shape ReadShape(const InputBytes& file, bool text, const Message_ProgressRange& progress) {
    TopoDS_Shape shape;
    BytesBuffer buffer(file.View());
    std::istream stream(&buffer);
    // Without exceptions the reader goes on for ever behind the end of a file that is cut off.
    stream.exceptions(std::ios::failbit | std::ios::badbit);
    try {
        if (text) {
            BRepTools::Read(shape, stream, BRep_Builder(), progress);
        } else {
            BinTools::Read(shape, stream, progress);
        }
    } catch (const std::ios::failure&) {
        shape.Nullify();
    }
    return shape;
}

std::int64_t CountShapes(const TopoDS_Shape& shape, TopAbs_ShapeEnum type) {
    std::unordered_set<const TopoDS_TShape*> found;
    for (TopExp_Explorer at(shape, type); at.More(); at.Next()) found.insert(at.Current().TShape().get());
    return static_cast<std::int64_t>(found.size());
}

}  // namespace

extern "C" Outcome ReadBrep(JobContext& context) {
    const InputBytes file(context.file);
    const BrepScan scan(file.View());
    const TopoDS_Shape shape = ReadShape(file, scan.text, context.progress);
    if (shape.IsNull()) return Damaged("The file is not valid BREP");
    context.document.AddPart(shape, Utf8(context.file.stem()));
    context.document.Shapes()->UpdateAssemblies();
    if (!scan.text) return Outcome::Ok();
    context.journal.Account("shapes", scan.announced, scan.announced - scan.listed);
    context.journal.Account("solids", scan.solids, scan.solids - CountShapes(shape, TopAbs_SOLID));
    context.journal.Account("faces", scan.faces, scan.faces - CountShapes(shape, TopAbs_FACE));
    return Outcome::Ok();
}

extern "C" Outcome WriteBrep(JobContext& context) {
    return Written(
        BRepTools::Write(context.document.WholeShape(), Utf8(context.file).c_str(), context.progress));
}

}  // namespace morvex
