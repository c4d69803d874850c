// Everything between reader and writer.
#pragma once

#include "engine/modules/core/context.h"

namespace morvex {

// Applies the settings that change the model, then gives the writer what it needs: triangles, or surfaces.
Outcome Prepare(JobContext& context);

// Right after reading: locations keep their rigid part, and scale and mirroring go into copies of the parts.
void BakeLocations(JobContext& context);

// The steps of the preparation.

// Takes an instance, or a part or assembly with all its instances, out of the document.
void Remove(const Document& document, const TDF_Label& label);
// Removes assemblies that have lost their last component.
void RemoveEmptyAssemblies(const Document& document);

// Leaves out what is hidden, keeps it hidden where the output's format can, or shows it, as the two
// visibility settings say.
void ApplyVisibility(JobContext& context);
// Leaves out edges, wires and points that bound no face.
void DropWireframe(Document& document);
// Makes the colours of materials (which mesh formats have) plain colours, which every writer knows.
void MaterialsToColours(Document& document);
void DropColours(Document& document);
// One part in place of the assembly tree, and another for what is hidden. Colours stay.
void Flatten(Document& document, const std::string& name);
// Every surface and curve of the parts as a B-spline.
Outcome ToNurbs(JobContext& context, const std::vector<TDF_Label>& parts);
// Joins the loose faces of each of the parts along edges that lie within tolerance of each other.
void SewFaces(JobContext& context, const std::vector<TDF_Label>& parts);
// Solids out of closed shells.
void CloseSolids(Document& document);

// Meshes every face that has a surface.
Outcome MeshFaces(JobContext& context);

// Faces that have triangles but no surface become plane faces with shared edges, and solids where they close;
// all else stays as it is.
// Refused above a limit, as each triangle becomes about 1.2 KB of text and a third of a millisecond.
Outcome TrianglesToFaces(JobContext& context);
constexpr std::int64_t kMostFacets = 50'000;

}  // namespace morvex
