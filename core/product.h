#pragma once

#include "res/version.h"

// What the product is called, where texts and captions say so; res/version_info.rc says it to the system.
namespace morvex::product {

#define MORVEX_PRODUCT L"Morvex 2024"

inline constexpr wchar_t kMessageCaption[] = MORVEX_PRODUCT;                   // of message boxes
inline constexpr wchar_t kDeveloperCaption[] = MORVEX_PRODUCT L" (Dev Mode)";  // in developer mode
inline constexpr wchar_t kTitle[] = MORVEX_PRODUCT L" 64-bit        (";        // then the version and ")"
inline constexpr wchar_t kDeveloperTitle[] = MORVEX_PRODUCT L" 64-bit DEV MODE       (";
inline constexpr wchar_t kEdition[] = MORVEX_PRODUCT L" Advanced 64-bit V2024.4  (2024.09.30)";
inline constexpr wchar_t kVersion[] = L"" MORVEX_VERSION;

#undef MORVEX_PRODUCT

}  // namespace morvex::product
