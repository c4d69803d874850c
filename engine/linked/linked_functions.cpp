// The modules' functions for a worker that has them all in itself.
#include <stdexcept>
#include <string>
#include <string_view>

#include "engine/common/outcome.h"
#include "engine/worker/modules.h"

namespace morvex {

struct Job;
struct JobContext;

extern "C" {
Outcome RunJob(const Job& job);
Outcome DrawPicture(JobContext& context);
Outcome Read3ds(JobContext& context);
Outcome Read3mf(JobContext& context);
Outcome ReadAmf(JobContext& context);
Outcome ReadBrep(JobContext& context);
Outcome ReadCollada(JobContext& context);
Outcome ReadDxf(JobContext& context);
Outcome ReadFbx(JobContext& context);
Outcome ReadGltf(JobContext& context);
Outcome ReadIfc(JobContext& context);
Outcome ReadIges(JobContext& context);
Outcome ReadObj(JobContext& context);
Outcome ReadOff(JobContext& context);
Outcome ReadPly(JobContext& context);
Outcome ReadStep(JobContext& context);
Outcome ReadStl(JobContext& context);
Outcome ReadVrml(JobContext& context);
Outcome ReadX3d(JobContext& context);
Outcome Write3mf(JobContext& context);
Outcome WriteBrep(JobContext& context);
Outcome WriteCollada(JobContext& context);
Outcome WriteDxf(JobContext& context);
Outcome WriteDxfDrawing(JobContext& context);
Outcome WriteEmfDrawing(JobContext& context);
Outcome WriteFbx(JobContext& context);
Outcome WriteGltf(JobContext& context);
Outcome WriteIges(JobContext& context);
Outcome WriteObj(JobContext& context);
Outcome WritePartsList(JobContext& context);
Outcome WritePdfDrawing(JobContext& context);
Outcome WriteStep(JobContext& context);
Outcome WriteStl(JobContext& context);
Outcome WriteVrml(JobContext& context);
}

namespace {

#define FUNCTION(name) \
    { #name, reinterpret_cast < void*>(&name) }
const struct {
    std::string_view name;
    void* function;
} kFunctions[] = {
    FUNCTION(RunJob),         FUNCTION(DrawPicture),     FUNCTION(ReadBrep),        FUNCTION(ReadDxf),
    FUNCTION(ReadFbx),        FUNCTION(ReadGltf),        FUNCTION(ReadIfc),         FUNCTION(ReadIges),
    FUNCTION(ReadObj),        FUNCTION(ReadStep),        FUNCTION(ReadStl),         FUNCTION(Write3mf),
    FUNCTION(WriteBrep),      FUNCTION(WriteCollada),    FUNCTION(WriteFbx),        FUNCTION(WriteGltf),
    FUNCTION(WriteIges),      FUNCTION(WriteObj),        FUNCTION(WriteStep),       FUNCTION(WriteStl),
    FUNCTION(WriteVrml),      FUNCTION(WriteDxf),        FUNCTION(WriteDxfDrawing), FUNCTION(WriteEmfDrawing),
    FUNCTION(WritePartsList), FUNCTION(WritePdfDrawing), FUNCTION(Read3ds),         FUNCTION(Read3mf),
    FUNCTION(ReadAmf),        FUNCTION(ReadCollada),     FUNCTION(ReadX3d),         FUNCTION(ReadVrml),
    FUNCTION(ReadPly),        FUNCTION(ReadOff)};
#undef FUNCTION

}  // namespace

void* FindFunction(const char*, const char* function) {
    for (const auto& known : kFunctions) {
        if (known.name == function) return known.function;
    }
    throw std::runtime_error(std::string("The engine has no function ") + function);
}

}  // namespace morvex
