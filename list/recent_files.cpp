#include "list/recent_files.h"

#include <algorithm>

#include "win/text_file.h"

namespace morvex {
namespace {

// A run looks for one more new file than the list holds.
constexpr size_t kMostInserted = RecentFiles::kMost + 1;

std::wstring WithSlashes(std::wstring path) {
    std::ranges::replace(path, L'\\', L'/');
    return path;
}

bool Holds(const std::vector<std::wstring>& paths, const std::wstring& path) {
    return std::ranges::find(paths, path) != paths.end();
}

}  // namespace

void RecentFiles::Read(const std::wstring& file) {
    std::wstring text;
    if (!ReadTextFile(file, text)) return;
    paths_.clear();
    for (const std::wstring_view line : SplitLines(text)) {
        if (paths_.size() == kMost) return;
        if (line.empty() || line.size() > kLongestPath) continue;
        std::wstring path = WithSlashes(std::wstring(line));
        if (!Holds(paths_, path)) paths_.push_back(std::move(path));
    }
}

void RecentFiles::Update(const ConversionList& list) {
    size_t inserted = 0;
    for (size_t row = list.Count(); row-- > 0 && inserted < kMostInserted;) {
        std::wstring path = WithSlashes(list.FullPath(row));
        if (Holds(paths_, path)) continue;
        paths_.insert(paths_.begin() + static_cast<std::ptrdiff_t>(inserted), std::move(path));
        ++inserted;
    }
    if (paths_.size() > kMost) paths_.resize(kMost);
}

bool RecentFiles::Write(const std::wstring& file) const {
    std::wstring text;
    for (const std::wstring& path : paths_) text += path + L"\n";
    return WriteTextFile(file, text);
}

}  // namespace morvex
