#include "batch/source_list.h"

#include <chrono>

#include "win/paths.h"

namespace morvex {
namespace {

constexpr std::chrono::milliseconds kMoment(100);  // how long a wish to stop may stay unseen

}  // namespace

std::wstring SourceList::Entry::RelativePath() const {
    return tree.empty() ? file.name : tree + L"\\" + file.name;
}

void SourceList::Append(const Entry& entry) {
    {
        const std::lock_guard lock(mutex_);
        records_.push_back({FolderIndex(entry), StoreName(entry.file.name),
                            static_cast<std::uint16_t>(entry.file.name.size()), entry.format});
    }
    grown_.notify_all();
}

void SourceList::Complete() {
    {
        const std::lock_guard lock(mutex_);
        complete_ = true;
        folderIndices_.clear();
    }
    grown_.notify_all();
}

size_t SourceList::Count() const {
    const std::lock_guard lock(mutex_);
    return records_.size();
}

bool SourceList::IsComplete() const {
    const std::lock_guard lock(mutex_);
    return complete_;
}

SourceList::Entry SourceList::At(size_t index) const {
    const std::lock_guard lock(mutex_);
    const Record& record = records_[index];
    const Folder& folder = folders_[record.folder];
    const wchar_t* const name = blocks_[record.name / kBlock].get() + record.name % kBlock;
    return {{folder.path, {name, record.length}}, folder.tree, record.format};
}

bool SourceList::WaitFor(size_t index) const {
    std::unique_lock lock(mutex_);
    grown_.wait_for(lock, kMoment, [&] { return complete_ || index < records_.size(); });
    return index < records_.size();
}

bool SourceList::WaitUntilComplete() const {
    std::unique_lock lock(mutex_);
    return grown_.wait_for(lock, kMoment, [&] { return complete_; });
}

std::uint32_t SourceList::FolderIndex(const Entry& entry) {
    if (!folders_.empty() && folders_.back().path == entry.file.folder && folders_.back().tree == entry.tree)
        return static_cast<std::uint32_t>(folders_.size() - 1);
    // No path holds a "|".
    const auto [found, isNew] = folderIndices_.try_emplace(entry.file.folder + L"|" + entry.tree,
                                                           static_cast<std::uint32_t>(folders_.size()));
    if (isNew) folders_.push_back({entry.file.folder, entry.tree});
    return found->second;
}

std::uint32_t SourceList::StoreName(std::wstring_view name) {
    if (used_ + name.size() > kBlock) {
        blocks_.push_back(std::make_unique<wchar_t[]>(kBlock));
        used_ = 0;
    }
    const size_t at = (blocks_.size() - 1) * kBlock + used_;
    name.copy(blocks_.back().get() + used_, name.size());
    used_ += name.size();
    return static_cast<std::uint32_t>(at);
}

}  // namespace morvex
