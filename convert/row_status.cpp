#include "convert/row_status.h"

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

}  // namespace

RowStatus StatusOfState(RowState state, const TextCatalogue& text) {
    RowStatus status;
    status.state = state;
    if (state == RowState::Running) status.text = text(IDS_IN_PROGRESS);
    if (state == RowState::NotConverted) status.text = text(IDS_NOT_CONVERTED);
    if (state == RowState::Stopped) {
        status.text = text(IDS_STOPPED);
        status.result = kResultFailed;
    }
    return status;
}

RowStatus StatusOfResult(int result, const TextCatalogue& text, bool numberForKo) {
    const int id = ResultTextId(result);
    RowStatus status;
    status.state = result == kResultOk ? RowState::Converted : RowState::Failed;
    status.result = result;
    status.text = id == IDS_RESULT_KO && numberForKo ? Format(L"%d", result) : text(id);
    if (id == IDS_RESULT_KO) status.reason = Format(text(IDS_REASON_RESULT).c_str(), result);
    return status;
}

}  // namespace morvex
