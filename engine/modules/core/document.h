// The model between reader and writer: one document, in millimetres, Z up.
#pragma once

#include <Quantity_ColorRGBA.hxx>
#include <TDF_LabelSequence.hxx>
#include <TDocStd_Document.hxx>
#include <TopoDS_Face.hxx>
#include <TopoDS_Shape.hxx>
#include <XCAFDoc_ColorTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <XCAFPrs_DocumentExplorer.hxx>
#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace morvex {

struct ModelCounts {
    std::int64_t parts = 0;      // different ones
    std::int64_t instances = 0;  // parts as placed; the numbers below are over the instances
    std::int64_t solids = 0, faces = 0, triangles = 0;
    std::int64_t edges = 0;  // that bound no face
    std::int64_t colours = 0;
};

class Document {
  public:
    Document();

    const Handle(TDocStd_Document) & Data() const { return document_; }
    const Handle(XCAFDoc_ShapeTool) & Shapes() const { return shapes_; }
    const Handle(XCAFDoc_ColorTool) & Colours() const { return colours_; }

    // Adds a shape as one part. A location of the shape goes to an instance of it, since a part that is
    // located by itself loses name and colour in several writers; UpdateAssemblies is due after the last one.
    TDF_Label AddPart(const TopoDS_Shape& shape, const std::string& name);

    // Gives instances that carry no more than a running number the name of the part they show.
    void NameInstances();

    // Gives the label a colour of its own, in a time that does not grow with the number of colours.
    void SetColour(const TDF_Label& label, const Quantity_ColorRGBA& colour);
    // The colour that the label itself has; false when it has none.
    bool ColourOf(const TDF_Label& label, Quantity_ColorRGBA& colour) const;

    // Whether the explorer's node, or an assembly above it, is hidden.
    bool Hides(const XCAFPrs_DocumentExplorer& node) const;

    TDF_LabelSequence Roots() const;
    // The labels that hold geometry of their own, each once.
    std::vector<TDF_Label> Parts() const;
    // The faces of all parts, each part once.
    std::vector<TopoDS_Face> Faces() const;
    // All roots as one shape, a single one as it is; null when there is none.
    TopoDS_Shape WholeShape() const;

    ModelCounts Count() const;
    // What is wrong with the geometry of a mesh (a node that is no finite number, a corner without a node, a
    // face with nothing in it); else empty.
    std::string MeshFault() const;

  private:
    Handle(TDocStd_Document) document_;
    Handle(XCAFDoc_ShapeTool) shapes_;
    Handle(XCAFDoc_ColorTool) colours_;
    std::map<std::array<float, 4>, TDF_Label> colourLabels_;  // those that SetColour knows
};

}  // namespace morvex
