#include "engine/modules/core/prepare.h"

#include <algorithm>

#include "engine/common/paths.h"
#include "engine/modules/core/faces.h"

namespace morvex {
namespace {

Outcome GiveSurfaces(JobContext& context) {
    if (!std::ranges::all_of(context.document.Faces(), HasSurface)) {
        Outcome outcome = TrianglesToFaces(context);
        if (!outcome.IsOk()) return outcome;
        context.facets = true;
    }
    if (context.settings.sew && !context.facets) SewFaces(context);
    if (context.settings.constructSolids) CloseSolids(context.document);
    return context.settings.toNurbs && !context.facets ? ToNurbs(context) : Outcome::Ok();
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
            return settings.toNurbs ? ToNurbs(context) : Outcome::Ok();
    }
    return Outcome::Ok();
}

}  // namespace morvex
