#include "engine/modules/step/step_external.h"

#include <STEPCAFControl_ExternFile.hxx>
#include <algorithm>
#include <cctype>
#include <set>

#include "engine/common/paths.h"
#include "engine/modules/core/input_bytes.h"
#include "engine/modules/core/read_error.h"
#include "engine/modules/step/step_mapped.h"

namespace morvex {
namespace fs = std::filesystem;
namespace {

constexpr std::uint64_t kLargest = std::uint64_t{1} << 32;

// The names of the STEP files among the documents that a file refers to. Others hold no geometry that a
// reader here would take.
std::set<std::string> NamesIn(const StepScan& file, const fs::path& itself) {
    std::set<std::string> names;
    for (const StepInstance& instance : file.Instances()) {
        if (!instance.Is("DOCUMENT_FILE") && !instance.Is("APPLIED_EXTERNAL_IDENTIFICATION_ASSIGNMENT"))
            continue;
        const std::vector<std::string_view> values = StepValues(instance.values);
        const std::string name = values.empty() ? std::string() : StepString(values.front());
        std::string suffix = Utf8(PathFromUtf8(name).extension());
        std::ranges::transform(suffix, suffix.begin(), [](unsigned char c) { return std::tolower(c); });
        if ((suffix == ".stp" || suffix == ".step" || suffix == ".p21") &&
            PathFromUtf8(name) != itself.filename())
            names.insert(name);
    }
    return names;
}

// `open` are the files that lead here.
void Check(JobContext& context, const StepScan& file, std::set<fs::path>& open) {
    std::error_code error;
    for (const std::string& name : NamesIn(file, context.file)) {
        if (!fs::exists(context.file.parent_path() / PathFromUtf8(name), error)) continue;
        const fs::path path = FindSideFile(context, name, kLargest);
        if (!open.insert(path).second) throw ReadError("\"" + name + "\" refers to itself");
        const InputBytes bytes(path);
        Request request = context.request;
        request.input = path;
        JobContext below{request, context.settings, context.journal, context.document, path, {}};
        Check(below, StepScan(bytes.View()), open);
        open.erase(path);
    }
}

}  // namespace

void CheckExternalFiles(JobContext& context, const StepScan& file) {
    std::error_code error;
    std::set<fs::path> open{ResolvedPath(context.file, error)};
    Check(context, file, open);
}

void AccountForExternalFiles(JobContext& context, const STEPCAFControl_Reader& reader, const StepScan& file,
                             StepAccount& account) {
    for (const std::string& name : NamesIn(file, context.file)) {
        Handle(STEPCAFControl_ExternFile) external;
        const bool whole = reader.ExternFile(name.c_str(), external) && !external.IsNull() &&
                           external->GetLoadStatus() == IFSelect_RetDone && external->GetTransferStatus() &&
                           !external->GetLabel().IsNull();
        if (!whole) {
            context.journal.Lose("the external file \"" + name + "\"");
            continue;
        }
        const InputBytes bytes(FindSideFile(context, name, kLargest));
        const StepScan scan(bytes.View());
        account.Add(context.document, scan, external->GetWS(), {}, ScaledItemsIn(scan), true);
        AccountForExternalFiles(context, reader, scan, account);
    }
}

}  // namespace morvex
