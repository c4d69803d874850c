#include "tests/engine/support/samples.h"

#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepTools.hxx>
#include <Interface_Static.hxx>
#include <Quantity_ColorRGBA.hxx>
#include <STEPCAFControl_Controller.hxx>
#include <STEPCAFControl_Writer.hxx>
#include <TDataStd_Name.hxx>
#include <TDocStd_Document.hxx>
#include <TopExp_Explorer.hxx>
#include <XCAFApp_Application.hxx>
#include <XCAFDimTolObjects_DimensionObject.hxx>
#include <XCAFDoc_ColorTool.hxx>
#include <XCAFDoc_DimTolTool.hxx>
#include <XCAFDoc_Dimension.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_LayerTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <array>
#include <gtest/gtest.h>
#include <sstream>
#include <vector>

namespace morvex::test {
namespace {

void Name(const TDF_Label& label, const char* name) {
    TDataStd_Name::Set(label, TCollection_ExtendedString(name, Standard_True));
}

Handle(TDocStd_Document) NewDocument() {
    Handle(TDocStd_Document) document;
    XCAFApp_Application::GetApplication()->NewDocument("BinXCAF", document);
    return document;
}

void WriteStep(const Handle(TDocStd_Document) & document, const std::string& path, bool apart = false) {
    STEPCAFControl_Controller::Init();
    Interface_Static::SetIVal("write.step.schema", 5);
    STEPCAFControl_Writer writer;
    writer.SetDimTolMode(Standard_True);
    ASSERT_TRUE(writer.Transfer(document, STEPControl_AsIs, apart ? "part_" : nullptr));
    ASSERT_EQ(writer.Write(path.c_str()), IFSelect_RetDone);
}

}  // namespace

std::vector<Corner> BoxCorners(double unit) {
    std::vector<Corner> corners;
    for (int at = 0; at < 8; ++at) {
        const auto side = [&](int axis) { return ((at >> axis & 1) != 0 ? kBoxHigh : kBoxLow)[axis] / unit; };
        corners.push_back({side(0), side(1), side(2)});
    }
    return corners;
}

void WriteHiddenAndWire(const std::string& stepPath) {
    const Handle(TDocStd_Document) document = NewDocument();
    const auto shapes = XCAFDoc_DocumentTool::ShapeTool(document->Main());
    for (const double x : {0, 100}) {
        const TDF_Label part =
            shapes->AddShape(BRepPrimAPI_MakeBox(gp_Pnt(x, 0, 0), 10, 10, 10).Shape(), Standard_False);
        Name(part, x > 0 ? "hidden" : "shown");
        XCAFDoc_DocumentTool::ColorTool(document->Main())->SetVisibility(part, x == 0);
    }
    shapes->AddShape(BRepBuilderAPI_MakeEdge(gp_Pnt(0, 50, 0), gp_Pnt(10, 50, 0)).Edge(), Standard_False);
    WriteStep(document, stepPath);
}

void WriteColouredPlaces(const std::string& stepPath) {
    const Handle(TDocStd_Document) document = NewDocument();
    const auto shapes = XCAFDoc_DocumentTool::ShapeTool(document->Main());
    const auto colour = [&](const TDF_Label& label, double red, double green, double blue) {
        XCAFDoc_DocumentTool::ColorTool(document->Main())
            ->SetColor(label, Quantity_Color(red, green, blue, Quantity_TOC_sRGB), XCAFDoc_ColorSurf);
    };
    const TDF_Label box = shapes->AddShape(BRepPrimAPI_MakeBox(10, 20, 30).Shape(), Standard_False);
    const TDF_Label cylinder = shapes->AddShape(BRepPrimAPI_MakeCylinder(5, 40).Shape(), Standard_False);
    const TDF_Label top = shapes->NewShape();
    gp_Trsf shift;
    shift.SetTranslation(gp_Vec(100, 0, 0));
    colour(box, 0.5, 0.5, 0.5);
    shapes->AddComponent(top, box, TopLoc_Location());
    colour(shapes->AddComponent(top, box, shift), 0, 0, 1);
    colour(cylinder, 1, 0, 0);
    shapes->UpdateAssemblies();
    WriteStep(document, stepPath);
}

void WriteMeshedCylinder(const std::string& brepPath) {
    const TopoDS_Shape cylinder = BRepPrimAPI_MakeCylinder(50, 10).Shape();
    const BRepMesh_IncrementalMesh mesher(cylinder, 20, Standard_False, 1.5);
    ASSERT_TRUE(BRepTools::Write(cylinder, brepPath.c_str()));
}

void WriteAssembly(const std::string& stepPath, bool apart) {
    const Handle(TDocStd_Document) document = NewDocument();
    const auto shapes = XCAFDoc_DocumentTool::ShapeTool(document->Main());
    const auto colours = XCAFDoc_DocumentTool::ColorTool(document->Main());

    const TopoDS_Shape boxShape = BRepPrimAPI_MakeBox(10, 20, 30).Shape();
    const TDF_Label box = shapes->AddShape(boxShape, Standard_False);
    Name(box, kBoxName);
    colours->SetColor(box, Quantity_Color(0.8, 0.1, 0.1, Quantity_TOC_sRGB), XCAFDoc_ColorSurf);
    const TopoDS_Shape side = TopExp_Explorer(boxShape, TopAbs_FACE).Current();
    colours->SetColor(shapes->AddSubShape(box, side), Quantity_Color(0.1, 0.2, 0.9, Quantity_TOC_sRGB),
                      XCAFDoc_ColorSurf);
    const TDF_Label cylinder = shapes->AddShape(BRepPrimAPI_MakeCylinder(5, 40).Shape(), Standard_False);
    Name(cylinder, kCylinderName);
    colours->SetColor(cylinder, Quantity_ColorRGBA(Quantity_Color(0.1, 0.7, 0.2, Quantity_TOC_sRGB), 0.5f),
                      XCAFDoc_ColorSurf);

    const auto moved = [](double x, double y, double z, double angle) {
        gp_Trsf turn, shift;
        turn.SetRotation(gp::OX(), angle);
        shift.SetTranslation(gp_Vec(x, y, z));
        return TopLoc_Location(shift * turn);
    };
    const TDF_Label pair = shapes->NewShape(), top = shapes->NewShape();
    Name(pair, kPairName);
    Name(top, kTopName);
    Name(shapes->AddComponent(pair, box, moved(0, 0, 0, 0)), kBoxName);
    Name(shapes->AddComponent(pair, cylinder, moved(50, 0, 0, 0)), kCylinderName);
    Name(shapes->AddComponent(top, pair, moved(0, 0, 0, 0)), kPairName);
    Name(shapes->AddComponent(top, pair, moved(5, 100, 7, 1.0)), kPairName);
    shapes->UpdateAssemblies();
    if (apart) {  // the writer would put copies of the box into the other files for its layer and its
                  // dimension
        WriteStep(document, stepPath, true);
        return;
    }
    XCAFDoc_DocumentTool::LayerTool(document->Main())->SetLayer(box, "слой 1");

    const auto dimensions = XCAFDoc_DocumentTool::DimTolTool(document->Main());
    const TDF_Label label = dimensions->AddDimension();
    const Handle(XCAFDimTolObjects_DimensionObject) object = new XCAFDimTolObjects_DimensionObject();
    object->SetType(XCAFDimTolObjects_DimensionType_Size_Thickness);
    object->SetValue(10);
    XCAFDoc_Dimension::Set(label)->SetObject(object);
    dimensions->SetDimension(shapes->AddSubShape(box, side), label);

    WriteStep(document, stepPath);
}

constexpr const char* kFbxBeforePoints = R"(; FBX 7.4.0 project file
FBXHeaderExtension:  {
	FBXHeaderVersion: 1003
	FBXVersion: 7400
}
GlobalSettings:  {
	Version: 1000
	Properties70:  {
		P: "UpAxis", "int", "Integer", "",1
		P: "UpAxisSign", "int", "Integer", "",1
		P: "FrontAxis", "int", "Integer", "",2
		P: "FrontAxisSign", "int", "Integer", "",1
		P: "CoordAxis", "int", "Integer", "",0
		P: "CoordAxisSign", "int", "Integer", "",1
		P: "UnitScaleFactor", "double", "Number", "",1
	}
}
Objects:  {
	Geometry: 10, "Geometry::box", "Mesh" {
		Vertices: *24 {
			a: )";

constexpr const char* kFbxAfterCorners = R"(
		}
		GeometryVersion: 124
		LayerElementMaterial: 0 {
			Version: 101
			Name: ""
			MappingInformationType: "AllSame"
			ReferenceInformationType: "IndexToDirect"
			Materials: *1 {
				a: 0
			}
		}
		Layer: 0 {
			Version: 100
			LayerElement:  {
				Type: "LayerElementMaterial"
				TypedIndex: 0
			}
		}
	}
	Model: 20, "Model::ящик", "Mesh" {
		Version: 232
	}
	Material: 30, "Material::red", "" {
		Version: 102
		ShadingModel: "lambert"
		Properties70:  {
			P: "DiffuseColor", "Color", "", "A",0.8,0.1,0.1
		}
	}
}
Connections:  {
	C: "OO",20,0
	C: "OO",10,20
	C: "OO",30,20
}
)";

std::string FbxBox() {
    constexpr double kCentimetre = 10;
    std::ostringstream points, corners;
    for (const auto& [x, y, z] : BoxCorners(kCentimetre))
        points << (points.tellp() ? "," : "") << x << "," << z << "," << -y;
    for (const auto& side : kBoxSides) {
        corners << (corners.tellp() ? "," : "") << side[0] << "," << side[1] << "," << side[2] << ","
                << ~side[3];
    }
    return kFbxBeforePoints + points.str() + R"(
		}
		PolygonVertexIndex: *24 {
			a: )" +
           corners.str() + kFbxAfterCorners;
}

std::string IfcBox() {
    return R"(ISO-10303-21;
HEADER;
FILE_DESCRIPTION(('ViewDefinition [CoordinationView]'),'2;1');
FILE_NAME('box.ifc','2024-01-01T00:00:00',(''),(''),'','','');
FILE_SCHEMA(('IFC2X3'));
ENDSEC;
DATA;
#1=IFCPERSON($,$,'a',$,$,$,$,$);
#2=IFCORGANIZATION($,'b',$,$,$);
#3=IFCPERSONANDORGANIZATION(#1,#2,$);
#4=IFCAPPLICATION(#2,'1','c','d');
#5=IFCOWNERHISTORY(#3,#4,$,.ADDED.,$,$,$,0);
#6=IFCSIUNIT(*,.LENGTHUNIT.,.MILLI.,.METRE.);
#7=IFCSIUNIT(*,.PLANEANGLEUNIT.,$,.RADIAN.);
#8=IFCUNITASSIGNMENT((#6,#7));
#9=IFCCARTESIANPOINT((0.,0.,0.));
#10=IFCDIRECTION((0.,0.,1.));
#11=IFCDIRECTION((1.,0.,0.));
#12=IFCAXIS2PLACEMENT3D(#9,#10,#11);
#13=IFCGEOMETRICREPRESENTATIONCONTEXT($,'Model',3,1.E-05,#12,$);
#14=IFCPROJECT('0YvctVUKr0kugbFTf53O9L',#5,'project',$,$,$,$,(#13),#8);
#15=IFCLOCALPLACEMENT($,#12);
#16=IFCBUILDING('1YvctVUKr0kugbFTf53O9L',#5,'building',$,$,#15,$,$,.ELEMENT.,$,$,$);
#17=IFCRELAGGREGATES('2YvctVUKr0kugbFTf53O9L',#5,$,$,#14,(#16));
#18=IFCCARTESIANPOINT((6.,12.));
#19=IFCAXIS2PLACEMENT2D(#18,$);
#20=IFCRECTANGLEPROFILEDEF(.AREA.,$,#19,10.,20.);
#21=IFCCARTESIANPOINT((0.,0.,3.));
#22=IFCAXIS2PLACEMENT3D(#21,#10,#11);
#23=IFCEXTRUDEDAREASOLID(#20,#22,#10,30.);
#24=IFCSHAPEREPRESENTATION(#13,'Body','SweptSolid',(#23));
#25=IFCPRODUCTDEFINITIONSHAPE($,$,(#24));
#26=IFCBUILDINGELEMENTPROXY('3YvctVUKr0kugbFTf53O9L',#5,'block',$,$,#15,#25,$,$);
#27=IFCRELCONTAINEDINSPATIALSTRUCTURE('4YvctVUKr0kugbFTf53O9L',#5,$,$,(#26),#16);
#28=IFCCOLOURRGB($,0.8,0.1,0.1);
#29=IFCSURFACESTYLERENDERING(#28,0.,$,$,$,$,$,$,.FLAT.);
#30=IFCSURFACESTYLE($,.BOTH.,(#29));
#31=IFCPRESENTATIONSTYLEASSIGNMENT((#30));
#32=IFCSTYLEDITEM(#23,(#31),$);
ENDSEC;
END-ISO-10303-21;
)";
}

std::string DxfBox() {
    constexpr double kInch = 25.4;
    const std::vector<Corner> corners = BoxCorners(kInch);
    std::ostringstream text;
    text.precision(12);
    text << "  0\nSECTION\n  2\nHEADER\n  9\n$INSUNITS\n 70\n     1\n  0\nENDSEC\n  0\nSECTION\n  "
            "2\nENTITIES\n";
    for (const auto& side : kBoxSides) {
        text << "  0\n3DFACE\n  8\n0\n";
        for (int at = 0; at < 4; ++at) {
            for (int axis = 0; axis < 3; ++axis) {
                text << " " << (axis + 1) * 10 + at << "\n"
                     << corners[static_cast<std::size_t>(side[at])][static_cast<std::size_t>(axis)] << "\n";
            }
        }
    }
    text << "  0\nENDSEC\n  0\nEOF\n";
    return text.str();
}

std::string TessellatedPlate() {
    return R"(ISO-10303-21;
HEADER;
FILE_DESCRIPTION((''),'2;1');
FILE_NAME('','',(''),(''),'','','');
FILE_SCHEMA(('AP242_MANAGED_MODEL_BASED_3D_ENGINEERING_MIM_LF'));
ENDSEC;
DATA;
#1=APPLICATION_CONTEXT('');
#2=PRODUCT_CONTEXT('',#1,'mechanical');
#3=PRODUCT('plate','plate','',(#2));
#4=PRODUCT_DEFINITION_FORMATION('','',#3);
#5=PRODUCT_DEFINITION_CONTEXT('part definition',#1,'design');
#6=PRODUCT_DEFINITION('','',#4,#5);
#7=PRODUCT_DEFINITION_SHAPE('','',#6);
#8=SHAPE_DEFINITION_REPRESENTATION(#7,#9);
#9=TESSELLATED_SHAPE_REPRESENTATION('',(#20),#10);
#10=(GEOMETRIC_REPRESENTATION_CONTEXT(3)GLOBAL_UNIT_ASSIGNED_CONTEXT((#11))REPRESENTATION_CONTEXT('',''));
#11=(CONVERSION_BASED_UNIT('INCH',#12)LENGTH_UNIT()NAMED_UNIT(#14));
#12=LENGTH_MEASURE_WITH_UNIT(LENGTH_MEASURE(25.4),#13);
#13=(LENGTH_UNIT()NAMED_UNIT(*)SI_UNIT(.MILLI.,.METRE.));
#14=DIMENSIONAL_EXPONENTS(1.,0.,0.,0.,0.,0.,0.);
#20=TESSELLATED_SHELL('',(#21),$);
#21=COMPLEX_TRIANGULATED_FACE('',#22,4,(),$,(),((1,2,3,4)),());
#22=COORDINATES_LIST('',4,((0.,0.,0.),(1.,0.,0.),(0.,1.,0.),(1.,1.,0.)));
ENDSEC;
END-ISO-10303-21;
)";
}

std::string Replaced(std::string text, const std::string& what, const std::string& by) {
    const std::size_t at = text.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    return at == std::string::npos ? text : text.replace(at, what.size(), by);
}

}  // namespace morvex::test
