#pragma once

#include <set>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "list/list_row.h"
#include "win/mailbox.h"

namespace morvex {

// Orders texts without regard to case, as the file system compares names.
struct LessText {
    bool operator()(const std::wstring& a, const std::wstring& b) const;
};

// Files that may become rows, as a search tells them.
struct FoundFiles {
    std::vector<ListRow> rows;          // since the last asking
    std::wstring folder;                // being searched now
    std::wstring problem;               // what ended the search early; empty when nothing did
    std::vector<std::wstring> refused;  // of each kind of file that does not belong to the format, one name
    size_t leftOut = 0;                 // files of a folder that this program has written itself
    std::vector<std::wstring> notRead;  // names of files of excepted extensions
    bool ended = false;                 // all paths are done, or it was stopped
};

// Finds the files that are to be added to the list on a thread of its own: folders are searched, sizes asked.
// It tells the mailbox what it finds; all functions belong to one thread.
class FileAdder {
  public:
    explicit FileAdder(Mailbox<FoundFiles>& mailbox) : mailbox_(mailbox) {}
    // Stops the search and waits for its thread.
    ~FileAdder();

    struct Request {
        std::vector<std::wstring> paths;  // files and folders, in the order in which they are to be listed
        bool recursive = false;
        bool filesOnly = false;                    // no path is a folder to search: the lines of a list file
        bool picked = false;                       // the user has picked the files, of whatever format
        std::vector<std::wstring> excepted;        // extensions that are not listed
        std::wstring inputFormat;                  // filter text that the files must belong to
        std::set<std::wstring, LessText> written;  // results of earlier runs, which a folder's files may be
    };

    // No search may be active.
    void Start(Request request);
    // From Start until the end has been taken.
    bool Active() const { return thread_.joinable(); }
    // The search ends soon, with what it has found so far.
    void Stop() { thread_.request_stop(); }
    FoundFiles Take();

  private:
    void Run(const std::stop_token& stop, const Request& request);
    void TellFilesAndFolders(const std::stop_token& stop, const Request& request);
    void TellFolder(const std::stop_token& stop, const Request& request, const std::wstring& folder);
    void Refuse(const std::wstring& path);
    void TellFiles(const std::stop_token& stop, const Request& request);
    void Tell(const Request& request, std::vector<ListRow> rows, const std::wstring& folder);

    Mailbox<FoundFiles>& mailbox_;
    std::set<std::wstring, LessText> refusedKinds_;  // extensions; the search's thread only
    std::jthread thread_;
};

}  // namespace morvex
