#include "engine/modules/core/prepare.h"

#include <algorithm>

#include "engine/common/paths.h"
#include "engine/modules/core/faces.h"

namespace morvex {
namespace {

std::vector<TDF_Label> PartsWithSurfaces(const Document& document) {
    std::vector<TDF_Label> parts = document.Parts();
    std::erase_if(parts, [](const TDF_Label& part) {
        const TopoDS_Shape shape = XCAFDoc_ShapeTool::GetShape(part);
        return !HasSurfaces(shape);
    });
    return parts;
}

// Facets are neither sewn nor made B-splines.
Outcome GiveSurfaces(JobContext& context) {
    const std::vector<TopoDS_Face> faces = context.document.Faces();
    const std::vector<TDF_Label> exact = PartsWithSurfaces(context.document);
    context.facets = std::ranges::none_of(faces, HasSurface);
    if (context.settings.sew) SewFaces(context, exact);
    if (!std::ranges::all_of(faces, HasSurface)) {
        Outcome outcome = TrianglesToFaces(context);
        if (!outcome.IsOk()) return outcome;
    }
    if (context.settings.constructSolids) CloseSolids(context.document);
    return context.settings.toNurbs ? ToNurbs(context, exact) : Outcome::Ok();
}

// In steps of five degrees an arc looks like a curve on a sheet.
Outcome MeshFinely(JobContext& context) {
    constexpr double kAngle = 0.08;
    Settings settings = context.settings;
    settings.angularTolerance =
        settings.angularOff ? kAngle : std::min(kAngle, context.settings.angularTolerance);
    settings.angularOff = false;
    JobContext finer{context.request, settings,         context.journal, context.document,
                     context.file,    context.progress, context.facets};
    return MeshFaces(finer);
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
    if (!settings.keepAssembly) Flatten(context.document, Utf8(context.request.input.stem()));
    if (context.document.Roots().IsEmpty())
        return Outcome::Fail(ZEL_EMPTY, "The settings leave nothing to write");
    switch (context.request.to->writerNeeds) {
        case Needs::Triangles:
            return MeshFaces(context);
        case Needs::FineTriangles:
            return MeshFinely(context);
        case Needs::Surfaces:
            return GiveSurfaces(context);
        case Needs::Anything:
            return settings.toNurbs ? ToNurbs(context, PartsWithSurfaces(context.document)) : Outcome::Ok();
    }
    return Outcome::Ok();
}

}  // namespace morvex
