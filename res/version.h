// The version, for the code and for the resource compiler.
#pragma once

#define MORVEX_VERSION "24.4"
#define MORVEX_VERSION_NUMBERS 24, 4, 0, 0
