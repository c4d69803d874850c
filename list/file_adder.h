#pragma once

#include <functional>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "list/list_row.h"

namespace morvex {

// Finds the files that are to be added to the list on a thread of its own: folders are searched, sizes asked.
// `notify` is called on that thread, once for all rows until they are taken; every other function belongs to
// one thread.
class FileAdder {
  public:
    explicit FileAdder(std::function<void()> notify) : notify_(std::move(notify)) {}

    struct Request {
        std::vector<std::wstring> paths;  // files and folders, in the order in which they are to be listed
        bool recursive = false;
        bool filesOnly = false;    // no path is a folder to search: the lines of a list file
        std::wstring inputFormat;  // filter text that the files must belong to
    };
    struct Found {
        std::vector<ListRow> rows;  // since the last asking
        std::wstring folder;        // being searched now
        bool ended = false;         // all paths are done, or it was stopped
    };

    // No search may be active.
    void Start(Request request);
    // From Start until the end has been taken.
    bool Active() const { return thread_.joinable(); }
    // The search ends soon, with what it has found so far.
    void Stop() { thread_.request_stop(); }
    Found Take();

  private:
    void Run(const std::stop_token& stop, const Request& request);
    void TellFilesAndFolders(const std::stop_token& stop, const Request& request);
    void TellFiles(const std::stop_token& stop, const Request& request);
    void Tell(std::vector<ListRow> rows, const std::wstring& folder, bool ended);

    std::function<void()> notify_;
    std::mutex mutex_;  // guards what follows
    Found found_;
    bool told_ = false;

    std::jthread thread_;  // last: ends before what it uses
};

}  // namespace morvex
