#pragma once

#include <string>
#include <string_view>

namespace morvex {

// A chosen pair of formats: their filter texts and what the tables say of them.
struct ConversionFormats {
    std::wstring input;   // "STEP (*.step;*.stp...)"; may be empty, or known to no table
    std::wstring output;  // "STL (*.stl)"
    int inputCode = 1;    // the conversion library's numbers
    int outputCode = 1;
    std::wstring extension;  // of written files, with its dot; may be empty

    // The conversion drives the progress dialog and uses the shared configuration file.
    bool InProgressGroup() const;
};

// Looks the rest of the pair up. Texts that no table knows have the code kCodeAny and no extension.
ConversionFormats LookUpFormats(std::wstring_view input, std::wstring_view output);

}  // namespace morvex
