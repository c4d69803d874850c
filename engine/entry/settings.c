/* Which settings of the conversion configuration file have an effect here. */
#include <windows.h>

static const struct {
    const char *section, *key;
} kSettings[] = {
#include "setting_names.inc"
};

static int Same(const WCHAR* wide, const char* text) {
    while (*text != '\0' && *wide == (WCHAR)(unsigned char)*text) {
        ++wide;
        ++text;
    }
    return *wide == 0 && *text == '\0';
}

/* 1 when the key of that section has an effect, else 0. */
int __cdecl _zelUsesSetting(const WCHAR* section, const WCHAR* key) {
    size_t i;
    for (i = 0; i < sizeof kSettings / sizeof kSettings[0]; ++i) {
        if (Same(section, kSettings[i].section) && Same(key, kSettings[i].key)) return 1;
    }
    return 0;
}
