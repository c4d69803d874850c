// IGES.
#include <IGESCAFControl_Reader.hxx>
#include <IGESCAFControl_Writer.hxx>
#include <IGESControl_Controller.hxx>
#include <IGESData_BasicEditor.hxx>
#include <IGESData_IGESModel.hxx>
#include <Interface_Static.hxx>
#include <XSControl_TransferReader.hxx>
#include <XSControl_WorkSession.hxx>

#include "engine/common/paths.h"
#include "engine/modules/core/context.h"
#include "engine/modules/core/exchange_file.h"
#include "engine/modules/core/input_bytes.h"
#include "engine/modules/iges/iges_account.h"
#include "engine/modules/iges/iges_blanking.h"
#include "engine/modules/scan/iges_scan.h"

namespace morvex {

extern "C" Outcome ReadIges(JobContext& context) {
    IGESControl_Controller::Init();
    // Not freed: taking its entities apart one by one takes longer than the process has left.
    IGESCAFControl_Reader& reader = *new IGESCAFControl_Reader;
    Outcome outcome =
        ParseExchangeFile(context, reader, [&] { return reader.ReadFile(Utf8(context.file).c_str()); });
    if (!outcome.IsOk()) return outcome;
    const auto model = Handle(IGESData_IGESModel)::DownCast(reader.WS()->Model());
    const IGESData_GlobalSection& global = model->GlobalSection();
    context.TellUnit(IGESData_BasicEditor::UnitFlagValue(global.UnitFlag()));
    const bool leaveOutHidden = context.settings.partVisibility == kHiddenLeftOut;
    reader.SetReadVisible(leaveOutHidden);
    Handle(TDocStd_Document) document = context.document.Data();
    const bool noneShown = leaveOutHidden && reader.NbRootsForTransfer() == 0 && HoldsBlanked(reader.WS());
    const bool transferred = reader.Transfer(document, context.progress);
    if (!transferred && !noneShown) return Damaged("The contents of the file could not be read");
    if (transferred)
        HideWhatIsBlanked(context.document, reader.WS());
    else
        reader.WS()->TransferReader()->BeginTransfer();
    const InputBytes file(context.file);
    AccountForIges(context, IgesScan(file.View()), reader.WS(), leaveOutHidden);
    // Unless damage hides what is shown.
    if (!transferred && context.journal.Losses().empty())
        return Outcome::Fail(ZEL_EMPTY, "All that the file holds is hidden");
    return Outcome::Ok();
}

extern "C" Outcome WriteIges(JobContext& context) {
    IGESControl_Controller::Init();
    Interface_Static::SetCVal("write.iges.unit", "MM");
    Interface_Static::SetIVal("write.iges.brep.mode", 1);        // else solids fall apart into faces
    IGESCAFControl_Writer& writer = *new IGESCAFControl_Writer;  // not freed either
    KeepAttributes(writer);
    if (!writer.Transfer(context.document.Data(), context.progress)) return NotTransferred(context);
    BlankWhatIsHidden(context.document, writer.TransferProcess());
    return Written(writer.Write(Utf8(context.file).c_str()));
}

}  // namespace morvex
