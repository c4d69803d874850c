#pragma once

#include <windows.h>

#include <commctrl.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>

#include "list/list_row.h"

// What the benchmarks measure against, and with.
namespace morvex::bench {

inline volatile std::uint64_t sink;  // keeps results that nothing else reads

inline double Milliseconds(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

// Takes both in turns and compares their best times, in milliseconds. A limit of 0 only reports.
inline bool Compare(const char* what, int rows, double limit, const std::function<double()>& ours,
                    const std::function<double()>& baseline, int rounds = 5) {
    double best = ours(), bestBaseline = baseline();
    for (int i = 1; i < rounds; ++i) {
        best = std::min(best, ours());
        bestBaseline = std::min(bestBaseline, baseline());
    }
    const double ratio = best / bestBaseline;
    std::printf("%7d rows: %-44s %9.1f %9.1f %6.2f", rows, what, best, bestBaseline, ratio);
    if (limit > 0) std::printf("   <= %.1f%s", limit, ratio > limit ? "   ABOVE" : "");
    std::printf("\n");
    std::fflush(stdout);
    return limit == 0 || ratio <= limit;
}

// The least work that finds a folder's files and their sizes.
template <class Visit>
void WalkFolder(const std::wstring& folder, Visit visit) {
    WIN32_FIND_DATAW entry;
    const HANDLE find = FindFirstFileW((folder + L"\\*").c_str(), &entry);
    do {
        if (!(entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) visit(entry);
    } while (FindNextFileW(find, &entry));
    FindClose(find);
}

// A list view that stores its rows itself, filled by messages. Not shown: drawing after each row would take
// minutes.
class PlainListView {
  public:
    PlainListView()
        : window_(CreateWindowW(WC_LISTVIEWW, L"", WS_POPUP | LVS_REPORT, 0, 0, 900, 500, nullptr, nullptr,
                                GetModuleHandleW(nullptr), nullptr)) {
        for (int i = 0; i < kListColumns; ++i) {
            LVCOLUMNW column{};
            column.mask = LVCF_WIDTH | LVCF_SUBITEM;
            column.cx = 200;
            column.iSubItem = i;
            SendMessageW(window_, LVM_INSERTCOLUMNW, static_cast<WPARAM>(i),
                         reinterpret_cast<LPARAM>(&column));
        }
    }
    ~PlainListView() { DestroyWindow(window_); }
    PlainListView(const PlainListView&) = delete;
    PlainListView& operator=(const PlainListView&) = delete;

    void AddRow(int row, const wchar_t* name, const wchar_t* size, const wchar_t* folder) {
        LVITEMW item{};
        item.mask = LVIF_TEXT;
        item.iItem = row;
        item.pszText = const_cast<wchar_t*>(name);
        SendMessageW(window_, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
        for (const wchar_t* text : {size, folder, L"-"}) {
            ++item.iSubItem;
            item.pszText = const_cast<wchar_t*>(text);
            SendMessageW(window_, LVM_SETITEMTEXTW, static_cast<WPARAM>(row),
                         reinterpret_cast<LPARAM>(&item));
        }
    }

  private:
    HWND window_;
};

}  // namespace morvex::bench
