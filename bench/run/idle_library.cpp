// A conversion library that takes MORVEX_BENCH_SLEEP milliseconds and converts nothing.
#include <windows.h>

#include <cstdlib>

extern "C" __declspec(dllexport) int _zelConvert(int, int, const wchar_t*, const wchar_t*, const wchar_t*,
                                                 const wchar_t*, void (*)(const int*, const int*), int, void*,
                                                 int, int, int, int) {
    char text[16] = "0";
    GetEnvironmentVariableA("MORVEX_BENCH_SLEEP", text, sizeof text);
    if (const int milliseconds = std::atoi(text)) Sleep(static_cast<DWORD>(milliseconds));
    return 0;
}
