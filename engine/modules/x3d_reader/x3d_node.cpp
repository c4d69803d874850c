#include "engine/modules/x3d_reader/x3d_node.h"

#include <algorithm>

#include "engine/modules/core/read_error.h"
#include "engine/modules/core/text_lines.h"

namespace morvex {

bool X3dNode::Is(std::initializer_list<std::string_view> types) const {
    return std::ranges::find(types, type) != types.end();
}

const X3dNode* X3dNode::Find(std::initializer_list<std::string_view> types) const {
    const auto found =
        std::ranges::find_if(children, [&](const Child& child) { return child.node->Is(types); });
    return found == children.end() ? nullptr : found->node.get();
}

std::vector<double> X3dNode::Numbers(std::string_view field, std::size_t group,
                                     std::initializer_list<double> missing) const {
    const auto found = values.find(field);
    if (found == values.end()) return missing;
    std::vector<double> numbers;
    std::string_view rest = found->second;
    constexpr std::string_view kBetween = " \t\r\n,[]";
    for (;;) {
        rest.remove_prefix(std::min(rest.find_first_not_of(kBetween), rest.size()));
        if (rest.empty()) break;
        const std::string_view word = rest.substr(0, rest.find_first_of(" \t\r\n,[]#"));
        if (word.empty()) {  // a comment
            rest.remove_prefix(std::min(rest.find_first_of("\r\n"), rest.size()));
            continue;
        }
        const auto number = NumberIn(word);
        if (!number) throw ReadError("A value of the field " + std::string(field) + " is no number");
        numbers.push_back(*number);
        rest.remove_prefix(word.size());
    }
    if (numbers.size() % group != 0) throw ReadError("The field " + std::string(field) + " is incomplete");
    if (numbers.empty() && missing.size() > 0)
        throw ReadError("The field " + std::string(field) + " is empty");
    return numbers;
}

double X3dNode::Number(std::string_view field, double missing) const {
    return Numbers(field, 1, {missing}).front();
}

bool X3dNode::Flag(std::string_view field, bool missing) const {
    const auto found = values.find(field);
    return found == values.end() ? missing : found->second == "TRUE" || found->second == "true";
}

}  // namespace morvex
