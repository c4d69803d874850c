// The road of every conversion: read, prepare, write.
#include <Standard_Failure.hxx>
#include <Standard_OutOfMemory.hxx>
#include <clocale>
#include <system_error>
#include <thread>

#include "engine/cad/context.h"
#include "engine/cad/messages.h"
#include "engine/cad/prepare.h"
#include "engine/worker/job.h"
#include "engine/worker/modules.h"

namespace morvex {
namespace {

void SendCounts(Journal& journal, const char* side, const ModelCounts& counts) {
    journal.Count(side, "parts", counts.parts);
    journal.Count(side, "instances", counts.instances);
    journal.Count(side, "solids", counts.solids);
    journal.Count(side, "faces", counts.faces);
    journal.Count(side, "triangles", counts.triangles);
    journal.Count(side, "free-edges", counts.edges);
    journal.Count(side, "colours", counts.colours);
}

constexpr std::int64_t kMostFaces = 50'000'000;

Outcome CheckModel(JobContext& context) {
    const ModelCounts counts = context.document.Count();
    SendCounts(context.journal, "read", counts);
    if (counts.faces > kMostFaces || counts.triangles > 10 * kMostFaces) {
        return Outcome::Fail(ZEL_FAILED,
                             "The parts of the model, each in all its places, have too many faces");
    }
    if (counts.faces > 0) {
        const std::string fault = context.document.MeshFault();
        return fault.empty() ? Outcome::Ok() : Damaged(fault);
    }
    if (counts.edges == 0) return Outcome::Fail(ZEL_EMPTY, "There is no geometry in the file");
    if (!context.settings.wireframe) {
        return Outcome::Fail(ZEL_EMPTY, "There are only curves in the file, and FILAIRE leaves curves out");
    }
    return Outcome::Ok();
}

// A reader that gives up by an exception does so over its input, but for want of memory.
Outcome Read(JobContext& context) {
    const Format& format = *context.request.from;
    const auto read = reinterpret_cast<FormatFunction*>(FindFunction(format.readModule, format.readFunction));
    try {
        return read(context);
    } catch (const Standard_OutOfMemory&) {
        throw;
    } catch (const Standard_Failure& failure) {
        return Damaged(std::string("The input could not be read: ") + failure.DynamicType()->Name() + " " +
                       failure.GetMessageString());
    }
}

// Loads the writer's libraries while the reader works. It is of no matter whether that succeeds.
void PreloadWriter(const Format& format) {
    try {
        std::thread([&format] {
            try {
                FindFunction(format.writeModule, format.writeFunction);
            } catch (const std::exception&) {
            }
        }).detach();
    } catch (const std::system_error&) {
    }
}

Outcome Convert(const Request& request, const Settings& settings, const std::filesystem::path& target,
                Journal& journal) {
    const Format& to = *request.to;
    const Handle(JournalProgress) progress = new JournalProgress(journal);
    Message_ProgressScope whole(progress->Start(), nullptr, 100);
    Document document;
    JobContext context{request, settings, journal, document, request.input, whole.Next(45)};
    PreloadWriter(to);
    Outcome outcome = Read(context);
    if (outcome.IsOk()) outcome = CheckModel(context);
    if (!outcome.IsOk()) return outcome;

    journal.Start(Phase::Prepare);
    context.progress = whole.Next(25);
    outcome = Prepare(context);
    if (!outcome.IsOk()) return outcome;

    journal.Start(Phase::Write);
    context.file = target;
    context.progress = whole.Next(29);
    const auto write = reinterpret_cast<FormatFunction*>(FindFunction(to.writeModule, to.writeFunction));
    outcome = write(context);
    if (outcome.IsOk()) SendCounts(journal, "written", document.Count());
    return outcome;
}

}  // namespace

extern "C" Outcome RunJob(const Request& request, const Settings& settings,
                          const std::filesystem::path& target, Journal& journal) {
    std::setlocale(LC_ALL, "C");
    CollectMessages(journal, request.trace);
    Outcome outcome;
    try {
        outcome = Convert(request, settings, target, journal);
    } catch (const Standard_OutOfMemory&) {
        outcome = Outcome::Fail(ZEL_FAILED, "The conversion needs more memory than it may have");
    } catch (const Standard_Failure& failure) {
        outcome = Outcome::Fail(
            ZEL_FAILED, std::string(failure.DynamicType()->Name()) + ": " + failure.GetMessageString());
    }
    FinishMessages(journal);
    return outcome;
}

}  // namespace morvex
