// The entry point. A start of this program may also be the job process of another one.
#include <filesystem>

#include "engine/common/paths.h"
#include "engine/worker/be_the_job_windows.h"
#include "engine/worker/worker.h"

int wmain(int count, wchar_t** arguments) {
    std::vector<std::string> texts;
    for (int at = 1; at < count; ++at) texts.push_back(morvex::Utf8(arguments[at]));
    if (texts == std::vector<std::string>{morvex::kJobOption}) morvex::BeTheJob();
    return morvex::RunWorker(texts);
}
