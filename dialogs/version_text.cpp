#include "dialogs/version_text.h"

#include "core/product.h"

namespace morvex {

std::wstring VersionText(const std::optional<LibraryVersion>& library) {
    std::wstring text = product::kEdition;
    if (!library) return text + L"\nPolyvane.dll (V..)";
    text += library->nativeEdition ? L"\nPolyvaneZel.dll V" : L"\nPolyvane.dll V";
    return text + library->VersionText() + L" (" + library->ReleaseText() + L")";
}

}  // namespace morvex
