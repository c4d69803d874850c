#pragma once

#include <functional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "list/list_row.h"

namespace morvex {

// Receives the accepted files of a scan since the last call, in the scan's order, and the folder it is in
// now. Called on the scan's thread, every tenth of a second or so, also without rows; at the end once more if
// rows are left.
using ScanReceiver = std::function<void(std::vector<ListRow> rows, const std::wstring& currentFolder)>;

// Finds the files of a folder that may become rows under the input format, in the order the file system
// gives; a sub-folder is entered where it stands in that order when `recursive` is on. A link to a folder is
// followed once at most, never into a folder the scan is inside of. `refuse`, if given, gets the path of
// every file that may not become a row, `unread` that of every folder that could not be read, or not to its
// end. Any thread; ends early, without a last call, when `stop` is requested.
void ScanFolder(const std::wstring& folder, bool recursive, std::wstring_view inputFilterText,
                const std::stop_token& stop, const ScanReceiver& receive,
                const std::function<void(const std::wstring& path)>& refuse = {},
                const std::function<void(const std::wstring& folder)>& unread = {});

}  // namespace morvex
