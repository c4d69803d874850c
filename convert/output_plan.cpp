#include "convert/output_plan.h"

#include <algorithm>
#include <new>
#include <optional>

#include "win/file_identity.h"
#include "win/paths.h"

namespace morvex {
namespace {

constexpr int kAskedAtOnce = 8;   // each question may travel over a network
constexpr size_t kFewFiles = 16;  // asked on this thread: starting others takes longer

// Of all these paths, several at a time; nothing for those that do not exist.
template <class PathOf>
std::vector<std::optional<FileId>> IdentitiesOf(size_t count, PathOf pathOf) {
    std::vector<std::optional<FileId>> identities(count);
    const int workers = count <= kFewFiles ? 1 : kAskedAtOnce;
#pragma omp parallel for schedule(dynamic, 16) num_threads(workers)
    for (size_t i = 0; i < count; ++i) {
        try {
            identities[i] = IdentityOf(pathOf(i));
        } catch (const std::bad_alloc&) {
            // Stays unknown: no exception may leave the parallel region.
        }
    }
    return identities;
}

}  // namespace

OutputPlan::OutputPlan(const std::vector<SourceFile>& sources, const ConversionRequest& request,
                       const std::vector<std::wstring>& kept) {
    for (const std::wstring& path : kept) names_.Keep(names_.KeyOf(path));
    for (const SourceFile& source : sources) names_.Keep(names_.KeyOf(source.folder, source.name));
    rows_.reserve(sources.size());
    for (const SourceFile& source : sources) {
        Row& row = rows_.emplace_back();
        row.name = NameOutput(source, request);
        row.number = names_.Take(row.name);
    }
    AvoidLinks(sources, kept);
}

// An output that exists may be a link to an input, to a file to be kept or to another row's output, or one of
// these a link to it.
void OutputPlan::AvoidLinks(const std::vector<SourceFile>& sources, const std::vector<std::wstring>& kept) {
    const auto outputs = IdentitiesOf(rows_.size(), [&](size_t i) { return rows_[i].Path(); });
    if (std::none_of(outputs.begin(), outputs.end(),
                     [](const auto& identity) { return identity.has_value(); }))
        return;
    FileSet used;
    const auto use = [&](const std::vector<std::optional<FileId>>& identities) {
        for (const auto& identity : identities) {
            if (identity) used.Insert(*identity);
        }
    };
    use(IdentitiesOf(sources.size(), [&](size_t i) { return JoinPath(sources[i].folder, sources[i].name); }));
    use(IdentitiesOf(kept.size(), [&](size_t i) { return kept[i]; }));
    for (size_t i = 0; i < rows_.size(); ++i) {
        Row& row = rows_[i];
        std::optional<FileId> identity = outputs[i];
        while (identity && !used.Insert(*identity)) {
            row.number = names_.TakeNext(row.name);
            identity = IdentityOf(row.Path());
        }
        if (identity) row.before = StampOf(row.Path());
    }
}

std::wstring OutputPlan::Claim(size_t index) {
    Row& row = rows_[index];  // one worker's
    for (;;) {
        const FileStamp now = StampOf(row.Path());
        if ((!now || now == row.before) && names_.Claim(row.Path())) return row.Path();
        row.number = names_.TakeNext(row.name);
        row.before.reset();
    }
}

}  // namespace morvex
