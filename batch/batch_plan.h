#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "batch/batch_options.h"
#include "batch/batch_requests.h"
#include "batch/job_log.h"
#include "batch/source_list.h"
#include "convert/output_names.h"
#include "win/file_identity.h"

namespace morvex {

// A file of the batch with all that its conversion needs.
struct BatchTask {
    std::wstring input, output;
    bool inputExists = false;
    DWORD inputError = 0;  // of the system, when it was looked at
    std::uint64_t inputBytes = 0;
    FILETIME inputTime{};
    ConversionRequest request;
};

// Why a file is not converted now.
enum class Refusal {
    Skipped,       // its output is good already, or is to be kept
    DoneBefore,    // the log to resume has its result
    FailedBefore,  // the same, and the result was a failure
    Failed,        // it cannot be converted
};
struct RefusedTask {
    Refusal refusal;
    int result = 0;
    std::wstring reason;
    std::optional<JobRecord> record;  // the log's, where it has one
};

// Deals out the files of a batch in the list's order while the list still grows: names each output when its
// turn has come, and leaves out what need not be converted. An output that exists might be an input that is
// still to be listed: then the deal waits for the whole list.
class BatchPlan {
  public:
    using OnRefused = std::function<void(const BatchTask&, const RefusedTask&)>;

    // `history` is what --resume or --log has to say, or null. `refused` is told one at a time.
    BatchPlan(const BatchOptions& options, const SourceList& list, BatchRequests& requests,
              OutputNames& names, JobHistory* history, OnRefused refused)
        : options_(options),
          list_(list),
          requests_(requests),
          names_(names),
          history_(history),
          refused_(std::move(refused)) {}

    // The next file to convert; nothing when there is none, or `stop` says so. Any thread.
    std::optional<BatchTask> Next(const std::function<bool()>& stop);

    // Files of the list that belong to this part of the batch, as far as that is known now.
    size_t Mine() const { return options_.shards > 1 ? shareSize_.load() : list_.Count(); }

  private:
    bool WaitForNext(const std::function<bool()>& stop);
    bool WaitUntilComplete(const std::function<bool()>& stop);
    // Makes the task of a file; false when it is not to be converted, or not by this part.
    bool Prepare(const SourceList::Entry& source, bool mine, const std::function<bool()>& stop,
                 BatchTask& task);
    // What the log says of an input, unless it tells of other conversions: to another format, or to another
    // folder than that of --out.
    std::optional<JobRecord> RecordOf(const std::wstring& input, const OutputName& name);
    bool IsBelow(const std::wstring& path, const std::wstring& folder);
    struct Output {
        std::wstring path;
        int number = 0;  // as OutputNames gave it; 0: an earlier batch has named it
        bool claimed = false;
    };
    // What was done before keeps its name; without a path when it was not.
    Output EarlierOutput(const std::wstring& input, const std::optional<JobRecord>& record) const;
    std::optional<RefusedTask> Objection(const BatchTask& task, const std::optional<JobRecord>& record) const;
    std::optional<RefusedTask> ObjectionToOverwrite(const BatchTask& task,
                                                    const std::optional<JobRecord>& record) const;
    // No other batch writes the output from now on; it gets the next number where one does already.
    void Claim(const OutputName& name, Output& output);
    int AvoidLinks(const OutputName& name, int number);
    void Identify();

    const BatchOptions& options_;
    const SourceList& list_;
    BatchRequests& requests_;
    OutputNames& names_;
    JobHistory* const history_;
    const OnRefused refused_;

    std::mutex mutex_;  // guards what follows
    size_t next_ = 0;
    std::wstring lastFolder_;  // of an output
    std::vector<bool> share_;  // of the files, those of this shard
    std::atomic<size_t> shareSize_ = 0;
    size_t identified_ = 0;  // inputs whose identity is known
    FileSet identities_;
    // Outputs of a hot folder's files, which may come again: they are others then than the log has known.
    std::unordered_map<std::wstring, Output> given_;  // by the input's path
};

}  // namespace morvex
