#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "formats/conversion_formats.h"
#include "formats/conversion_pairs.h"

namespace morvex {

// The formats of a batch: the one to write, and of each file the one to read. Belongs to the thread that
// finds the files; the formats that it has found already may be read on any thread.
class BatchFormats {
  public:
    // `from` and `to` are a format's display name, identifier ("ZEL_STEP"), extension or filter text, without
    // regard to case; an empty `from` leaves the input to each file. On a name that no format has `error`
    // says so.
    BatchFormats(const ConversionPairs& pairs, std::wstring_view from, std::wstring_view to,
                 std::wstring& error);

    using Index = std::uint8_t;

    // The formats of a file that was named: those of --from, else by its extension, else by its content;
    // nothing when nothing tells its format.
    std::optional<Index> OfNamedFile(const std::wstring& path);
    // The same of a file that a folder holds: with --from only files of that format are meant; without it
    // files of the output's own format are left aside, as results of earlier batches, and so are reports.
    std::optional<Index> OfFolderFile(const std::wstring& path);

    const ConversionFormats& At(Index index) const { return *formats_[index]; }

  private:
    std::optional<Index> OfExtension(const std::wstring& path);
    std::optional<Index> OfContent(const std::wstring& path);
    std::optional<Index> With(const std::wstring& inputFilterText);

    const ConversionPairs& pairs_;
    std::vector<std::wstring> from_, to_;  // filter texts that fit the names
    std::map<std::wstring, Index> byInput_;
    std::map<std::wstring, std::optional<Index>> byExtension_;
    static constexpr size_t kMostInputs = 128;
    const ConversionFormats* formats_[kMostInputs] = {};  // never moved once set
    std::vector<std::unique_ptr<ConversionFormats>> owned_;
};

}  // namespace morvex
