#include <exception>
#include <new>

#include "engine/common/job.h"
#include "engine/worker/job_process.h"
#include "engine/worker/modules.h"

namespace morvex {

Outcome RunConversion(const JobOrder& order, Journal& journal) {
    try {
        const auto run = reinterpret_cast<RunJobFunction*>(FindFunction("core", "RunJob"));
        return run({order.request, order.settings, order.target, journal, FindFunction});
    } catch (const std::bad_alloc&) {
        return OutOfMemory();
    } catch (const std::exception& error) {
        return Outcome::Fail(ZEL_FAILED, error.what());
    } catch (...) {
        return Outcome::Fail(ZEL_FAILED, "The conversion failed for an unknown reason");
    }
}

}  // namespace morvex
