#include "engine/modules/gltf_reader/json.h"

#include <cmath>

#include "engine/modules/core/read_error.h"

namespace morvex {
namespace {

[[noreturn]] void Wrong(const char* key) {
    throw ReadError(std::string("The value of \"") + key + "\" makes no sense");
}

std::uint64_t AsWhole(const Json& value, const char* key) {
    constexpr double kLargest = 9e15;  // what a double holds exactly
    if (value.IsUint64()) return value.GetUint64();
    if (!value.IsNumber()) Wrong(key);
    const double number = value.GetDouble();
    if (!(number >= 0 && number <= kLargest) || number != std::floor(number)) Wrong(key);
    return static_cast<std::uint64_t>(number);
}

double AsNumber(const Json& value, const char* key) {
    if (!value.IsNumber() || !std::isfinite(value.GetDouble())) Wrong(key);
    return value.GetDouble();
}

}  // namespace

const Json* Member(const Json& object, const char* key) {
    if (!object.IsObject()) return nullptr;
    const auto found = object.FindMember(key);
    return found == object.MemberEnd() ? nullptr : &found->value;
}

std::optional<std::uint64_t> Whole(const Json& object, const char* key) {
    const Json* const value = Member(object, key);
    if (value == nullptr) return std::nullopt;
    return AsWhole(*value, key);
}

double Number(const Json& object, const char* key, double otherwise) {
    const Json* const value = Member(object, key);
    return value == nullptr ? otherwise : AsNumber(*value, key);
}

std::string Text(const Json& object, const char* key) {
    const Json* const value = Member(object, key);
    if (value == nullptr) return {};
    if (!value->IsString()) Wrong(key);
    return {value->GetString(), value->GetStringLength()};
}

bool Flag(const Json& object, const char* key) {
    const Json* const value = Member(object, key);
    return value != nullptr && value->IsTrue();
}

bool Numbers(const Json& object, const char* key, std::vector<double>& values) {
    const Json* const array = Member(object, key);
    if (array == nullptr) return false;
    if (!array->IsArray() || array->Size() != values.size()) Wrong(key);
    for (rapidjson::SizeType at = 0; at < array->Size(); ++at) values[at] = AsNumber((*array)[at], key);
    return true;
}

std::vector<std::uint64_t> Wholes(const Json& object, const char* key) {
    std::vector<std::uint64_t> values;
    const Json* const array = Member(object, key);
    if (array == nullptr) return values;
    if (!array->IsArray()) Wrong(key);
    for (const Json& value : array->GetArray()) values.push_back(AsWhole(value, key));
    return values;
}

}  // namespace morvex
