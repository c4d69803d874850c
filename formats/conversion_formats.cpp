#include "formats/conversion_formats.h"

#include "formats/format_groups.h"
#include "formats/input_formats.h"
#include "formats/output_formats.h"

namespace morvex {

bool ConversionFormats::InProgressGroup() const {
    return IsProgressGroup(inputCode, outputCode);
}

ConversionFormats LookUpFormats(std::wstring_view input, std::wstring_view output) {
    return {
        .input = std::wstring(input),
        .output = std::wstring(output),
        .inputCode = InputFilterTextToFormatCode(input),
        .outputCode = OutputFilterTextToFormatCode(output),
        .extension = OutputFilterTextToExtension(output),
    };
}

}  // namespace morvex
