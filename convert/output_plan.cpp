#include "convert/output_plan.h"

#include <windows.h>

#include <cstdint>

#include "win/paths.h"

namespace morvex {
namespace {

constexpr int kAskedAtOnce = 8;   // each question may travel over a network
constexpr size_t kFewFiles = 16;  // asked on this thread: starting others takes longer

// Upper case as the file system folds it, so that equal keys mean one file.
std::wstring Folded(std::wstring_view text) {
    std::wstring key(text.size(), L'\0');
    const int length = static_cast<int>(text.size());
    LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, text.data(), length, key.data(), length, nullptr,
                  nullptr, 0);
    return key;
}

// A folder that does not exist is known by its text alone.
std::wstring FullText(const std::wstring& folder) {
    const std::wstring path = JoinPath(WithoutLongPrefix(folder), L"");
    std::wstring full(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
    full.resize(GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    return Folded(full);
}

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

// Kernel objects are named by at most 260 characters.
std::wstring ClaimName(const std::wstring& key) {
    std::uint64_t hash = 14695981039346656037ULL;  // FNV-1a
    for (const wchar_t unit : key) hash = (hash ^ unit) * 1099511628211ULL;
    return L"Local\\Morvex-output-" + std::to_wstring(hash);
}

}  // namespace

OutputPlan::OutputPlan(const std::vector<SourceFile>& sources, const ConversionRequest& request,
                       const std::vector<std::wstring>& kept) {
    for (const std::wstring& path : kept)
        taken_.insert(KeyOf(std::wstring(FolderOf(WithoutLongPrefix(path))), FileNameOf(path)));
    for (const SourceFile& source : sources) taken_.insert(KeyOf(source.folder, source.name));
    rows_.reserve(sources.size());
    for (const SourceFile& source : sources) {
        Row& row = rows_.emplace_back();
        row.name = NameOutput(source, request);
        row.path = row.name.Path();
        row.key = KeyOf(row.name.folder, FileNameOf(row.path));
        if (!taken_.insert(row.key).second) Advance(row);
    }
    AvoidLinks(sources);
}

// Gives the row the next number that no other row has.
void OutputPlan::Advance(Row& row) {
    int& number =
        lastNumber_.try_emplace(KeyOf(row.name.folder, row.name.base + row.name.extension), 1).first->second;
    do {
        row.path = row.name.Path(++number);
        row.key = KeyOf(row.name.folder, FileNameOf(row.path));
    } while (!taken_.insert(row.key).second);
}

// An output that exists may be a link to an input or to another row's output, or an input a link to it.
void OutputPlan::AvoidLinks(const std::vector<SourceFile>& sources) {
    const auto outputs = IdentitiesOf(rows_.size(), [&](size_t i) { return rows_[i].path; });
    if (std::none_of(outputs.begin(), outputs.end(),
                     [](const auto& identity) { return identity.has_value(); }))
        return;
    std::set<FileId> used;
    for (const auto& identity : IdentitiesOf(
             sources.size(), [&](size_t i) { return JoinPath(sources[i].folder, sources[i].name); })) {
        if (identity) used.insert(*identity);
    }
    for (size_t i = 0; i < rows_.size(); ++i) {
        std::optional<FileId> identity = outputs[i];
        while (identity && !used.insert(*identity).second) {
            Advance(rows_[i]);
            identity = IdentityOf(rows_[i].path);
        }
        if (identity) rows_[i].before = StampOf(rows_[i].path);
    }
}

std::wstring OutputPlan::Claim(size_t index) {
    const std::lock_guard lock(mutex_);
    Row& row = rows_[index];
    for (;;) {
        UniqueHandle claim(CreateEventW(nullptr, TRUE, FALSE, ClaimName(row.key).c_str()));
        const bool others = claim && GetLastError() == ERROR_ALREADY_EXISTS;
        const FileStamp now = StampOf(row.path);
        if (!others && (!now || now == row.before)) {
            claims_.push_back(std::move(claim));
            return row.path;
        }
        Advance(row);
        row.before.reset();
    }
}

std::wstring OutputPlan::FolderKey(const std::wstring& folder) {
    std::wstring& key = folderKeys_[folder];
    if (!key.empty()) return key;
    // The backslash makes "C:" the drive's root and not the current folder on it.
    const std::optional<FileId> identity = IdentityOf(JoinPath(folder, L""));
    // Without the volume, which may be known under two drive letters with two serial numbers: at worst two
    // folders pass for one, and a file gets a number that it does not need.
    return key = identity ? std::to_wstring(identity->second) + L"\\" : FullText(folder);
}

std::wstring OutputPlan::KeyOf(const std::wstring& folder, std::wstring_view fileName) {
    return FolderKey(folder) + Folded(fileName);
}

}  // namespace morvex
