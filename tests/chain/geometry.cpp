#include "tests/chain/geometry.h"

#include <BRepBndLib.hxx>
#include <BRepGProp.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <BRep_Tool.hxx>
#include <Bnd_Box.hxx>
#include <GProp_GProps.hxx>
#include <IGESControl_Reader.hxx>
#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <Message_Printer.hxx>
#include <Poly_Triangulation.hxx>
#include <RWStl.hxx>
#include <STEPControl_Reader.hxx>
#include <TopExp_Explorer.hxx>
#include <TopLoc_Location.hxx>
#include <TopoDS.hxx>
#include <algorithm>

namespace morvex::chain {
namespace {

int Count(const TopoDS_Shape& shape, TopAbs_ShapeEnum kind) {
    int count = 0;
    for (TopExp_Explorer each(shape, kind); each.More(); each.Next()) ++count;
    return count;
}

void Keep(Measure& measure, const Bnd_Box& box) {
    if (!box.IsVoid()) {
        box.Get(measure.box[0], measure.box[1], measure.box[2], measure.box[3], measure.box[4],
                measure.box[5]);
    }
}

// Adds a triangle's part of the volume (the tetrahedron to the origin) and its corners to the box.
void AddTriangle(Measure& measure, Bnd_Box& box, const gp_Pnt& a, const gp_Pnt& b, const gp_Pnt& c) {
    measure.volume += a.XYZ().Dot(b.XYZ().Crossed(c.XYZ())) / 6;
    for (const gp_Pnt& corner : {a, b, c}) box.Add(corner);
    ++measure.triangles;
}

template <class Reader>
TopoDS_Shape Read(const std::filesystem::path& path) {
    Message::DefaultMessenger()->RemovePrinters(STANDARD_TYPE(Message_Printer));
    Reader reader;
    if (reader.ReadFile(path.c_str()) != IFSelect_RetDone) return {};
    reader.TransferRoots();
    return reader.OneShape();
}

}  // namespace

TopoDS_Shape ReadShape(const std::filesystem::path& path) {
    const std::string suffix = path.extension();
    return suffix == ".igs" || suffix == ".iges" ? Read<IGESControl_Reader>(path)
                                                 : Read<STEPControl_Reader>(path);
}

Measure MeasureShape(const TopoDS_Shape& shape) {
    Measure measure;
    measure.faces = Count(shape, TopAbs_FACE);
    measure.solids = Count(shape, TopAbs_SOLID);
    GProp_GProps properties;
    BRepGProp::VolumeProperties(shape, properties, true);
    measure.volume = properties.Mass();
    Bnd_Box box;
    BRepBndLib::AddOptimal(shape, box, false, false);
    Keep(measure, box);
    return measure;
}

Measure MeasureMesh(const TopoDS_Shape& shape, double linear, double angular) {
    Measure measure;
    const BRepMesh_IncrementalMesh mesher(shape, linear, false, angular);
    Bnd_Box box;
    for (TopExp_Explorer each(shape, TopAbs_FACE); each.More(); each.Next()) {
        TopLoc_Location location;
        const auto mesh = BRep_Tool::Triangulation(TopoDS::Face(each.Current()), location);
        if (mesh.IsNull()) continue;
        for (int i = 1; i <= mesh->NbTriangles(); ++i) {
            int n[3];
            mesh->Triangle(i).Get(n[0], n[1], n[2]);
            if (each.Current().Orientation() == TopAbs_REVERSED) std::swap(n[1], n[2]);
            const gp_Trsf place = location.Transformation();
            AddTriangle(measure, box, mesh->Node(n[0]).Transformed(place),
                        mesh->Node(n[1]).Transformed(place), mesh->Node(n[2]).Transformed(place));
        }
    }
    Keep(measure, box);
    return measure;
}

Measure MeasureStl(const std::filesystem::path& path) {
    Measure measure;
    const Handle(Poly_Triangulation) mesh = RWStl::ReadFile(path.c_str());
    Bnd_Box box;
    for (int i = 1; !mesh.IsNull() && i <= mesh->NbTriangles(); ++i) {
        int n[3];
        mesh->Triangle(i).Get(n[0], n[1], n[2]);
        AddTriangle(measure, box, mesh->Node(n[0]), mesh->Node(n[1]), mesh->Node(n[2]));
    }
    Keep(measure, box);
    return measure;
}

}  // namespace morvex::chain
