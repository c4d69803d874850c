// What a reader or a writer of a format is given. Each is a function with C linkage in a module of the
// engine.
#pragma once

#include <Message_ProgressRange.hxx>
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <future>
#include <string>
#include <thread>

#include "engine/common/formats.h"
#include "engine/common/journal.h"
#include "engine/common/outcome.h"
#include "engine/common/request.h"
#include "engine/common/settings.h"
#include "engine/modules/core/document.h"

namespace morvex {

struct JobContext {
    const Request& request;
    const Settings& settings;
    Journal& journal;
    Document& document;
    std::filesystem::path file;      // the input for a reader, the file in the temporary folder for a writer
    Message_ProgressRange progress;  // its own share
    bool facets = false;             // the surfaces to write are the plane triangles of a mesh
    // Ready when the writer's libraries are loaded; until then another thread is at that.
    std::shared_future<void> writerLoaded = {};

    // How many processors the conversion may keep busy: one when others run beside it.
    unsigned Processors() const {
        return request.parallel ? 1 : std::max(std::thread::hardware_concurrency(), 1u);
    }
    // Tells how many millimetres the input's unit is, where it says so.
    void TellUnit(double millimetres) const {
        char text[32];
        std::snprintf(text, sizeof text, "%.9g", millimetres);
        journal.Measure("read", "unit", text);
    }
    // Whether the annotations of a STEP file are to be read and kept.
    bool KeepsAnnotations() const {
        return settings.annotations || settings.readStepAnnotations || settings.stepVersion == 242;
    }
};

using FormatFunction = Outcome(JobContext& context);

inline Outcome Damaged(const std::string& why) {
    return Outcome::Fail(ZEL_CORRUPTED, why);
}
// What a writer answers that knows no more than whether it succeeded.
inline Outcome Written(bool done) {
    return done ? Outcome::Ok() : Outcome::Fail(ZEL_CANNOT_WRITE, "The output could not be written");
}

}  // namespace morvex
