// The road of every conversion: read, prepare, write.
#include <Standard_Failure.hxx>
#include <Standard_OutOfMemory.hxx>
#include <clocale>
#include <future>

#include "engine/common/job.h"
#include "engine/modules/core/context.h"
#include "engine/modules/core/messages.h"
#include "engine/modules/core/prepare.h"
#include "engine/modules/core/read_error.h"
#include "engine/modules/core/verify.h"

namespace morvex {
namespace {

void SendCounts(Journal& journal, const ModelCounts& counts) {
    journal.Count("read", "parts", counts.parts);
    journal.Count("read", "instances", counts.instances);
    journal.Count("read", "solids", counts.solids);
    journal.Count("read", "faces", counts.faces);
    journal.Count("read", "triangles", counts.triangles);
    journal.Count("read", "free-edges", counts.edges);
    journal.Count("read", "colours", counts.colours);
}

constexpr std::int64_t kMostFaces = 50'000'000;

Outcome CheckModel(JobContext& context) {
    const ModelCounts counts = context.document.Count();
    SendCounts(context.journal, counts);
    if (counts.faces > kMostFaces || counts.triangles > 10 * kMostFaces) {
        return Outcome::Fail(ZEL_FAILED, "The model has too many faces when all instances are counted");
    }
    if (counts.faces > 0) {
        const std::string fault = context.document.MeshFault();
        return fault.empty() ? Outcome::Ok() : Damaged(fault);
    }
    const std::string& losses = context.journal.Losses();
    if (!losses.empty()) return Damaged("Missing: " + losses);
    if (counts.edges == 0) return Outcome::Fail(ZEL_EMPTY, "The file contains no geometry");
    if (!context.settings.wireframe) {
        return Outcome::Fail(ZEL_EMPTY,
                             "The file contains only curves, which the setting FILAIRE leaves out");
    }
    return Outcome::Ok();
}

// A reader that gives up by an exception does so over its input, but for want of memory.
Outcome Read(JobContext& context, LoadFunction* load) {
    const Format& format = *context.request.from;
    const auto read = reinterpret_cast<FormatFunction*>(load(format.readModule, format.readFunction));
    try {
        return read(context);
    } catch (const ReadError& error) {
        return Outcome::Fail(error.result, error.what());
    } catch (const Standard_OutOfMemory&) {
        throw;
    } catch (const Standard_Failure& failure) {
        return Damaged(std::string("The input could not be read: ") + failure.DynamicType()->Name() + " " +
                       failure.GetMessageString());
    }
}

// What is missing of the input is no result that would pass for a whole one, unless that is asked for.
Outcome JudgeLosses(const JobContext& context) {
    const std::string& losses = context.journal.Losses();
    if (losses.empty() || context.settings.keepPartial) return Outcome::Ok();
    return Damaged("Missing: " + losses);
}

// What a reader could bring over of a damaged file is a model too where parts are asked for.
Outcome KeepPart(JobContext& context, const Outcome& outcome) {
    if (outcome.result != ZEL_CORRUPTED || !context.settings.keepPartial) return outcome;
    if (context.document.Roots().IsEmpty()) return outcome;
    context.journal.Lose("what comes after the damage: " + outcome.reason);
    return Outcome::Ok();
}

// Loads the writer's libraries while the reader works. It is of no matter whether that succeeds.
std::shared_future<void> PreloadWriter(const Format& format, LoadFunction* load) {
    return std::async(std::launch::async | std::launch::deferred, [&format, load] {
        try {
            load(format.writeModule, format.writeFunction);
        } catch (const std::exception&) {
        }
    });
}

// Whatever becomes of it, the conversion has its outcome already, and what is said of these triangles is not
// said of the output.
void AddPicture(JobContext& context, LoadFunction* load) {
    std::string reason;
    try {
        Journal silent([](std::string_view) {});
        JobContext meshing{context.request, context.settings, silent, context.document, context.file, {}};
        MeshFaces(meshing);
        const Outcome outcome = reinterpret_cast<FormatFunction*>(load("picture", "DrawPicture"))(context);
        reason = outcome.reason;
    } catch (const Standard_Failure& failure) {
        reason = failure.GetMessageString();
    } catch (const std::exception& error) {
        reason = error.what();
    }
    if (!reason.empty()) context.journal.Warn("No picture: " + reason);
}

Outcome Convert(const Job& job) {
    const Format& to = *job.request.to;
    Journal& journal = job.journal;
    const Handle(JournalProgress) progress = new JournalProgress(journal);
    Message_ProgressScope whole(progress->Start(), nullptr, 100);
    Document document;
    JobContext context{job.request, job.settings, journal, document, job.request.input, whole.Next(45)};
    context.writerLoaded = PreloadWriter(to, job.load);
    Outcome outcome = KeepPart(context, Read(context, job.load));
    if (outcome.IsOk()) BakeLocations(context);
    if (outcome.IsOk()) outcome = CheckModel(context);
    if (outcome.IsOk()) outcome = JudgeLosses(context);
    if (!outcome.IsOk()) return outcome;

    journal.Start(Phase::Prepare);
    context.progress = whole.Next(25);
    outcome = Prepare(context);
    if (outcome.IsOk()) outcome = JudgeLosses(context);
    if (!outcome.IsOk()) return outcome;

    const std::optional<Measures> size = SendMeasures(context);
    journal.Start(Phase::Write);
    context.file = job.target;
    context.progress = whole.Next(29);
    const auto write = reinterpret_cast<FormatFunction*>(job.load(to.writeModule, to.writeFunction));
    outcome = write(context);
    if (outcome.IsOk()) outcome = VerifyWritten(context, size, job.load);
    if (!outcome.IsOk()) return outcome;
    if (job.settings.picture || !job.request.picture.empty()) {
        journal.Finish(outcome);
        AddPicture(context, job.load);
    }
    return outcome;
}

}  // namespace

extern "C" Outcome RunJob(const Job& job) {
    std::setlocale(LC_ALL, "C");
    CollectMessages(job.journal, job.request.trace);
    Outcome outcome;
    try {
        outcome = Convert(job);
    } catch (const Standard_OutOfMemory&) {
        outcome = OutOfMemory();
    } catch (const Standard_Failure& failure) {
        outcome = Outcome::Fail(
            ZEL_FAILED, std::string(failure.DynamicType()->Name()) + ": " + failure.GetMessageString());
    }
    FinishMessages(job.journal);
    return outcome;
}

}  // namespace morvex
