#include "engine/modules/obj_reader/obj_file.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <map>
#include <optional>

#include "engine/modules/core/keep_going.h"
#include "engine/modules/core/polygon.h"
#include "engine/modules/core/read_error.h"
#include "engine/modules/core/text_lines.h"

namespace morvex {
namespace {

constexpr std::string_view kWithoutGeometry[] = {
    "s",     "mg",    "usemap", "maplib", "bevel", "c_interp", "d_interp", "lod",  "shadow_obj", "trace_obj",
    "ctech", "stech", "cstype", "deg",    "bmat",  "step",     "parm",     "trim", "hole",       "scrv",
    "sp",    "end",   "con",    "vp",     "vc",    "call",     "csh",      "curv2"};

class ObjParser {
  public:
    ObjParser(std::string_view text, bool keepPartial) : text_(text), keepPartial_(keepPartial) {}

    ObjFile Parse() {
        while (const auto line = NextLine()) {
            std::string_view rest = *line;
            const std::string_view keyword = TakeWord(rest);
            if (keyword.empty() || keyword.front() == '#') continue;
            KeepGoing(
                keepPartial_, [&] { Take(keyword, rest); }, [&](const char*) { Lose(keyword); });
        }
        std::erase_if(file_.groups, [](const ObjGroup& group) { return group.patches.empty(); });
        if (!anyColour_) file_.colours.clear();
        return std::move(file_);
    }

  private:
    // A backslash at the end of a line goes on in the next.
    std::optional<std::string_view> NextLine() {
        auto line = TakeLine(text_);
        ++number_;
        if (!line || !line->ends_with('\\')) return line;
        joined_.clear();
        while (line && line->ends_with('\\')) {
            joined_.append(line->substr(0, line->size() - 1)).push_back(' ');
            line = TakeLine(text_);
            ++number_;
        }
        if (line) joined_ += *line;
        return joined_;
    }

    [[noreturn]] void Fail() const {
        throw ReadError("Line " + std::to_string(number_) + " of the file makes no sense");
    }

    // Something stands in for what others count on; a face with that for a corner is lost as well.
    void Lose(std::string_view keyword) {
        ++file_.lost;
        if (keyword == "v") file_.points.push_back({kNowhere, kNowhere, kNowhere});
        if (keyword == "v" && anyColour_) file_.colours.push_back({1, 1, 1});
        if (keyword == "vn") file_.normals.push_back({});
        if (keyword == "vt") file_.texture.push_back({});
    }

    void Take(std::string_view keyword, std::string_view rest) {
        if (keyword == "v")
            TakePoint(rest);
        else if (keyword == "vn")
            file_.normals.push_back(Floats<3>(rest));
        else if (keyword == "vt")
            file_.texture.push_back(TakeTexture(rest));
        else if (keyword == "f" || keyword == "fo")
            TakeFace(rest);
        else if (keyword == "g" || keyword == "o")
            OpenGroup(Trimmed(rest));
        else if (keyword == "usemtl")
            material_ = Trimmed(rest), patch_ = nullptr;
        else if (keyword == "mtllib")
            file_.materialFiles.emplace_back(Trimmed(rest));
        else if (keyword == "l" || keyword == "p" || keyword == "curv")
            ++file_.curves;
        else if (keyword == "surf")
            ++file_.surfaces;
        else if (!std::ranges::count(kWithoutGeometry, keyword))
            TakeUnknown(keyword, rest);
    }

    // A statement of another program is of no matter, but one that lists numbers was a face or a point.
    void TakeUnknown(std::string_view keyword, std::string_view rest) const {
        const auto isNumber = [](std::string_view word) {
            return word.find_first_not_of("0123456789+-./eE") == std::string_view::npos;
        };
        int numbers = isNumber(keyword);
        for (std::string_view word = TakeWord(rest); !word.empty(); word = TakeWord(rest))
            numbers += isNumber(word);
        if (numbers >= 2) Fail();
    }

    template <std::size_t Size>
    std::array<float, Size> Floats(std::string_view rest) const {
        std::array<float, Size> values;
        for (float& value : values) {
            const auto number = NumberIn(TakeWord(rest));
            if (!number) Fail();
            value = static_cast<float>(*number);
        }
        return values;
    }

    std::array<float, 2> TakeTexture(std::string_view rest) const {
        const auto u = NumberIn(TakeWord(rest)), v = NumberIn(TakeWord(rest));
        if (!u) Fail();
        return {static_cast<float>(*u), static_cast<float>(v.value_or(0))};
    }

    // "x y z", "x y z w", "x y z red green blue"
    void TakePoint(std::string_view rest) {
        std::array<double, 7> values{};
        std::size_t count = 0;
        for (std::string_view word = TakeWord(rest); !word.empty(); word = TakeWord(rest)) {
            const auto value = NumberIn(word);
            if (!value || count == values.size()) Fail();
            values[count++] = *value;
        }
        if (count < 3 || file_.points.size() >= ObjCorner::kNone) Fail();
        file_.points.push_back({values[0], values[1], values[2]});
        const bool coloured = count >= 6;
        anyColour_ = anyColour_ || coloured;
        if (!anyColour_) return;
        file_.colours.resize(file_.points.size() - 1, {1, 1, 1});
        // Some write 0 to 255.
        const double scale = std::max({values[3], values[4], values[5]}) > 1 ? 1.0 / 255 : 1;
        const auto channel = [&](std::size_t at) {
            return coloured ? static_cast<float>(values[at] * scale) : 1.f;
        };
        file_.colours.push_back({channel(3), channel(4), channel(5)});
    }

    // Counted from 1, or from the last backwards.
    std::uint32_t Index(std::string_view text, std::size_t count) const {
        if (text.empty()) return ObjCorner::kNone;
        std::int64_t number = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        if (error != std::errc() || end != text.data() + text.size()) Fail();
        const std::int64_t index = number < 0 ? static_cast<std::int64_t>(count) + number : number - 1;
        if (number == 0 || index < 0 || index >= static_cast<std::int64_t>(count)) Fail();
        return static_cast<std::uint32_t>(index);
    }

    // "point/texture/normal", of which the latter two may be missing
    ObjCorner Corner(std::string_view word) const {
        const auto part = [&word]() {
            const auto slash = word.find('/');
            const std::string_view first = word.substr(0, slash);
            word = slash == std::string_view::npos ? std::string_view() : word.substr(slash + 1);
            return first;
        };
        ObjCorner corner;
        corner.point = Index(part(), file_.points.size());
        corner.texture = Index(part(), file_.texture.size());
        corner.normal = Index(part(), file_.normals.size());
        if (corner.point == ObjCorner::kNone || !word.empty()) Fail();
        if (!std::isfinite(file_.points[corner.point][0])) Fail();
        return corner;
    }

    void TakeFace(std::string_view rest) {
        corners_.clear();
        for (std::string_view word = TakeWord(rest); !word.empty(); word = TakeWord(rest))
            corners_.push_back(Corner(word));
        if (corners_.size() < 3) Fail();
        std::vector<ObjCorner>& all = Patch().corners;
        if (corners_.size() == 3) {
            all.insert(all.end(), corners_.begin(), corners_.end());
            return;
        }
        std::vector<gp_XYZ> points;
        for (const ObjCorner& corner : corners_) {
            const auto& [x, y, z] = file_.points[corner.point];
            points.emplace_back(x, y, z);
        }
        for (const std::uint32_t at : CutIntoTriangles(points)) all.push_back(corners_[at]);
    }

    void OpenGroup(std::string_view name) {
        const auto [place, isNew] = groups_.try_emplace(std::string(name), file_.groups.size());
        if (isNew) file_.groups.push_back({std::string(name), {}});
        group_ = place->second;
        patch_ = nullptr;
    }

    ObjPatch& Patch() {
        if (patch_ != nullptr) return *patch_;
        if (file_.groups.empty()) OpenGroup({});
        std::vector<ObjPatch>& patches = file_.groups[group_].patches;
        const auto [place, isNew] = patches_.try_emplace({group_, material_}, patches.size());
        if (isNew) patches.push_back({material_, {}});
        patch_ = &patches[place->second];
        return *patch_;
    }

    static constexpr double kNowhere = std::numeric_limits<double>::quiet_NaN();

    std::string_view text_;
    bool keepPartial_;
    std::string joined_;
    std::size_t number_ = 0;  // of the line
    ObjFile file_;
    std::string material_;
    std::size_t group_ = 0;
    ObjPatch* patch_ = nullptr;  // of the group and the material; null: to be looked up
    std::map<std::string, std::size_t> groups_;
    std::map<std::pair<std::size_t, std::string>, std::size_t> patches_;
    std::vector<ObjCorner> corners_;
    bool anyColour_ = false;
};

}  // namespace

ObjFile ParseObj(std::string_view text, bool keepPartial) {
    return ObjParser(text, keepPartial).Parse();
}

}  // namespace morvex
