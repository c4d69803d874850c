#include "engine/modules/core/exchange_file.h"

#include <TopExp_Explorer.hxx>

namespace morvex {

ShapeSet ShapesOf(const Document& document) {
    ShapeSet shapes;
    for (const TDF_Label& part : document.Parts()) {
        for (const TopAbs_ShapeEnum type : {TopAbs_SOLID, TopAbs_FACE}) {
            for (TopExp_Explorer at(XCAFDoc_ShapeTool::GetShape(part), type); at.More(); at.Next())
                shapes.insert(at.Current().TShape().get());
        }
    }
    return shapes;
}

bool IsWithin(const ShapeSet& shapes, const TopoDS_Shape& result, TopAbs_ShapeEnum type) {
    if (result.IsNull()) return false;
    TopExp_Explorer part(result, type);
    if (!part.More()) return false;
    for (; part.More(); part.Next()) {
        if (!shapes.contains(part.Current().TShape().get())) return false;
    }
    return true;
}

Outcome NotTransferred(const JobContext& context) {
    return Outcome::Fail(ZEL_FAILED, std::string("The model could not be turned into ") +
                                         context.request.to->name + " entities");
}

}  // namespace morvex
