#include <windows.h>

#include <exception>

#include "app/console.h"
#include "app/morvex_app.h"
#include "win/command_line.h"
#include "win/harden_process.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
    morvex::HardenProcess();
    try {
        if (const auto answer = morvex::AnswerTo(morvex::SplitCommandLine(GetCommandLineW()))) {
            morvex::Print(STD_OUTPUT_HANDLE, *answer);
            return 0;
        }
        morvex::CmorvexApp().InitInstance();
        return 0;
    } catch (const std::exception& failure) {
        morvex::CmorvexApp::ReportFailure(failure.what());
        return 1;
    }
}
