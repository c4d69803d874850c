// Triangles for every face.
#include <BRepBndLib.hxx>
#include <BRepBuilderAPI_Copy.hxx>
#include <BRepGProp.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <BRepTools.hxx>
#include <BRep_Builder.hxx>
#include <BRep_Tool.hxx>
#include <Bnd_Box.hxx>
#include <GProp_GProps.hxx>
#include <IMeshTools_Parameters.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Compound.hxx>
#include <cmath>

#include "engine/modules/core/faces.h"
#include "engine/modules/core/prepare.h"

namespace morvex {
namespace {

constexpr double kShareOfDiagonal = 1e-3;
constexpr double kOwnAngle = 0.5;

struct FaceSurvey {
    std::int64_t surfaces = 0;  // faces that can be meshed
    std::int64_t unmeshed = 0;  // of those
    std::int64_t flat = 0;      // of those, ones without an area
};

bool HasArea(const TopoDS_Face& face) {
    constexpr double kNone = 1e-9;
    Bnd_Box box;
    BRepBndLib::Add(face, box);
    GProp_GProps surface;
    BRepGProp::SurfaceProperties(face, surface);
    return box.IsVoid() || !(std::abs(surface.Mass()) <= kNone * box.SquareExtent());
}

// Tells what is flat only where it is to `judge`, since that takes time.
FaceSurvey Survey(const TopoDS_Shape& shape, bool judge = false) {
    FaceSurvey survey;
    for (const TopoDS_Face& face : FacesOf(shape)) {
        if (!HasSurface(face)) continue;
        ++survey.surfaces;
        if (!FaceTriangles(face).IsNull()) continue;
        ++survey.unmeshed;
        survey.flat += judge && !HasArea(face);
    }
    return survey;
}

double LinearDeflection(const Settings& settings, const TopoDS_Shape& shape) {
    if (!settings.linearOff) return settings.linearTolerance;
    Bnd_Box box;
    BRepBndLib::AddClose(shape, box);
    if (box.IsVoid()) return settings.linearTolerance;
    const double diagonal = std::sqrt(box.SquareExtent());
    return std::isfinite(diagonal) && diagonal > 0 ? diagonal * kShareOfDiagonal : settings.linearTolerance;
}

// A face that is smaller than the shortest edge allowed gets its triangles all the same. Its edges are its
// own then, since the neighbours have theirs already.
void MeshSmallFaces(const TopoDS_Shape& shape, IMeshTools_Parameters parameters) {
    parameters.MinSize = -1;
    for (const TopoDS_Face& face : FacesOf(shape)) {
        if (!HasSurface(face) || !FaceTriangles(face).IsNull()) continue;
        const TopoDS_Face copy =
            TopoDS::Face(BRepBuilderAPI_Copy(face, Standard_False, Standard_False).Shape());
        BRepMesh_IncrementalMesh mesher(copy, parameters);
        TopLoc_Location location;
        const auto triangles = BRep_Tool::Triangulation(copy, location);
        if (!triangles.IsNull()) BRep_Builder().UpdateFace(face, triangles);
    }
}

}  // namespace

Outcome MeshFaces(JobContext& context) {
    if (context.document.Count().faces == 0)
        return Outcome::Fail(ZEL_EMPTY, "The model has no faces to mesh");
    // Each part once, whatever the number of its instances.
    TopoDS_Compound parts;
    const BRep_Builder builder;
    builder.MakeCompound(parts);
    for (const TDF_Label& part : context.document.Parts()) {
        const TopoDS_Shape shape = XCAFDoc_ShapeTool::GetShape(part);
        if (Survey(shape).surfaces == 0) continue;
        if (!context.settings.keepMeshes) BRepTools::Clean(shape);
        // The mesher leaves alone what is fine enough for the tolerance that is asked for.
        const bool refine = !context.settings.linearOff || !context.settings.keepMeshes;
        if (refine || Survey(shape).unmeshed > 0) builder.Add(parts, shape);
    }
    if (parts.NbChildren() == 0) return Outcome::Ok();  // there are triangles already

    IMeshTools_Parameters parameters;
    parameters.Deflection = LinearDeflection(context.settings, context.document.WholeShape());
    parameters.Angle = context.settings.angularOff ? kOwnAngle : context.settings.angularTolerance;
    parameters.MinSize = context.settings.smallestEdge > 0 ? context.settings.smallestEdge : -1;
    parameters.InParallel = !context.request.parallel;
    parameters.AllowQualityDecrease = Standard_False;
    BRepMesh_IncrementalMesh mesher(parts, parameters, context.progress);

    if (context.settings.smallestEdge > 0) MeshSmallFaces(parts, parameters);

    const FaceSurvey survey = Survey(parts, true);
    if (survey.unmeshed == survey.surfaces && !context.document.Count().triangles) {
        return Outcome::Fail(ZEL_FAILED, "No face could be meshed");
    }
    if (survey.flat > 0)
        context.journal.Warn(std::to_string(survey.flat) + " faces without an area were left out");
    if (survey.unmeshed > survey.flat) {
        context.journal.Lose(std::to_string(survey.unmeshed - survey.flat) + " of " +
                             std::to_string(survey.surfaces) + " faces, which could not be meshed");
    }
    return Outcome::Ok();
}

}  // namespace morvex
