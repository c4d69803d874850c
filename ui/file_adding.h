#pragma once

#include <string>
#include <vector>

#include "list/file_adder.h"
#include "ui/format_choice.h"
#include "ui/window_state.h"
#include "win/drop_target.h"
#include "win/handed_files.h"
#include "win/mailbox.h"

namespace morvex {

// Brings files into the main window's list: from dialogs, folders, drops, list files and the recent files.
// Folders and files are looked at on a thread of its own; meanwhile the state says that files are being
// added.
class FileAdding {
  public:
    FileAdding(WindowState& state, WindowView& view, FormatChoice& formats)
        : state_(state), view_(view), formats_(formats) {}

    // The window exists; it hands kFoundMessage to OnFound.
    void Attach();
    void OnFound();
    // Ends the search soon; what it has found stays.
    void Stop();

    void AddFiles();
    void AddFolder(bool recursive);
    void AddRecentFile(size_t index);
    void LoadList();
    // The other input format that all files belong to of which the last adding took none; empty when there is
    // no such format or the window is not as it was.
    std::wstring OfferedFormat() const;
    // Chooses that format and adds those files.
    void AddInOfferedFormat();
    // Replaces formats and rows by those of a list file that was read.
    void TakeListFile(ListFile file);

    // A drop is kept until AddDroppedPaths takes it; ShowDropMenu asks the user how.
    void OnDropped(std::vector<std::wstring> paths, POINT screen);
    void ShowDropMenu();
    bool DropPending() const { return !pendingDrop_.empty(); }
    void AddDroppedPaths(bool replace, bool recursive);
    // Files that the shell's message brings instead: dropped beside the list.
    void AddDroppedFileHandle(HDROP drop);
    // Files from another process. With an empty list, or alone, they bring their format with them.
    HandOver AddHandedFiles(const HandedFiles& files);

  private:
    // Where files come from; it decides what is said when none was added.
    enum class Source { Picked, Folder, Drop, ListFile };

    void Start(std::vector<std::wstring> paths, bool recursive, Source source);
    std::wstring CountText() const;
    void OnEnded();
    std::wstring OtherFormat() const;
    void ShowOnlyFormatMessage();
    bool TakesDrops() const;
    void AddPathsOrListFile(std::vector<std::wstring> paths, bool recursive);
    void OpenListFile(const std::wstring& path);

    WindowState& state_;
    WindowView& view_;
    FormatChoice& formats_;
    std::vector<std::wstring> pendingDrop_;
    POINT dropPoint_{};  // of the screen
    Source source_ = Source::Folder;
    FileAdder::Request request_;  // the last one
    std::vector<std::wstring> refused_;
    std::wstring offered_;
    size_t leftOut_ = 0;
    std::vector<std::wstring> notRead_;
    size_t rowsBefore_ = 0;
    bool stopped_ = false;
    Mailbox<FoundFiles> mailbox_;
    FileAdder adder_{mailbox_};  // last: its thread ends before what it uses
};

}  // namespace morvex
