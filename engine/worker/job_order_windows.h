// What a job process that is this program started again is told about its work.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "engine/common/request.h"

namespace morvex {

struct ReceivedOrder {
    Request request;
    std::filesystem::path target;
};

// Texts "key=value" in UTF-8, each with its NUL.
std::string EncodeOrder(const Request& request, const std::filesystem::path& target);

// The order that the text holds; throws std::runtime_error when it names a format that there is not.
ReceivedOrder DecodeOrder(std::string_view text);

}  // namespace morvex
