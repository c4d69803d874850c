// Checked access to parsed JSON. What is missing has a default, what is of another type throws ReadError.
#pragma once

#include <cstdint>
#include <optional>
#include <rapidjson/document.h>
#include <string>
#include <vector>

namespace morvex {

using Json = rapidjson::Value;

// The member of that name; null when there is none or `object` is no object.
const Json* Member(const Json& object, const char* key);

// A whole number that is not negative: an index, a size, an offset.
std::optional<std::uint64_t> Whole(const Json& object, const char* key);
double Number(const Json& object, const char* key, double otherwise);
std::string Text(const Json& object, const char* key);
bool Flag(const Json& object, const char* key);

// Exactly as many finite numbers as `values` has; false when there is no such member, and `values` untouched.
bool Numbers(const Json& object, const char* key, std::vector<double>& values);
// The indices in an array; empty when there is none.
std::vector<std::uint64_t> Wholes(const Json& object, const char* key);

}  // namespace morvex
