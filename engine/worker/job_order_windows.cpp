#include "engine/worker/job_order_windows.h"

#include <stdexcept>

#include "engine/common/formats.h"
#include "engine/common/paths.h"

namespace morvex {
namespace {

constexpr char kInput[] = "input", kOutput[] = "output", kConfig[] = "config", kTarget[] = "target",
               kFrom[] = "from", kTo[] = "to", kPicture[] = "picture", kParallel[] = "parallel",
               kTrace[] = "trace", kSet[] = "set";

const Format* NamedFormat(std::string_view name) {
    const Format* const format = FindFormatByName(name);
    if (format == nullptr) throw std::runtime_error("The order names no known format");
    return format;
}

void TakeField(ReceivedOrder& order, std::string_view key, std::string_view value) {
    Request& request = order.request;
    if (key == kInput) request.input = PathFromUtf8(value);
    if (key == kOutput) request.output = PathFromUtf8(value);
    if (key == kConfig) request.config = PathFromUtf8(value);
    if (key == kPicture) request.picture = PathFromUtf8(value);
    if (key == kTarget) order.target = PathFromUtf8(value);
    if (key == kFrom) request.from = NamedFormat(value);
    if (key == kTo) request.to = NamedFormat(value);
    if (key == kParallel) request.parallel = true;
    if (key == kTrace) request.trace = true;
    if (key == kSet) request.settings.emplace_back(value);
}

}  // namespace

std::string EncodeOrder(const Request& request, const std::filesystem::path& target) {
    std::string text;
    const auto add = [&text](const char* key, const std::string& value) {
        text.append(key).append("=").append(value).push_back('\0');
    };
    add(kInput, Utf8(request.input));
    add(kOutput, Utf8(request.output));
    add(kConfig, Utf8(request.config));
    add(kPicture, Utf8(request.picture));
    add(kTarget, Utf8(target));
    add(kFrom, request.from->name);
    add(kTo, request.to->name);
    if (request.parallel) add(kParallel, {});
    if (request.trace) add(kTrace, {});
    for (const std::string& setting : request.settings) add(kSet, setting);
    return text;
}

ReceivedOrder DecodeOrder(std::string_view text) {
    ReceivedOrder order;
    while (!text.empty()) {
        const std::string_view field = text.substr(0, text.find('\0'));
        const std::size_t equals = field.find('=');
        if (equals != field.npos) TakeField(order, field.substr(0, equals), field.substr(equals + 1));
        text.remove_prefix(std::min(field.size() + 1, text.size()));
    }
    if (order.request.from == nullptr || order.request.to == nullptr)
        throw std::runtime_error("The order is not complete");
    return order;
}

}  // namespace morvex
