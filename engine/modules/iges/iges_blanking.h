// What is hidden: the library's reader and writer leave the blank status of entities alone.
#pragma once

#include <IGESData_IGESEntity.hxx>
#include <Transfer_FinderProcess.hxx>
#include <XSControl_WorkSession.hxx>

#include "engine/modules/core/document.h"

namespace morvex {

// Whether the file blanks the entity by itself, and not as a piece of another one.
bool IsBlanked(const Handle(IGESData_IGESEntity) & entity);

// Whether the file blanks anything by itself.
bool HoldsBlanked(const Handle(XSControl_WorkSession) & session);

// After reading: hides in the document what comes of blanked entities.
void HideWhatIsBlanked(const Document& document, const Handle(XSControl_WorkSession) & session);

// Before the file is written: blanks the entities of what the document hides.
void BlankWhatIsHidden(const Document& document, const Handle(Transfer_FinderProcess) & process);

}  // namespace morvex
