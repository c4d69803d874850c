#pragma once

#include <optional>
#include <string>

#include "core/text_catalogue.h"

namespace morvex {

// Results of the conversion library that this program gives itself; the library has more (row_status.cpp).
inline constexpr int kResultOk = 0;
inline constexpr int kResultCannotWrite = -23;
inline constexpr int kResultUnknownType = -29;
inline constexpr int kResultFailed = 1;  // also: no entry point, a fault, an abandoned run

// What a run has made of one file.
enum class RowState {
    Idle,          // no run has touched it
    Running,       // being converted
    Converted,     // ended with kResultOk
    Failed,        // ended with any other result
    Stopped,       // being converted when the run was stopped
    NotConverted,  // the run ended before its turn
};

// How a conversion that was begun came to its end, whatever its result.
enum class ConversionEnd {
    Told,        // the library said what became of it
    Crashed,     // it faulted, or its process died without a word
    TimedOut,    // its process was ended because it took too long
    NotStarted,  // the system could not start its process
};

// The status of a row that no run has touched.
inline constexpr const wchar_t* kStatusNone = L"-";

struct RowStatus {
    RowState state = RowState::Idle;
    int result = kResultOk;           // of a file that was begun
    std::wstring text = kStatusNone;  // StatusText of the rest, in the language of the moment
    std::wstring output;              // the file that was written, or was to be; empty before a run
    std::wstring reason;              // why it failed, in one line, where the text alone does not say it
    ConversionEnd end = ConversionEnd::Told;
    std::optional<long> developerSeconds = {};  // that it took; in developer mode only

    // The run is done with the row.
    bool Final() const { return state != RowState::Idle && state != RowState::Running; }
};

// What the list shows for a status. In developer mode the time stands behind it, and a result's number in the
// place of "KO".
std::wstring StatusText(const RowStatus& status, const TextCatalogue& text);

// The status of a row in a state that has no result, with its text.
RowStatus StatusOfState(RowState state, const TextCatalogue& text);

// The status of a file that came to this end with this result, with its text.
RowStatus StatusOfResult(int result, const TextCatalogue& text, ConversionEnd end = ConversionEnd::Told);

}  // namespace morvex
