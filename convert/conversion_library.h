#pragma once

#include <optional>
#include <string>
#include <vector>

#include "win/unique_handle.h"

// The binding to the conversion library: a dynamic library found at run time, bound by name.
namespace morvex {

// Called by the library on the converting thread. Percent is not clamped by the library.
using ProgressCallback = void (*)(const int* phase, const int* percent);

// The library's conversion entry point. Texts are valid for the call only; the result is a code of
// row_status.h.
using ZelConvert = int (*)(int inputFormat, int outputFormat, const wchar_t* inputPath,
                           const wchar_t* outputPath, const wchar_t* configFile, const wchar_t* schemaFolder,
                           ProgressCallback progress, int parallel, void* reserved, int option,
                           int traceLevel, int reserved2, int runSize);

using LibraryNumber = int (*)();

// One loading of the library; unloaded with the object.
class ConversionLibrary {
  public:
    // Loads the file by its full path; besides the system's folder only the library's own is searched for
    // what it needs. Not Loaded() afterwards when it is missing, is no library, or something it needs is
    // missing.
    explicit ConversionLibrary(const std::wstring& path);

    bool Loaded() const { return module_ != nullptr; }
    ZelConvert ConvertEntry() const { return Entry<ZelConvert>("_zelConvert"); }  // null when not offered
    bool HasExecute() const { return Entry<void (*)()>("_zel_Execute") != nullptr; }

    using UsesSetting = int (*)(const wchar_t* section, const wchar_t* key);
    UsesSetting SettingEntry() const {
        return Entry<UsesSetting>("_zelUsesSetting");
    }  // null when not offered
    // Of "_zelGetVersion" and the like; null when not offered.
    LibraryNumber NumberEntry(const char* name) const { return Entry<LibraryNumber>(name); }

  private:
    template <class Function>
    Function Entry(const char* name) const {
        return module_
                   ? reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module_.get(), name)))
                   : nullptr;
    }

    UniqueModule module_;
};

struct LibraryVersion {
    int version = 0;  // 244 is 2024.4
    int release = 0;  // 20240930 is a date; up to 9999 a plain number
    bool nativeEdition = false;

    // Loads the library, asks and unloads it. Nothing when it cannot be loaded, has no version entry points,
    // or fails in them.
    static std::optional<LibraryVersion> Query(const std::wstring& libraryPath);

    std::wstring VersionText() const;  // "2024.4"
    std::wstring ReleaseText() const;  // "2024.09.30"
};

// A key of the conversion configuration file.
struct SettingName {
    const wchar_t* section;
    const wchar_t* key;
};

// Which of these settings have an effect, in their order: all of them when the library does not say. Loads
// the library, asks and unloads it.
std::vector<bool> AskForEffect(const std::wstring& libraryPath, const std::vector<SettingName>& settings);

}  // namespace morvex
