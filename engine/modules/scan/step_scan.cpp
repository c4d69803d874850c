#include "engine/modules/scan/step_scan.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

namespace morvex {
namespace {

constexpr std::string_view kBlanks(" \t\r\n\0", 5);

bool IsBlank(char c) {
    return kBlanks.find(c) != std::string_view::npos;
}
bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}
bool IsWord(char c) {
    return IsDigit(c) || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == '-' || c == '!';
}

// Without blanks and comments before it, and without blanks behind it.
std::string_view Trim(std::string_view text) {
    for (;;) {
        text.remove_prefix(std::min(text.size(), text.find_first_not_of(kBlanks)));
        if (!text.starts_with("/*")) break;
        const auto end = text.find("*/", 2);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 2);
    }
    return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

std::size_t WordLength(std::string_view text) {
    return static_cast<std::size_t>(std::ranges::find_if_not(text, IsWord) - text.begin());
}

// Whether an instance begins here: "#12 =".
bool StartsInstance(std::string_view text) {
    if (!text.starts_with('#')) return false;
    const auto digits = text.find_first_not_of("0123456789", 1);
    if (digits == std::string_view::npos || digits == 1) return false;
    const auto sign = text.find_first_not_of(" \t", digits);
    return sign != std::string_view::npos && text[sign] == '=';
}

// Behind the text literal that begins at `at`. One that swallows the start of an instance at a new line was
// never closed; it ends there.
std::size_t BehindLiteral(std::string_view text, std::size_t at) {
    for (++at; at < text.size(); ++at) {
        if (text[at] == '\'') return at + 1;
        if (text[at] == '\n' && StartsInstance(text.substr(at + 1))) return at + 1;
    }
    return at;
}

std::size_t BehindComment(std::string_view text, std::size_t at) {
    const auto end = text.find("*/", at + 2);
    return end == std::string_view::npos ? text.size() : end + 2;
}

// The bracket that closes the one at `open`; npos when there is none.
std::size_t ClosingBracket(std::string_view text, std::size_t open) {
    int depth = 0;
    for (std::size_t at = open; at < text.size();) {
        const char c = text[at];
        if (c == '\'') {
            at = BehindLiteral(text, at);
            continue;
        }
        if (c == '/' && text.substr(at).starts_with("/*")) {
            at = BehindComment(text, at);
            continue;
        }
        if (c == '(') ++depth;
        if (c == ')' && --depth == 0) return at;
        ++at;
    }
    return std::string_view::npos;
}

// Where the statement that begins at `at` ends: at its semicolon, or where the next instance begins.
std::size_t StatementEnd(std::string_view text, const std::size_t begin) {
    static constexpr auto kSpecial = [] {
        std::array<bool, 256> special{};
        for (const char c : {';', '\'', '/', '='}) special[static_cast<unsigned char>(c)] = true;
        return special;
    }();
    bool sign = false;
    std::size_t at = begin;
    while (at < text.size()) {
        const char c = text[at];
        if (!kSpecial[static_cast<unsigned char>(c)]) {
            ++at;
        } else if (c == ';') {
            return at;
        } else if (c == '\'') {
            at = BehindLiteral(text, at);
        } else if (c == '/') {
            at = text.substr(at).starts_with("/*") ? BehindComment(text, at) : at + 1;
        } else {
            const std::size_t next = text.rfind('#', at);
            if (sign && next != std::string_view::npos && next > begin && StartsInstance(text.substr(next)))
                return next;
            sign = true;
            ++at;
        }
    }
    return at;
}

}  // namespace

bool StepInstance::Is(std::string_view name) const {
    return type == name || (type.empty() && !ValuesOf(name).empty());
}

std::string_view StepInstance::ValuesOf(std::string_view name) const {
    if (!type.empty()) return type == name ? values : std::string_view();
    std::string_view rest = values;
    for (;;) {
        rest = Trim(rest);
        const std::size_t length = WordLength(rest);
        const std::size_t open = rest.find('(');
        if (length == 0 || open == std::string_view::npos) return {};
        const std::size_t close = ClosingBracket(rest, open);
        if (close == std::string_view::npos) return {};
        // An empty list is told from no list by its place.
        if (rest.substr(0, length) == name)
            return rest.substr(open + 1, std::max<std::size_t>(close - open - 1, 1));
        rest.remove_prefix(close + 1);
    }
}

StepScan::StepScan(std::string_view text) : text_(text) {
    constexpr std::string_view kStart = "ISO-10303-21";
    begin_ = std::min(text.find(kStart), text.size());
    for (std::size_t at = begin_; at < text.size() && !hasEnd_;) {
        const std::size_t end = StatementEnd(text, at);
        TakeStatement(at, end);
        at = end + (end < text.size() && text[end] == ';' ? 1 : 0);
    }
    if (section_ == Section::Data && !hasEnd_) data_.back().end = text.size();
}

const StepInstance* StepScan::Find(std::uint64_t id) const {
    const auto place = places_.find(id);
    return place == places_.end() ? nullptr : &instances_[place->second];
}

void StepScan::TakeStatement(std::size_t start, std::size_t end) {
    const std::string_view statement = Trim(text_.substr(start, end - start));
    if (statement.starts_with('#') && (section_ == Section::Data || section_ == Section::None)) {
        const bool closed = end < text_.size() && text_[end] == ';';
        const bool whole = TakeInstance(statement);
        broken_ += !whole || !closed;
        if (!whole) {
            unreadable_.push_back({static_cast<std::size_t>(statement.data() - text_.data()), end + closed});
        } else if (!closed) {
            unclosed_.push_back(end);
        }
    } else if (!statement.empty()) {
        TakeWord(start, end);
    }
}

bool StepScan::TakeInstance(std::string_view statement) {
    StepInstance instance;
    const char* const last = statement.data() + statement.size();
    const auto [stop, error] = std::from_chars(statement.data() + 1, last, instance.id);
    std::string_view rest = Trim(statement.substr(static_cast<std::size_t>(stop - statement.data())));
    if (error != std::errc{} || !rest.starts_with('=')) {
        return false;
    }
    rest = Trim(rest.substr(1));
    if (const std::size_t scope = rest.find("ENDSCOPE");
        rest.starts_with("&") && scope != std::string_view::npos)
        rest = Trim(rest.substr(scope + 8));
    instance.type = rest.substr(0, WordLength(rest));
    rest = Trim(rest.substr(instance.type.size()));
    const bool whole = rest.size() >= 2 && rest.front() == '(' && ClosingBracket(rest, 0) == rest.size() - 1;
    if (rest.starts_with('(')) rest.remove_prefix(1);
    if (rest.ends_with(')')) rest.remove_suffix(1);
    instance.values = rest;
    const auto [place, isNew] = places_.try_emplace(instance.id, instances_.size());
    if (!isNew) {
        const StepInstance& first = instances_[place->second];
        if (first.type == instance.type && first.values == instance.values) return whole;
        ++broken_;
    }
    instances_.push_back(instance);
    return whole;
}

void StepScan::TakeWord(std::size_t start, std::size_t end) {
    const std::size_t behind = end + (end < text_.size() && text_[end] == ';' ? 1 : 0);
    const std::string_view statement = Trim(text_.substr(start, end - start));
    const std::string_view word = statement.substr(0, WordLength(statement));
    if (word.starts_with("END-ISO")) {
        if (section_ == Section::Data) data_.back().end = start;
        hasEnd_ = true;
    } else if (word == "ENDSEC") {
        if (section_ == Section::Header) headEnd_ = behind;
        if (section_ == Section::Data) data_.back().end = start;
        section_ = Section::Other;
    } else if (word == "HEADER") {
        section_ = Section::Header;
    } else if (word == "DATA") {
        section_ = Section::Data;
        data_.push_back({behind, behind});
    } else if (section_ == Section::Data) {
        ++broken_;
    }
}

void StepScan::Simplify(char* text) const {
    const auto blank = [text](std::size_t start, std::size_t end) {
        for (std::size_t at = start; at < end; ++at) {
            if (text[at] != '\n') text[at] = ' ';
        }
    };
    blank(0, begin_);
    // What cannot be read becomes a comment, so that views into it stay as they are.
    for (const Span& span : unreadable_) {
        if (span.end - span.start < 4) continue;
        std::memcpy(text + span.start, "/*", 2);
        std::memcpy(text + span.end - 2, "*/", 2);
    }
    for (const std::size_t end : unclosed_) {
        if (IsBlank(text[end - 1])) text[end - 1] = ';';
    }
    if (data_.empty() || headEnd_ == 0) return;
    constexpr std::string_view kData = "DATA;";
    blank(headEnd_, data_.front().start);
    std::memcpy(text + data_.front().start - kData.size(), kData.data(), kData.size());
    for (std::size_t at = 1; at < data_.size(); ++at) blank(data_[at - 1].end, data_[at].start);
}

std::vector<std::string_view> StepValues(std::string_view list) {
    std::vector<std::string_view> values;
    int depth = 0;
    std::size_t start = 0;
    for (std::size_t at = 0; at < list.size();) {
        const char c = list[at];
        if (c == '\'') {
            at = BehindLiteral(list, at);
            continue;
        }
        if (c == '/' && list.substr(at).starts_with("/*")) {
            at = BehindComment(list, at);
            continue;
        }
        if (c == '(') ++depth;
        if (c == ')') --depth;
        if (c == ',' && depth == 0) {
            values.push_back(Trim(list.substr(start, at - start)));
            start = at + 1;
        }
        ++at;
    }
    const std::string_view last = Trim(list.substr(std::min(start, list.size())));
    if (!values.empty() || !last.empty()) values.push_back(last);
    return values;
}

std::string_view StepList(std::string_view value) {
    if (value.size() < 2 || value.front() != '(' || value.back() != ')') return value;
    return value.substr(1, value.size() - 2);
}

std::uint64_t StepReference(std::string_view value) {
    std::uint64_t id = 0;
    if (value.starts_with('#')) std::from_chars(value.data() + 1, value.data() + value.size(), id);
    return id;
}

std::vector<std::uint64_t> StepReferences(std::string_view values) {
    std::vector<std::uint64_t> references;
    for (std::size_t at = 0; at < values.size();) {
        if (values[at] == '\'') {
            at = BehindLiteral(values, at);
            continue;
        }
        if (values[at] == '#') {
            if (const auto id = StepReference(values.substr(at)); id != 0) references.push_back(id);
        }
        ++at;
    }
    return references;
}

std::string StepString(std::string_view value) {
    std::string text;
    if (value.size() < 2 || value.front() != '\'') return text;
    for (std::size_t at = 1; at + 1 < value.size(); ++at) {
        if (value[at] == '\'' && value[at + 1] == '\'') ++at;
        text += value[at];
    }
    return text;
}

std::vector<double> StepNumbers(std::string_view values) {
    std::vector<double> numbers;
    const char* at = values.data();
    const char* const end = at + values.size();
    while (at < end) {
        if (*at == '(' || *at == ')' || *at == ',' || *at == '+' || IsBlank(*at)) {
            ++at;
            continue;
        }
        double number = 0;
        const auto [stop, error] = std::from_chars(at, end, number);
        if (error != std::errc{}) break;
        numbers.push_back(number);
        at = stop;
    }
    return numbers;
}

}  // namespace morvex
