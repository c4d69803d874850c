// STEP.
#include <APIHeaderSection_MakeHeader.hxx>
#include <Interface_Static.hxx>
#include <Message_ProgressScope.hxx>
#include <STEPCAFControl_Controller.hxx>
#include <STEPCAFControl_Reader.hxx>
#include <STEPCAFControl_Writer.hxx>
#include <StepData_Protocol.hxx>
#include <StepData_StepModel.hxx>
#include <StepData_StepWriter.hxx>
#include <XCAFDoc_DimTolTool.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XSControl_WorkSession.hxx>

#include "engine/common/paths.h"
#include "engine/modules/core/context.h"
#include "engine/modules/core/exchange_file.h"
#include "engine/modules/core/input_bytes.h"
#include "engine/modules/scan/step_scan.h"
#include "engine/modules/step/instance_count.h"
#include "engine/modules/step/step_account.h"
#include "engine/modules/step/step_bodies.h"
#include "engine/modules/step/step_external.h"
#include "engine/modules/step/step_instances.h"
#include "engine/modules/step/step_mapped.h"
#include "engine/modules/step/step_tessellation.h"
#include "engine/modules/step/step_text.h"
#include "engine/modules/step/step_units.h"

namespace morvex {
namespace {

// The values of write.step.schema.
constexpr int kAp214 = 4, kAp203 = 3, kAp242 = 5;

bool HasAnnotations(const Document& document) {
    const auto tool = XCAFDoc_DocumentTool::DimTolTool(document.Data()->Main());
    TDF_LabelSequence dimensions, tolerances;
    tool->GetDimensionLabels(dimensions);
    tool->GetGeomToleranceLabels(tolerances);
    return !dimensions.IsEmpty() || !tolerances.IsEmpty();
}

int Schema(const JobContext& context, bool annotations) {
    switch (context.settings.stepVersion) {
        case 203:
            return kAp203;
        case 214:
            return kAp214;
        case 242:
            return kAp242;
        default:
            return annotations ? kAp242 : kAp214;
    }
}

// The writer's own way to a file goes by copies and graphs of the whole model, which nothing here needs.
bool WriteModel(const Handle(XSControl_WorkSession) & session, const std::filesystem::path& path) {
    StepData_StepWriter text(Handle(StepData_StepModel)::DownCast(session->Model()));
    text.SendModel(Handle(StepData_Protocol)::DownCast(session->Protocol()));
    StepTextBuffer buffer(path);
    std::ostream stream(&buffer);
    return text.Print(stream) && buffer.Close();
}

// A file as the library has parsed it, and the shapes of those bodies that were made elsewhere.
struct StepModel {
    STEPCAFControl_Reader* reader = nullptr;
    StepShapes shapes;
};

// Parses the text, which is that of the scan or more of it, by several processes where there is much to
// share.
Outcome Load(const JobContext& context, const StepScan& scan, std::string_view text,
             const Message_ProgressRange& progress, StepModel& model) {
    // Annotations refer to anything inside bodies, a trace is to show one process, and what is not read for
    // the conversion itself is read while threads may run.
    const bool alone = !HasHelpers() || !scan.HasEnd() || context.KeepsAnnotations() ||
                       context.request.trace || !context.writerLoaded.valid();
    const StepShares shares = ShareOut(scan, alone ? 1 : context.Processors());
    if (!shares.shares.empty()) {
        context.writerLoaded.wait();
        StepBodies bodies(context, shares);
        model.reader = &NewStepReader(context);
        if (ParseStep(context, *model.reader, shares.rest).IsOk() &&
            bodies.Give(*model.reader, model.shapes, progress))
            return Outcome::Ok();
        model.shapes.clear();
    }
    model.reader = &NewStepReader(context);
    return ParseStep(context, *model.reader, text);
}

// A text that is cut off, ended behind its last whole statement.
std::string Closed(std::string_view text) {
    return std::string(text.substr(0, text.rfind(';') + 1)) + "\nENDSEC;\nEND-ISO-10303-21;\n";
}

}  // namespace

extern "C" Outcome ReadStep(JobContext& context) {
    STEPCAFControl_Controller::Init();
    ChangeableBytes file(context.file);
    const StepScan scan(file.View());
    if (!scan.HasEnd()) {
        if (!context.settings.keepPartial) return Damaged("The end of the file is missing");
        context.journal.Lose("the end of the file");
    }
    scan.Simplify(file.Data());
    const std::string closed = scan.HasEnd() ? std::string() : Closed(file.View());
    Message_ProgressScope whole(context.progress, nullptr, 3);
    StepModel read;
    Outcome outcome = Load(context, scan, scan.HasEnd() ? file.View() : closed, whole.Next(), read);
    if (!outcome.IsOk()) return outcome;
    STEPCAFControl_Reader& reader = *read.reader;
    const std::int64_t instances = CountInstances(*reader.Reader().WS()->Model());
    if (instances < 0) return Damaged("An assembly of the file contains itself");
    if (instances > kMostInstances) {
        return Outcome::Fail(ZEL_FAILED, "The assembly has too many part instances (more than " +
                                             std::to_string(kMostInstances) + ")");
    }
    CheckExternalFiles(context, reader.Reader().WS());
    PlaceInstances(reader.Reader().WS(), whole.Next());
    const std::set<StepId> misplaced = PlaceScaledItems(reader.Reader().WS(), scan);
    Handle(TDocStd_Document) document = context.document.Data();
    const bool transferred = reader.Transfer(document, whole.Next());
    const std::set<StepId> tessellated = ReadTessellation(context, scan);
    context.document.NameInstances();
    if (!transferred && tessellated.empty()) return Damaged("The contents of the file could not be read");
    StepAccount account;
    account.Add(context.document, scan, reader.Reader().WS(), tessellated, misplaced, false, read.shapes);
    AccountForExternalFiles(context, reader, reader.Reader().WS(), account);
    account.Send(context.journal);
    context.TellUnit(StepUnitOf(scan));
    return Outcome::Ok();
}

extern "C" Outcome WriteStep(JobContext& context) {
    STEPCAFControl_Controller::Init();
    const bool annotations = context.settings.writeStepAnnotations && HasAnnotations(context.document);
    const int schema = Schema(context, annotations);
    if (annotations && schema != kAp242)
        context.journal.Warn("The chosen STEP version cannot hold dimensions and tolerances");
    const std::string name = Utf8(context.request.output.stem());
    Interface_Static::SetIVal("write.step.schema", schema);
    Interface_Static::SetCVal("write.step.unit", "MM");
    Interface_Static::SetIVal("write.surfacecurve.mode",
                              context.facets ? 0 : 1);  // plane faces need no such curves
    Interface_Static::SetCVal("write.step.product.name", name.c_str());

    STEPCAFControl_Writer& writer = *new STEPCAFControl_Writer;  // not freed either
    KeepAttributes(writer);
    writer.SetPropsMode(Standard_True);
    writer.SetDimTolMode(annotations);
    if (!writer.Transfer(context.document.Data(), STEPControl_AsIs, nullptr, context.progress)) {
        return NotTransferred(context);
    }
    APIHeaderSection_MakeHeader header(
        Handle(StepData_StepModel)::DownCast(writer.ChangeWriter().WS()->Model()));
    header.SetName(new TCollection_HAsciiString(name.c_str()));
    header.SetOriginatingSystem(new TCollection_HAsciiString("Morvex"));
    return Written(WriteModel(writer.ChangeWriter().WS(), context.file));
}

}  // namespace morvex
