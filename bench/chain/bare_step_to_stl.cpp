// The least that a program on Open CASCADE can do for "STEP to STL": read with colours and names, mesh,
// write.
#include <BRepBndLib.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <BRep_Builder.hxx>
#include <Bnd_Box.hxx>
#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <Message_Printer.hxx>
#include <STEPCAFControl_Reader.hxx>
#include <StlAPI_Writer.hxx>
#include <TDF_LabelSequence.hxx>
#include <TDocStd_Application.hxx>
#include <TDocStd_Document.hxx>
#include <TopoDS_Compound.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <cmath>

int main(int count, char** arguments) {
    if (count != 3) return 2;
    Message::DefaultMessenger()->RemovePrinters(STANDARD_TYPE(Message_Printer));
    const Handle(TDocStd_Application) application = new TDocStd_Application;
    Handle(TDocStd_Document) document;
    application->NewDocument("BinXCAF", document);
    STEPCAFControl_Reader reader;
    if (reader.ReadFile(arguments[1]) != IFSelect_RetDone || !reader.Transfer(document)) return 1;

    TopoDS_Compound all;
    BRep_Builder builder;
    builder.MakeCompound(all);
    TDF_LabelSequence roots;
    XCAFDoc_DocumentTool::ShapeTool(document->Main())->GetFreeShapes(roots);
    for (const TDF_Label& root : roots) builder.Add(all, XCAFDoc_ShapeTool::GetShape(root));

    Bnd_Box box;
    BRepBndLib::Add(all, box);
    const BRepMesh_IncrementalMesh mesh(all, std::sqrt(box.SquareExtent()) / 1000, false, 0.5, true);
    StlAPI_Writer writer;
    writer.ASCIIMode() = false;
    return writer.Write(all, arguments[2]) ? 0 : 1;
}
