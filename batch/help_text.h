#pragma once

namespace morvex {

extern const wchar_t kBatchHelp[];     // one screen
extern const wchar_t kBatchHelpAll[];  // every option with its meaning

}  // namespace morvex
