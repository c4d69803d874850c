// How the list's own work compares with the least that could do it, measured in the same process: adding a
// folder, loading a list file, sorting. Prints one line a figure; ends with 1 when a ratio is above its
// limit.
#include <windows.h>

#include <commctrl.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <random>

#include "bench/list/many_files.h"
#include "ui/conversion_list.h"
#include "ui/folder_scan.h"
#include "ui/list_files.h"

namespace morvex::bench {
namespace {

constexpr const wchar_t* kStep = L"STEP (*.step;*.stp;*.stpz;*.stpx;*.stpxz;*.stpnc;*.stpa)";
constexpr const wchar_t* kStl = L"STL (*.stl)";
constexpr int kRounds = 5;

volatile std::uint64_t sink;  // keeps results that nothing else reads

double Milliseconds(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

// Takes both in turns and compares their best times, in milliseconds. A limit of 0 only reports.
bool Compare(const char* what, int rows, double limit, const std::function<double()>& ours,
             const std::function<double()>& baseline, int rounds = kRounds) {
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

bool AddingAFolder(const std::wstring& folder, int rows) {
    const auto scan = [&] {
        ConversionList list;
        return Milliseconds([&] {
            ScanFolder(folder, true, kStep, {}, [&](std::vector<ListRow> found, const std::wstring&) {
                list.Append(std::move(found));
            });
            sink = list.Count();
        });
    };
    const auto walk = [&] {
        return Milliseconds([&] {
            WalkFolder(folder, [](const WIN32_FIND_DATAW& entry) { sink = sink + entry.nFileSizeLow; });
        });
    };
    const auto walkIntoListView = [&] {
        PlainListView view;
        return Milliseconds([&] {
            int row = 0;
            WalkFolder(folder, [&](const WIN32_FIND_DATAW& entry) {
                view.AddRow(row++, entry.cFileName, std::to_wstring(entry.nFileSizeLow).c_str(),
                            folder.c_str());
            });
        });
    };
    Compare("walk a folder / bare loop", rows, 0, scan, walk);
    return Compare("add a folder / bare loop, plain list view", rows, 2.0, scan, walkIntoListView, 1);
}

bool LoadingAListFile(const std::wstring& folder, int rows) {
    ConversionList files;
    ScanFolder(folder, false, kStep, {},
               [&](std::vector<ListRow> found, const std::wstring&) { files.Append(std::move(found)); });
    const std::wstring path = folder + L"\\list.csv";
    SaveListFile(path, files, {kStep, kStl});
    ConversionPairs pairs;
    pairs.RegisterConversionPair(L"STEP", L"STL", L"");

    const auto load = [&] {
        ConversionList list;
        return Milliseconds([&] {
            ListFile file = ReadListFile(path, pairs, false);
            list.Append(MakeAcceptedRows(std::move(file.paths), file.formats.input));
            sink = list.Count();
        });
    };
    const auto readAndAsk = [&] {
        return Milliseconds([&] {
            const HANDLE file =
                CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
            std::wstring text(GetFileSize(file, nullptr) / sizeof(wchar_t), L'\0');
            DWORD read = 0;
            ReadFile(file, text.data(), static_cast<DWORD>(text.size() * sizeof(wchar_t)), &read, nullptr);
            CloseHandle(file);
            for (size_t start = 0, end; (end = text.find(L"\r\n", start)) != text.npos; start = end + 2) {
                text[end] = L'\0';
                WIN32_FILE_ATTRIBUTE_DATA data{};
                if (text[start + 1] == L':') GetFileAttributesExW(&text[start], GetFileExInfoStandard, &data);
                sink = sink + data.nFileSizeLow;
            }
        });
    };
    const bool good = Compare("load a list file / read it, ask each size", rows, 1.5, load, readAndAsk);
    DeleteFileW(path.c_str());
    return good;
}

bool Sorting(int rows) {
    std::mt19937 random(1);
    std::vector<ListRow> made;
    std::vector<std::wstring> names;
    std::vector<std::uint64_t> numbers;
    for (int i = 0; i < rows; ++i) {
        const std::uint64_t size = random() % 50'000'000;
        const std::wstring name = L"part " + std::to_wstring(random()) + L".stp";
        made.push_back(*MakeRow(L"C:\\some folder\\" + name, size));
        names.push_back(name);  // in lower case already
        numbers.push_back(size < 1024 ? size : (size / 1024 + (size > 1024)) * 1000);
    }
    const auto sortList = [&](ListColumn column, ListColumn before) {
        return [&made, column, before] {
            ConversionList list;
            list.Append(made);
            list.SortByColumn(before);  // rows that were sorted before lie all over the memory
            return Milliseconds([&] { list.SortByColumn(column); });
        };
    };
    const auto sortKeys = [](const auto& keys) {
        return [&keys] {
            auto copy = keys;
            return Milliseconds([&] { std::sort(copy.begin(), copy.end()); });
        };
    };
    const bool byName = Compare("sort by name / std::sort of the names", rows, 3.0,
                                sortList(ListColumn::Filename, ListColumn::Size), sortKeys(names));
    const bool bySize = Compare("sort by size / std::sort of the numbers", rows, 3.0,
                                sortList(ListColumn::Size, ListColumn::Filename), sortKeys(numbers));
    return byName && bySize;
}

int Run() {
    bool good = true;
    for (const int rows : {25'000, 50'000, 100'000}) {
        const ManyFiles files(rows);
        good &= AddingAFolder(files.Folder(), rows);
        good &= LoadingAListFile(files.Folder(), rows);
        good &= Sorting(rows);
    }
    return good ? 0 : 1;
}

}  // namespace
}  // namespace morvex::bench

int wmain() {
    const INITCOMMONCONTROLSEX controls = {sizeof(controls), ICC_LISTVIEW_CLASSES};
    InitCommonControlsEx(&controls);
    return morvex::bench::Run();
}
