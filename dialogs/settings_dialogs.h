#pragma once

#include <windows.h>

#include "core/context.h"
#include "dialogs/prompts.h"

namespace morvex {

enum class SettingsDialog { Healing, Robcad, Xmt, Pdf, Prc, Tessellated, Default };

// The dialog for the settings of conversions between these two format codes.
SettingsDialog ChooseSettingsDialog(int inputCode, int outputCode);

// Shows the settings dialog of the chosen formats modally over the window; on OK it has written their
// configuration file. False, after a message, when these formats have no configuration file.
bool OpenSettingsDialog(AppContext& context, HWND parent, const Prompts& prompts = {});

}  // namespace morvex
