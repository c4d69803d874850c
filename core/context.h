#pragma once

#include "core/program_folders.h"
#include "core/settings.h"
#include "core/text_catalogue.h"
#include "formats/conversion_pairs.h"

namespace morvex {

// The program's state that more than one part needs. One owner (CmorvexApp, or a test); handed on by
// reference; belongs to the user-interface thread.
struct AppContext {
    explicit AppContext(ProgramFolders places) : folders(std::move(places)), settings(folders) {}

    ProgramFolders folders;
    AppSettings settings;
    TextCatalogue text;
    ConversionPairs pairs;
};

}  // namespace morvex
