// IGES.
#include <IGESCAFControl_Reader.hxx>
#include <IGESCAFControl_Writer.hxx>
#include <IGESControl_Controller.hxx>
#include <IGESGeom_BoundedSurface.hxx>
#include <IGESGeom_TrimmedSurface.hxx>
#include <IGESSolid_Face.hxx>
#include <Interface_Static.hxx>

#include "engine/modules/core/context.h"
#include "engine/modules/core/transfer_check.h"

namespace morvex {

extern "C" Outcome ReadIges(JobContext& context) {
    IGESControl_Controller::Init();
    Interface_Static::SetCVal("xstep.cascade.unit", "MM");
    // Not freed: taking its entities apart one by one takes longer than the process has left.
    IGESCAFControl_Reader& reader = *new IGESCAFControl_Reader;
    reader.SetColorMode(Standard_True);
    reader.SetNameMode(Standard_True);
    reader.SetLayerMode(Standard_True);

    const IFSelect_ReturnStatus status = reader.ReadFile(context.file.c_str());
    if (status == IFSelect_RetVoid) return Outcome::Fail(ZEL_EMPTY, "There is no entity in the file");
    if (status != IFSelect_RetDone) return Damaged("The file is no valid IGES file");
    Handle(TDocStd_Document) document = context.document.Data();
    const bool transferred = reader.Transfer(document, context.progress);
    TransferLoss loss;
    for (const auto& type : {STANDARD_TYPE(IGESGeom_TrimmedSurface), STANDARD_TYPE(IGESGeom_BoundedSurface),
                             STANDARD_TYPE(IGESSolid_Face)}) {
        AddLoss(reader.WS(), type, loss);
    }
    return JudgeTransfer(context, transferred, loss);
}

extern "C" Outcome WriteIges(JobContext& context) {
    IGESControl_Controller::Init();
    Interface_Static::SetCVal("write.iges.unit", "MM");
    Interface_Static::SetIVal("write.iges.brep.mode", 1);  // else solids fall apart into faces
    IGESCAFControl_Writer writer;
    writer.SetColorMode(Standard_True);
    writer.SetNameMode(Standard_True);
    writer.SetLayerMode(Standard_True);
    if (!writer.Transfer(context.document.Data(), context.progress)) {
        return Outcome::Fail(ZEL_FAILED, "The model could not be turned into IGES entities");
    }
    return writer.Write(context.file.c_str()) ? Outcome::Ok() : NotWritten();
}

}  // namespace morvex
