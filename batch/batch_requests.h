#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "batch/batch_formats.h"
#include "batch/batch_options.h"
#include "convert/conversion_request.h"

namespace morvex {

// Makes the request of each file: the program's settings with what the command line says in their place. One
// thread at a time.
class BatchRequests {
  public:
    BatchRequests(AppContext& context, const BatchOptions& options, const BatchFormats& formats)
        : context_(context), options_(options), formats_(formats) {}
    ~BatchRequests() { RemoveTemporaryConfigs(); }
    BatchRequests(const BatchRequests&) = delete;
    BatchRequests& operator=(const BatchRequests&) = delete;

    // `tree` is the file's folder below the folder that was named.
    ConversionRequest For(BatchFormats::Index format, const std::wstring& tree);

    // Removes the files that --set needed; no conversion may be under way.
    void RemoveTemporaryConfigs();

    // What keeps every conversion of the batch from being made; empty when nothing does.
    std::wstring Obstacle();

  private:
    std::wstring UnknownSetting() const;
    std::wstring ConfigFile(const ConversionFormats& formats);
    std::wstring WithValues(const std::wstring& config);

    AppContext& context_;
    const BatchOptions& options_;
    const BatchFormats& formats_;
    std::map<BatchFormats::Index, ConversionRequest> requests_;
    std::vector<std::wstring> temporaryConfigs_;
};

}  // namespace morvex
