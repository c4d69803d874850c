#include <netdb.h>
#include <netinet/in.h>

// In place of the system's, for Open CASCADE: it puts the machine's address into files of AP203, and falls
// over where the machine's name has none. Every name has the address 0.0.0.0, so that nothing waits for a
// name server and no file tells where it was made.
extern "C" __attribute__((visibility("default"))) hostent* gethostbyname(const char* name) {
    static in_addr address{};
    static char* addresses[] = {reinterpret_cast<char*>(&address), nullptr};
    static char* none[] = {nullptr};
    static hostent host{nullptr, none, AF_INET, sizeof address, addresses};
    host.h_name = const_cast<char*>(name);
    return &host;
}
