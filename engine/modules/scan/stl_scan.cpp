#include "engine/modules/scan/stl_scan.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <stdexcept>

namespace morvex {
namespace {

constexpr std::size_t kHeader = 84, kFacet = 50, kNormal = 12;

bool IsFinite(const StlPoint& point) {
    return std::ranges::all_of(point, [](double x) { return std::isfinite(x); });
}

std::uint64_t AnnouncedFacets(std::string_view bytes) {
    std::uint32_t count = 0;
    if (bytes.size() >= kHeader) std::memcpy(&count, bytes.data() + kHeader - sizeof count, sizeof count);
    return count;
}

bool IsBinary(std::string_view bytes) {
    const std::uint64_t needed = kHeader + kFacet * AnnouncedFacets(bytes);
    if (bytes.size() >= kHeader && needed <= bytes.size() && bytes.size() < needed + kFacet) return true;
    const std::string_view head = bytes.substr(0, 1024);
    return std::ranges::any_of(head, [](char c) { return c >= 0 && c < '\t'; });
}

void ScanBinary(std::string_view bytes, StlSink& sink, StlFacts& facts) {
    facts.solids = 1;
    facts.facets = static_cast<std::int64_t>(AnnouncedFacets(bytes));
    sink.BeginSolid({});
    std::int64_t good = 0, blank = 0;  // blank: what a gap in the file leaves, one byte all over
    for (std::int64_t at = 0; at < facts.facets; ++at) {
        const std::size_t start = kHeader + kFacet * static_cast<std::size_t>(at);
        if (start + kFacet > bytes.size()) break;
        const std::string_view facet = bytes.substr(start, kFacet);
        if (facet.find_first_not_of(facet.front()) == facet.npos) {
            ++blank;
            continue;
        }
        std::array<float, 9> numbers;
        std::memcpy(numbers.data(), bytes.data() + start + kNormal, sizeof numbers);
        std::array<StlPoint, 3> corners;
        for (std::size_t number = 0; number < 9; ++number)
            corners[number / 3][number % 3] = static_cast<double>(numbers[number]);
        if (!std::ranges::all_of(corners, IsFinite)) continue;
        sink.AddFacet(corners[0], corners[1], corners[2]);
        ++good;
    }
    facts.bad = facts.facets - good;
    if (facts.bad > 0) facts.fault = blank > 0 ? "facets with contents" : "coordinates that are numbers";
}

struct Fault : std::runtime_error {
    using runtime_error::runtime_error;
};

class TextScan {
  public:
    TextScan(std::string_view text, StlSink& sink, StlFacts& facts)
        : text_(text), sink_(sink), facts_(facts) {}

    void Run() {
        while (Peek()) {
            try {
                TakeNext();
            } catch (const Fault& fault) {
                if (facts_.fault.empty()) facts_.fault = fault.what();
                SkipToKeyword();
            }
        }
        if (inSolid_ && facts_.fault.empty()) facts_.fault = Missing("endsolid");
    }

  private:
    // Makes `token_` the next word; false at the end of the text.
    bool Peek() {
        if (!token_.empty()) return true;
        while (at_ < text_.size() && IsBlank(text_[at_])) line_ += text_[at_++] == '\n';
        const std::size_t start = at_;
        while (at_ < text_.size() && !IsBlank(text_[at_])) ++at_;
        token_ = text_.substr(start, at_ - start);
        return !token_.empty();
    }
    static bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

    bool Is(std::string_view word) {
        return Peek() && std::ranges::equal(token_, word, {}, [](char c) {
                   return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
               });
    }
    void Take(std::string_view word) {
        if (!Is(word)) throw Fault(Missing(word));
        token_ = {};
    }
    std::string Missing(std::string_view what) const {
        return std::string(what) + " in line " + std::to_string(line_);
    }
    double TakeNumber() {
        double number = 0;
        if (Peek()) {
            const std::string_view digits = token_.substr(token_.starts_with('+') ? 1 : 0);
            const char* const end = digits.data() + digits.size();
            const auto [stop, error] = std::from_chars(digits.data(), end, number);
            if (error == std::errc{} && stop == end && std::isfinite(number)) return token_ = {}, number;
        }
        throw Fault(Missing("a number"));
    }
    StlPoint TakePoint() {
        const double x = TakeNumber(), y = TakeNumber();
        return {x, y, TakeNumber()};
    }
    std::string_view TakeLine() {
        const std::size_t end = std::min(text_.find_first_of("\r\n", at_), text_.size());
        std::string_view line = text_.substr(at_, end - at_);
        at_ = end;
        line.remove_prefix(std::min(line.size(), line.find_first_not_of(" \t")));
        return line.substr(0, line.find_last_not_of(" \t") + 1);
    }

    void TakeNext() {
        if (Is("facet")) {
            TakeFacet();
        } else if (Is("solid")) {
            Take("solid");
            if (inSolid_ && facts_.fault.empty()) facts_.fault = Missing("endsolid");
            sink_.BeginSolid(TakeLine());
            inSolid_ = true;
            ++facts_.solids;
        } else {
            Take("endsolid");
            TakeLine();
            inSolid_ = false;
        }
    }

    // A facet with more than three corners is taken for a convex one.
    void TakeFacet() {
        ++facts_.facets;
        ++facts_.bad;
        Take("facet");
        Take("normal");
        for (int number = 0; number < 3; ++number) {
            if (Peek()) token_ = {};  // it follows from the corners, and some systems write no number
        }
        Take("outer");
        Take("loop");
        StlPoint corner[3];
        int corners = 0;
        while (corners < 3 || Is("vertex")) {
            Take("vertex");
            corner[std::min(corners, 2)] = TakePoint();
            if (++corners < 3) continue;
            if (!inSolid_) throw Fault(Missing("solid"));
            sink_.AddFacet(corner[0], corner[1], corner[2]);
            corner[1] = corner[2];
        }
        Take("endloop");
        Take("endfacet");
        --facts_.bad;
    }

    void SkipToKeyword() {
        do {
            token_ = {};
        } while (Peek() && !Is("facet") && !Is("endsolid") && !Is("solid"));
    }

    std::string_view text_;
    StlSink& sink_;
    StlFacts& facts_;
    std::size_t at_ = 0;
    std::int64_t line_ = 1;
    std::string_view token_;
    bool inSolid_ = false;
};

}  // namespace

StlFacts ScanStl(std::string_view bytes, StlSink& sink) {
    StlFacts facts;
    facts.text = !IsBinary(bytes);
    if (facts.text) {
        constexpr std::string_view kMark = "\xef\xbb\xbf";
        if (bytes.starts_with(kMark)) bytes.remove_prefix(kMark.size());
        TextScan(bytes, sink, facts).Run();
    } else {
        ScanBinary(bytes, sink, facts);
    }
    return facts;
}

}  // namespace morvex
