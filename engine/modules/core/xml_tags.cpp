#include "engine/modules/core/xml_tags.h"

#include <algorithm>
#include <charconv>

#include "engine/common/text.h"
#include "engine/modules/core/read_error.h"

namespace morvex {
namespace {

using std::string_view;

void CutOff() {
    throw ReadError("The end of the file is missing");
}

}  // namespace

string_view XmlTag::Value(string_view attribute) const {
    const auto found = std::ranges::find(attributes, attribute, &std::pair<string_view, string_view>::first);
    return found == attributes.end() ? string_view() : found->second;
}

std::optional<XmlTag> XmlTags::Take() {
    for (;;) {
        const auto start = rest_.find('<');
        if (start == string_view::npos) return std::nullopt;
        rest_.remove_prefix(start);
        if (rest_.starts_with("<!--")) {
            SkipBehind("-->");
        } else if (rest_.starts_with("<![CDATA[")) {
            SkipBehind("]]>");
        } else if (rest_.starts_with("<?")) {
            SkipBehind("?>");
        } else if (rest_.starts_with("<!")) {
            SkipDeclaration();
        } else {
            return TakeTag();
        }
    }
}

void XmlTags::SkipBehind(string_view end) {
    const auto found = rest_.find(end);
    if (found == string_view::npos) CutOff();
    rest_.remove_prefix(found + end.size());
}

// With what stands in brackets.
void XmlTags::SkipDeclaration() {
    const auto end = rest_.find_first_of("[>");
    if (end != string_view::npos && rest_[end] == '[') SkipBehind("]");
    SkipBehind(">");
}

void XmlTags::SkipBlanks() {
    rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t\r\n"), rest_.size()));
    if (rest_.empty()) CutOff();
}

XmlTag XmlTags::TakeTag() {
    XmlTag tag;
    rest_.remove_prefix(1);
    tag.ends = rest_.starts_with('/');
    if (tag.ends) rest_.remove_prefix(1);
    tag.name = TakeName();
    for (;;) {
        SkipBlanks();
        if (rest_.starts_with("/>")) {
            tag.empty = true;
            rest_.remove_prefix(2);
            return tag;
        }
        if (rest_.starts_with('>')) {
            rest_.remove_prefix(1);
            return tag;
        }
        const string_view attribute = TakeName();
        SkipBlanks();
        if (!rest_.starts_with('=')) throw ReadError("An attribute of the file has no value");
        rest_.remove_prefix(1);
        SkipBlanks();
        tag.attributes.emplace_back(attribute, TakeQuoted());
    }
}

string_view XmlTags::TakeName() {
    const string_view name = rest_.substr(0, rest_.find_first_of(" \t\r\n=/><\"'"));
    if (name.empty()) throw ReadError("A tag of the file makes no sense");
    rest_.remove_prefix(name.size());
    return name;
}

string_view XmlTags::TakeQuoted() {
    if (!rest_.starts_with('"') && !rest_.starts_with('\''))
        throw ReadError("An attribute of the file has no value");
    const char quote = rest_.front();
    rest_.remove_prefix(1);
    const auto end = rest_.find(quote);
    if (end == string_view::npos) CutOff();
    const string_view value = rest_.substr(0, end);
    rest_.remove_prefix(end + 1);
    return value;
}

std::string XmlUnescaped(string_view text) {
    static constexpr std::pair<string_view, char> kEntities[] = {
        {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}, {"amp", '&'}};
    std::string plain;
    while (!text.empty()) {
        const auto end = text.front() == '&' ? text.find(';') : string_view::npos;
        if (end == string_view::npos) {
            plain += text.front();
            text.remove_prefix(1);
            continue;
        }
        string_view name = text.substr(1, end - 1);
        text.remove_prefix(end + 1);
        const auto known = std::ranges::find(kEntities, name, &std::pair<string_view, char>::first);
        if (known != std::end(kEntities)) {
            plain += known->second;
        } else if (name.starts_with('#')) {
            const bool hex = name.starts_with("#x");
            name.remove_prefix(hex ? 2 : 1);
            std::uint32_t character = 0xfffd;
            std::from_chars(name.data(), name.data() + name.size(), character, hex ? 16 : 10);
            AppendUtf8(plain, character < 0x110000 ? character : 0xfffd);
        }
    }
    return plain;
}

}  // namespace morvex
