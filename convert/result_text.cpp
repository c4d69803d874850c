#include "convert/result_text.h"

#include "res/string_ids.h"

namespace morvex {

int ResultTextId(int result) {
    switch (result) {
        case 0:
            return IDS_RESULT_OK;
        case -2:
            return IDS_RESULT_CANNOT_OPEN;
        case -5:
        case -31:
            return IDS_RESULT_CORRUPTED;
        case -15:
            return IDS_RESULT_NO_SCHEMA;
        case -22:
            return IDS_RESULT_CANNOT_OPEN_INPUT;
        case kResultCannotWrite:
            return IDS_RESULT_CANNOT_WRITE_OUTPUT;
        case -27:
            return IDS_RESULT_VERSION_NOT_SUPPORTED;
        case -28:
            return IDS_RESULT_NO_FILE;
        case -29:
        case -30:
            return IDS_RESULT_UNKNOWN_TYPE;
        case -32:
        case -34:
            return IDS_RESULT_EMPTY_FILE;
        case -38:
            return IDS_RESULT_FUTURE_VERSION;
        default:
            return IDS_RESULT_KO;
    }
}

}  // namespace morvex
