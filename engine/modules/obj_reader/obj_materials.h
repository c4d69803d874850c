// The material files that an OBJ file names.
#pragma once

#include <XCAFDoc_VisMaterial.hxx>
#include <map>
#include <string>
#include <string_view>

#include "engine/modules/core/context.h"

namespace morvex {

using ObjMaterials = std::map<std::string, Handle(XCAFDoc_VisMaterial), std::less<>>;

// Adds the materials of a file beside the input. What is missing or damaged costs the colours, with a
// warning.
void ReadObjMaterials(JobContext& context, const std::string& reference, ObjMaterials& materials);

}  // namespace morvex
