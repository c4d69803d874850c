#include "engine/modules/step/step_external.h"

#include <STEPCAFControl_ExternFile.hxx>
#include <STEPConstruct_ExternRefs.hxx>
#include <StepAP214_AppliedExternalIdentificationAssignment.hxx>
#include <StepBasic_Document.hxx>
#include <StepBasic_ExternalSource.hxx>
#include <StepBasic_ProductDefinition.hxx>
#include <StepBasic_SourceItem.hxx>
#include <StepData_SelectNamed.hxx>
#include <TCollection_HAsciiString.hxx>
#include <XSControl_TransferReader.hxx>
#include <map>
#include <set>

#include "engine/common/paths.h"
#include "engine/common/text.h"
#include "engine/modules/core/input_bytes.h"
#include "engine/modules/core/read_error.h"
#include "engine/modules/step/step_mapped.h"
#include "engine/modules/step/step_text.h"

namespace morvex {
namespace fs = std::filesystem;
namespace {

constexpr std::uint64_t kLargest = std::uint64_t{1} << 32;

constexpr int kStringKind = 6;  // of a value that may be of several kinds

using Text = Handle(TCollection_HAsciiString);

// Whether the name is a path that leads out of the folder, as any system would take it: seen without a look
// at the disk, where a server might be asked.
bool LeavesFolder(std::string_view name) {
    constexpr std::string_view kSeparators = "/\\";
    if (name.substr(1).starts_with(':') || kSeparators.find(name.front()) != std::string_view::npos)
        return true;
    int depth = 0;
    while (!name.empty() && depth >= 0) {
        const std::size_t end = std::min(name.find_first_of(kSeparators), name.size());
        const std::string_view step = name.substr(0, end);
        name.remove_prefix(std::min(end + 1, name.size()));
        if (step == "..")
            --depth;
        else if (!step.empty() && step != ".")
            ++depth;
    }
    return depth < 0;
}

bool IsStepName(std::string_view name) {
    const std::string lower = LowerAscii(name);
    return lower.ends_with(".stp") || lower.ends_with(".step") || lower.ends_with(".p21");
}

// A document that the library opens for the shape of a product.
struct Reference {
    std::string name;
    bool isShape;  // by the format that is told or by its suffix; others may be of any kind
};

std::vector<Reference> ReferencesOf(const Handle(XSControl_WorkSession) & session) {
    STEPConstruct_ExternRefs references(session);
    references.LoadExternRefs();
    std::vector<Reference> found;
    for (int at = 1; at <= references.NbExternRefs(); ++at) {
        const Text format = references.Format(at);
        const std::string kind = format.IsNull() ? "" : LowerAscii(format->ToCString());
        if (references.ProdDef(at).IsNull() || (!kind.empty() && !kind.starts_with("step ap2"))) continue;
        const char* const name = references.FileName(at);
        if (name == nullptr || *name == '\0') continue;
        found.push_back({name, !kind.empty() || IsStepName(name)});
    }
    return found;
}

// Gives the documents of the model whose names lead out of the folder names of no file, before the library
// looks for them. Answers the old names by the new ones.
std::map<std::string, std::string> Disarm(const Interface_InterfaceModel& model) {
    std::map<std::string, std::string> old;
    const auto disarmed = [&old](const Text& name) -> Text {
        if (name.IsNull() || name->IsEmpty() || !LeavesFolder(name->ToCString())) return name;
        std::string other = std::string("?") + name->ToCString();
        for (char& c : other) {
            if (c == '/' || c == '\\' || c == ':') c = '?';
        }
        old.try_emplace(other, name->ToCString());
        return new TCollection_HAsciiString(other.c_str());
    };
    for (int at = 1; at <= model.NbEntities(); ++at) {
        const auto& entity = model.Value(at);
        if (const auto document = Handle(StepBasic_Document)::DownCast(entity); !document.IsNull()) {
            document->SetId(disarmed(document->Id()));
            document->SetName(disarmed(document->Name()));
        }
        const auto name = Handle(StepAP214_AppliedExternalIdentificationAssignment)::DownCast(entity);
        if (name.IsNull()) continue;
        name->SetAssignedId(disarmed(name->AssignedId()));
        const auto source = name->Source();
        const auto value = source.IsNull()
                               ? Handle(StepData_SelectNamed)()
                               : Handle(StepData_SelectNamed)::DownCast(source->SourceId().Value());
        if (value.IsNull() || value->Kind() != kStringKind) continue;
        value->SetString(disarmed(new TCollection_HAsciiString(value->String()))->ToCString());
    }
    return old;
}

// All names that the library may take for those of files.
std::set<std::string> NamesIn(const StepScan& file) {
    std::set<std::string> names;
    for (const StepInstance& instance : file.Instances()) {
        const bool source = instance.Is("EXTERNAL_SOURCE");
        if (!source && !instance.Is("DOCUMENT_FILE") && !instance.Is("DOCUMENT") &&
            !instance.Is("APPLIED_EXTERNAL_IDENTIFICATION_ASSIGNMENT"))
            continue;
        const std::vector<std::string_view> values = StepValues(instance.values);
        for (std::size_t at = 0; at < std::min<std::size_t>(values.size(), 2); ++at) {
            std::string_view value = values[at];
            if (source) value = value.substr(std::min(value.find('\''), value.size()));
            if (source && value.ends_with(')')) value.remove_suffix(1);
            if (std::string name = DecodeStepText(StepString(value)); !name.empty())
                names.insert(std::move(name));
        }
    }
    return names;
}

[[noreturn]] void RefuseOutside(const std::string& name) {
    throw ReadError("\"" + name + "\", which the file refers to, lies outside its folder");
}

void CheckBelow(JobContext& context, const StepScan& file, std::set<fs::path>& open);

// `open` are the files that lead here.
void CheckFile(JobContext& context, const std::string& name, std::set<fs::path>& open) {
    const fs::path path = FindSideFile(context, name, kLargest);
    if (!open.insert(path).second) throw ReadError("\"" + name + "\" refers to itself");
    const InputBytes bytes(path);
    Request request = context.request;
    request.input = path;
    JobContext below{request, context.settings, context.journal, context.document, path, {}};
    CheckBelow(below, StepScan(bytes.View()), open);
    open.erase(path);
}

bool IsThere(const JobContext& context, const std::string& name) {
    std::error_code error;
    if (CleanUtf8(name) != name) return false;
    const fs::path path = PathFromUtf8(name);
    return path != context.file.filename() && fs::exists(context.file.parent_path() / path, error);
}

// Files below the first are looked at before they are parsed, by all names in them.
void CheckBelow(JobContext& context, const StepScan& file, std::set<fs::path>& open) {
    for (const std::string& name : NamesIn(file)) {
        if (LeavesFolder(name)) RefuseOutside(name);
        if (IsThere(context, name)) CheckFile(context, name, open);
    }
}

}  // namespace

void CheckExternalFiles(JobContext& context, const Handle(XSControl_WorkSession) & session) {
    const std::map<std::string, std::string> outside = Disarm(*session->Model());
    session->TransferReader()->BeginTransfer();  // which is told of files that are missing
    std::error_code error;
    std::set<fs::path> open{ResolvedPath(context.file, error)};
    for (const Reference& reference : ReferencesOf(session)) {
        const std::string& name = reference.name;
        const auto old = outside.find(name);
        if (old != outside.end()) RefuseOutside(old->second);
        if (IsThere(context, name)) CheckFile(context, name, open);
    }
}

void AccountForExternalFiles(JobContext& context, const STEPCAFControl_Reader& reader,
                             const Handle(XSControl_WorkSession) & session, StepAccount& account) {
    std::set<std::string> seen{Utf8(context.file.filename())};
    for (const auto& [name, isShape] : ReferencesOf(session)) {
        if (!seen.insert(name).second) continue;
        Handle(STEPCAFControl_ExternFile) external;
        const bool whole = reader.ExternFile(name.c_str(), external) && !external.IsNull() &&
                           external->GetLoadStatus() == IFSelect_RetDone && external->GetTransferStatus() &&
                           !external->GetLabel().IsNull();
        if (!whole) {
            if (isShape) context.journal.Lose("the external file \"" + name + "\"");
            continue;
        }
        const fs::path path = FindSideFile(context, name, kLargest);
        const InputBytes bytes(path);
        const StepScan scan(bytes.View());
        account.Add(context.document, scan, external->GetWS(), {}, ScaledItemsIn(scan), true);
        Request request = context.request;
        request.input = path;
        JobContext below{request, context.settings, context.journal, context.document, path, {}};
        AccountForExternalFiles(below, reader, external->GetWS(), account);
    }
}

}  // namespace morvex
