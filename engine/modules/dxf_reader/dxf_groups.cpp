#include "engine/modules/dxf_reader/dxf_groups.h"

#include <charconv>
#include <string>

#include "engine/modules/core/read_error.h"
#include "engine/modules/core/text_lines.h"

namespace morvex {

double DxfGroup::Number() const {
    const auto number = NumberIn(value);
    if (!number) throw ReadError("\"" + std::string(value.substr(0, 40)) + "\" is no number");
    return *number;
}

std::int64_t DxfGroup::Whole() const {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
    // Some write "1.0".
    if (error != std::errc() || end != value.data() + value.size())
        return static_cast<std::int64_t>(Number());
    return number;
}

std::string_view DxfRecord::Text(int code) const {
    for (const DxfGroup& group : groups)
        if (group.code == code) return group.value;
    return {};
}

bool DxfRecord::Has(int code) const {
    for (const DxfGroup& group : groups)
        if (group.code == code) return true;
    return false;
}

double DxfRecord::Number(int code, double otherwise) const {
    for (const DxfGroup& group : groups)
        if (group.code == code) return group.Number();
    return otherwise;
}

std::int64_t DxfRecord::Whole(int code, std::int64_t otherwise) const {
    for (const DxfGroup& group : groups)
        if (group.code == code) return group.Whole();
    return otherwise;
}

gp_XYZ DxfRecord::Point(int code, const gp_XYZ& otherwise) const {
    return {Number(code, otherwise.X()), Number(code + 10, otherwise.Y()), Number(code + 20, otherwise.Z())};
}

void DxfText::TakeGroup() {
    const auto code = TakeLine(rest_), value = TakeLine(rest_);
    line_ += 2;
    atEnd_ = !code || (!value && Trimmed(*code).empty());
    if (atEnd_) return;
    const std::string_view digits = Trimmed(*code);
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), ahead_.code);
    if (error != std::errc() || end != digits.data() + digits.size()) {
        throw ReadError("Line " + std::to_string(line_ - 1) + " of the file is no group code");
    }
    ahead_.value = value ? Trimmed(*value) : std::string_view();
}

bool DxfText::Next(DxfRecord& record) {
    record.groups.clear();
    while (!atEnd_ && ahead_.code != 0) TakeGroup();  // comments before the first
    if (atEnd_) return false;
    record.type = ahead_.value;
    for (TakeGroup(); !atEnd_ && ahead_.code != 0; TakeGroup()) record.groups.push_back(ahead_);
    return true;
}

}  // namespace morvex
