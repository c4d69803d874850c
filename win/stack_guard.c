/* What the compiler's -fstack-protector and checked copies call: the guard value, and the end of a process
 * whose memory is damaged. */
#include <windows.h>

#include <cpuid.h>
#include <immintrin.h>
#include <stdint.h>

uintptr_t __stack_chk_guard;

/* The processor's random number, or 0 where it has none. */
__attribute__((target("rdrnd"), no_stack_protector)) static uintptr_t ProcessorRandom(void) {
    unsigned leaf, unused, features, other;
    unsigned long long number = 0;
    const int present = __get_cpuid(1, &leaf, &unused, &features, &other) && (features & bit_RDRND);
    return present && _rdrand64_step(&number) ? number : 0;
}

/* Before the constructors of any other file. Different in every process also where the processor draws no
 * numbers: the time, the counter and the address of this frame. The lowest byte is zero, so that no text that
 * runs over can bring it along. */
__attribute__((constructor(101), no_stack_protector)) static void DrawGuard(void) {
    LARGE_INTEGER counter;
    FILETIME time;
    QueryPerformanceCounter(&counter);
    GetSystemTimeAsFileTime(&time);
    const uintptr_t drawn = ((uintptr_t)time.dwHighDateTime << 32 | time.dwLowDateTime) ^
                            (uintptr_t)counter.QuadPart << 20 ^ (uintptr_t)&counter << 28 ^
                            GetCurrentProcessId();
    __stack_chk_guard = (drawn ^ ProcessorRandom()) & ~(uintptr_t)0xff;
}

/* Ends the process at once with the system's code for a damaged stack (0xC0000409): no handler runs on it. */
__attribute__((noreturn)) void __stack_chk_fail(void) {
    const unsigned damagedStack = 2;
    __asm__ volatile("int $0x29" : : "c"(damagedStack));
    __builtin_unreachable();
}

__attribute__((noreturn)) void __chk_fail(void) {
    __stack_chk_fail();
}
