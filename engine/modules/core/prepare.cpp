#include "engine/modules/core/prepare.h"

#include <BRep_Tool.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>

namespace morvex {
namespace {

bool HasTrianglesWithoutSurface(const Document& document) {
    for (const TDF_Label& part : document.Parts()) {
        for (TopExp_Explorer face(XCAFDoc_ShapeTool::GetShape(part), TopAbs_FACE); face.More(); face.Next()) {
            TopLoc_Location location;
            if (BRep_Tool::Surface(TopoDS::Face(face.Current()), location).IsNull()) return true;
        }
    }
    return false;
}

Outcome GiveSurfaces(JobContext& context) {
    if (HasTrianglesWithoutSurface(context.document)) {
        Outcome outcome = TrianglesToFaces(context);
        if (!outcome.IsOk()) return outcome;
        context.facets = true;
    }
    if (context.settings.constructSolids) CloseSolids(context.document);
    return context.settings.toNurbs && !context.facets ? ToNurbs(context) : Outcome::Ok();
}

}  // namespace

Outcome Prepare(JobContext& context) {
    const Settings& settings = context.settings;
    ApplyVisibility(context);
    if (!settings.wireframe) DropWireframe(context.document);
    if (settings.colours) {
        MaterialsToColours(context.document);
    } else {
        DropColours(context.document);
    }
    if (!settings.keepAssembly) Flatten(context.document, context.request.input.stem().string());
    if (context.document.Roots().IsEmpty())
        return Outcome::Fail(ZEL_EMPTY, "The settings leave nothing to write");
    switch (context.request.to->writerNeeds) {
        case Needs::Triangles:
            return MeshFaces(context);
        case Needs::Surfaces:
            return GiveSurfaces(context);
        case Needs::Anything:
            return settings.toNurbs ? ToNurbs(context) : Outcome::Ok();
    }
    return Outcome::Ok();
}

}  // namespace morvex
