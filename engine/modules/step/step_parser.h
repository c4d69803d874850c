// The text of a STEP file, made into the library's model.
#pragma once

#include <XSControl_WorkSession.hxx>
#include <string_view>

namespace morvex {

// Gives the session the model of a text, as the library's own parser would, which takes its text letter by
// letter. False when there is anything in the text that this one leaves to the other; the session is as
// before then. `name` is what the session is to call the file.
bool ParseStepText(std::string_view text, const char* name, const Handle(XSControl_WorkSession) & session);

}  // namespace morvex
