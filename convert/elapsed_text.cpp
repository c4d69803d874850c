#include "convert/elapsed_text.h"

#include "core/text_catalogue.h"

namespace morvex {

std::wstring ElapsedText(long seconds) {
    const int hours = static_cast<int>(seconds / 3600);
    const int minutes = static_cast<int>(seconds % 3600 / 60);
    const int rest = static_cast<int>(seconds % 60);
    if (hours >= 1) return Format(L" [%2dh %2dmn %2dsec]", hours, minutes, rest);
    if (minutes >= 1) return Format(L" [%2dmn %2dsec]", minutes, rest);
    if (rest == 0) return Format(L" [%.2f sec]", static_cast<double>(seconds));
    return Format(L" [%d sec]", rest);
}

}  // namespace morvex
