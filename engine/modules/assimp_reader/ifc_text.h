// IFC as text: what the reader behind does not know is put in words that it does.
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace morvex {

struct IfcText {
    std::string text;                         // one statement a line, names in UTF-8
    std::map<std::string, std::size_t> lost;  // representation items that cannot be read, by their type
};

// Face sets of IFC 4 become face-based surface models, blocks and cylinders become extrusions, styles are
// assigned as in IFC 2x3. Throws ReadError where a face set contradicts itself.
IfcText PrepareIfc(std::string_view file);

}  // namespace morvex
