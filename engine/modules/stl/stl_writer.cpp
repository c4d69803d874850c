// STL, written.
#include <StlAPI_Writer.hxx>

#include "engine/common/paths.h"
#include "engine/modules/core/context.h"

namespace morvex {

extern "C" Outcome WriteStl(JobContext& context) {
    StlAPI_Writer writer;
    writer.ASCIIMode() = context.settings.asciiStl;
    return Written(writer.Write(context.document.WholeShape(), Utf8(context.file).c_str(), context.progress));
}

}  // namespace morvex
