#include "convert/row_status.h"

#include "convert/elapsed_text.h"
#include "res/string_ids.h"

namespace morvex {
namespace {

// The string id of a library result's status text; "KO" for every code without a text of its own.
int ResultTextId(int result) {
    static constexpr struct {
        int result, id;
    } kTexts[] = {
        {kResultOk, IDS_RESULT_OK},
        {-2, IDS_RESULT_CANNOT_OPEN},
        {-5, IDS_RESULT_CORRUPTED},
        {-15, IDS_RESULT_NO_SCHEMA},
        {-22, IDS_RESULT_CANNOT_OPEN_INPUT},
        {kResultCannotWrite, IDS_RESULT_CANNOT_WRITE_OUTPUT},
        {-27, IDS_RESULT_VERSION_NOT_SUPPORTED},
        {-28, IDS_RESULT_NO_FILE},
        {kResultUnknownType, IDS_RESULT_UNKNOWN_TYPE},
        {-30, IDS_RESULT_UNKNOWN_TYPE},
        {-31, IDS_RESULT_CORRUPTED},
        {-32, IDS_RESULT_EMPTY_FILE},
        {-34, IDS_RESULT_EMPTY_FILE},
        {-38, IDS_RESULT_FUTURE_VERSION},
    };
    for (const auto& entry : kTexts) {
        if (entry.result == result) return entry.id;
    }
    return IDS_RESULT_KO;
}

std::wstring TextOfEnd(const RowStatus& status, const TextCatalogue& text) {
    if (status.state == RowState::Stopped) return text(IDS_STOPPED);
    if (status.end == ConversionEnd::TimedOut) return text(IDS_TIME_LIMIT);
    const int id = ResultTextId(status.result);
    return id == IDS_RESULT_KO && status.developerSeconds ? Format(L"%d", status.result) : text(id);
}

}  // namespace

std::wstring StatusText(const RowStatus& status, const TextCatalogue& text) {
    switch (status.state) {
        case RowState::Idle:
            return kStatusNone;
        case RowState::Running:
            return text(IDS_IN_PROGRESS);
        case RowState::NotConverted:
            return text(IDS_NOT_CONVERTED);
        case RowState::Stopped:
        case RowState::Converted:
        case RowState::Failed:
            break;
    }
    const std::wstring end = TextOfEnd(status, text);
    return status.developerSeconds ? end + ElapsedText(*status.developerSeconds) : end;
}

RowStatus StatusOfState(RowState state, const TextCatalogue& text) {
    RowStatus status;
    status.state = state;
    if (state == RowState::Stopped) status.result = kResultFailed;
    status.text = StatusText(status, text);
    return status;
}

RowStatus StatusOfResult(int result, const TextCatalogue& text, ConversionEnd end) {
    RowStatus status;
    status.state = result == kResultOk ? RowState::Converted : RowState::Failed;
    status.result = result;
    status.end = end;
    status.text = StatusText(status, text);
    if (ResultTextId(result) == IDS_RESULT_KO)
        status.reason = Format(text(IDS_REASON_RESULT).c_str(), result);
    return status;
}

}  // namespace morvex
