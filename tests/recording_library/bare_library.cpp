// A library that loads but cannot convert: without any entry point, or with the one that nobody calls.
#ifdef WITH_EXECUTE
extern "C" __declspec(dllexport) int _zel_Execute() {
    return 0;
}
#endif
