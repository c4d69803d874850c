// How the list's own work compares with the least that could do it, measured in the same process: adding a
// folder, loading a list file, sorting. Prints one line a figure; ends with 1 when a ratio is above its
// limit.
#include <windows.h>

#include <commctrl.h>

#include <algorithm>
#include <random>

#include "bench/list/baseline.h"
#include "bench/list/many_files.h"
#include "list/conversion_list.h"
#include "list/folder_scan.h"
#include "list/list_files.h"

namespace morvex::bench {
namespace {

constexpr const wchar_t* kStep = L"STEP (*.step;*.stp;*.stpz;*.stpx;*.stpxz;*.stpnc;*.stpa)";
constexpr const wchar_t* kStl = L"STL (*.stl)";

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
