// Enhanced metafile.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "engine/common/text.h"
#include "engine/modules/drawing/sheet.h"
#include "engine/modules/scene/output_file.h"

namespace morvex {
namespace {

enum Record : std::uint32_t {
    kHeader = 1,
    kPolyline = 4,
    kWindowExtent = 9,
    kWindowOrigin = 10,
    kViewportExtent = 11,
    kViewportOrigin = 12,
    kEndOfFile = 14,
    kMapMode = 17,
    kBackgroundMode = 18,
    kTextAlignment = 22,
    kSelectObject = 37,
    kComment = 70,
    kCreateFont = 82,
    kText = 84,
    kCreatePen = 95
};

// Of coordinates, and of pixels of the device that the file is for, to a millimetre: some programs take the
// width of lines for pixels.
constexpr int kUnits = 2000;
constexpr double kCapitals = 0.72;  // their share of a font's height

std::u16string Utf16(std::string_view utf8) {
    std::u16string text;
    while (!utf8.empty()) {
        char32_t character = TakeCharacter(utf8);
        if (character >= 0x10000) {
            character -= 0x10000;
            text += static_cast<char16_t>(0xD800 + (character >> 10));
            character = 0xDC00 + (character & 0x3FF);
        }
        text += static_cast<char16_t>(character);
    }
    return text;
}

// Of Arial and its like, as a share of the font's height.
double AdvanceOf(char16_t character) {
    constexpr struct {
        std::string_view characters;
        double advance;
    } kAdvances[] = {
        {"ijl'", 0.222},      {" .,:;!|/\\ftI", 0.278}, {"r()-", 0.333}, {"cksvxyzJ", 0.5}, {"FTZ", 0.611},
        {"ABEKPSVXY", 0.667}, {"CDHNRUw", 0.722},       {"GOQ", 0.778},  {"mM", 0.833},     {"W", 0.944}};
    constexpr double kOthers = 0.556;
    constexpr char16_t kFirstWide = 0x2E80;  // from there on there are mostly Chinese characters
    if (character >= kFirstWide) return 1;
    for (const auto& [characters, advance] : kAdvances)
        if (character < 128 && characters.find(static_cast<char>(character)) != characters.npos)
            return advance;
    return kOthers;
}

// Few programs that show metafiles know dashed pens. A line begins and ends with a dash.
std::vector<Polyline> DashesOf(const Polyline& line, double scale) {
    double length = 0;
    for (std::size_t at = 1; at < line.size(); ++at)
        length += std::hypot(line[at][0] - line[at - 1][0], line[at][1] - line[at - 1][1]);
    const double count = std::max(1.0, std::round((length * scale + kDashGap) / (kDash + kDashGap))),
                 period = length / (count - kDashGap / (kDash + kDashGap)),
                 dash = period * kDash / (kDash + kDashGap);
    std::vector<Polyline> dashes{{line.front()}};
    bool drawn = true;
    double left = dash;  // until the next change
    for (std::size_t at = 1; at < line.size(); ++at) {
        Point2d from = line[at - 1];
        const Point2d& to = line[at];
        for (double way; (way = std::hypot(to[0] - from[0], to[1] - from[1])) > left;) {
            const double share = left / way;
            from = {from[0] + (to[0] - from[0]) * share, from[1] + (to[1] - from[1]) * share};
            if (drawn)
                dashes.back().push_back(from);
            else
                dashes.push_back({from});
            drawn = !drawn;
            left = drawn ? dash : period - dash;
        }
        left -= std::hypot(to[0] - from[0], to[1] - from[1]);
        if (drawn) dashes.back().push_back(to);
    }
    return dashes;
}

// Records of a type, their size in bytes, and 32-bit numbers; a file is a row of them.
class EmfFile {
  public:
    std::string Make(const Sheet& sheet) {
        Prepare();
        Select(Pen::Frame);
        for (const Polyline& line : sheet.frame) Line(line, {0, 0}, 1);
        for (const SheetView& view : sheet.views) {
            Mark(view, sheet.scale);
            Select(Pen::Hidden);
            for (const Polyline& line : view.lines.hidden) {
                for (const Polyline& dash : DashesOf(line, sheet.scale)) Line(dash, view.origin, sheet.scale);
            }
            Select(Pen::Visible);
            for (const Polyline& line : view.lines.visible) Line(line, view.origin, sheet.scale);
        }
        Mark({"", {}}, 1);
        for (const SheetText& text : sheet.texts) Text(text);
        Add(kEndOfFile, {0, 0, 20});
        return Header() + records_;
    }

  private:
    using Number = std::int64_t;
    static constexpr int kPens = 3, kHandles = 8;
    static constexpr Number kWidth = static_cast<Number>(Sheet::kWidth),
                            kHeight = static_cast<Number>(Sheet::kHeight);  // millimetres

    static Number UnitsOf(double millimetres) { return std::llround(millimetres * kUnits); }

    void Add(Record type, const std::vector<Number>& numbers, const std::string& rest = {}) {
        AppendLittleEndian(records_, type, 4);
        AppendLittleEndian(records_, 8 + 4 * numbers.size() + (rest.size() + 3) / 4 * 4, 4);
        for (const Number number : numbers)
            AppendLittleEndian(records_, static_cast<std::uint64_t>(number), 4);
        records_ += rest;
        records_.append((4 - rest.size() % 4) % 4, '\0');
        ++count_;
    }

    void Prepare() {
        constexpr int kAnisotropic = 8, kTransparent = 1, kBaseLine = 24;
        Add(kMapMode, {kAnisotropic});
        Add(kWindowOrigin, {0, 0});
        Add(kWindowExtent, {kWidth * kUnits, kHeight * kUnits});
        Add(kViewportOrigin, {0, 0});
        Add(kViewportExtent, {kWidth * kUnits, kHeight * kUnits});
        Add(kBackgroundMode, {kTransparent});
        Add(kTextAlignment, {kBaseLine});
        for (const Pen pen : {Pen::Visible, Pen::Hidden, Pen::Frame}) CreatePen(pen);
    }

    // Handles count from 1. A geometric pen has a width in units.
    void CreatePen(Pen pen) {
        constexpr int kGeometric = 0x10000, kHead = 52;
        const auto number = static_cast<std::size_t>(pen);
        Add(kCreatePen, {static_cast<Number>(number) + 1, kHead, 0, kHead, 0, kGeometric,
                         UnitsOf(kPenWidths[number]), 0, 0, 0, 0});
    }

    void Select(Pen pen) { Add(kSelectObject, {static_cast<int>(pen) + 1}); }

    // For those that want to measure: what follows shows that view. Its numbers are the model's millimetres
    // to a unit, and the place of the model's zero.
    void Mark(const SheetView& view, double scale) {
        std::string data = "View";
        char name[16] = {};
        std::strncpy(name, view.name, sizeof name - 1);
        data.append(name, sizeof name);
        for (const double number :
             {1 / (scale * kUnits), view.origin[0] * kUnits, (Sheet::kHeight - view.origin[1]) * kUnits}) {
            std::uint64_t bits = 0;
            std::memcpy(&bits, &number, sizeof bits);
            AppendLittleEndian(data, bits, 8);
        }
        Add(kComment, {static_cast<Number>(data.size())}, data);
    }

    void Line(const Polyline& line, const Point2d& origin, double scale) {
        std::vector<Number> numbers{0, 0, -1, -1, static_cast<Number>(line.size())};
        for (const Point2d& point : line) {
            numbers.push_back(UnitsOf(origin[0] + scale * point[0]));
            numbers.push_back(UnitsOf(Sheet::kHeight - origin[1] - scale * point[1]));
        }
        Add(kPolyline, numbers);
    }

    void Text(const SheetText& text) {
        constexpr int kGraphicsMode = 2, kTextAt = 76;
        SelectFont(text.height);
        const std::u16string characters = Utf16(text.text);
        std::string rest;
        for (const char16_t unit : characters) AppendLittleEndian(rest, unit, 2);
        rest.append((4 - rest.size() % 4) % 4, '\0');
        const auto advances = static_cast<Number>(kTextAt + rest.size());
        for (const char16_t unit : characters)
            AppendLittleEndian(
                rest, static_cast<std::uint64_t>(UnitsOf(text.height / kCapitals * AdvanceOf(unit))), 4);
        Add(kText,
            {0, 0, -1, -1, kGraphicsMode, 0x3f800000, 0x3f800000, UnitsOf(text.at[0]),
             UnitsOf(Sheet::kHeight - text.at[1]), static_cast<Number>(characters.size()), kTextAt, 0, 0, 0,
             -1, -1, advances},
            rest);
    }

    void SelectFont(double height) {
        const auto known = std::ranges::find(fonts_, height);
        const auto handle = static_cast<Number>(kPens + 1 + (known - fonts_.begin()));
        if (known == fonts_.end()) {
            constexpr std::size_t kName = 32, kRest = 320 - 92;
            constexpr int kNormal = 400;
            fonts_.push_back(height);
            std::string face;
            for (const char c : std::string_view("Arial"))
                AppendLittleEndian(face, static_cast<unsigned char>(c), 2);
            face.resize(2 * kName + kRest, '\0');
            Add(kCreateFont, {handle, -UnitsOf(height / kCapitals), 0, 0, 0, kNormal, 0, 0}, face);
        }
        Add(kSelectObject, {handle});
    }

    // 108 bytes, of which the last ones are for later versions of it.
    std::string Header() {
        constexpr std::uint32_t kSize = 108, kSignature = 0x464D4520, kVersion = 0x10000;
        std::string header;
        const auto add = [&](std::uint64_t number) { AppendLittleEndian(header, number, 4); };
        for (const std::uint64_t number : {std::uint64_t{kHeader}, std::uint64_t{kSize}}) add(number);
        for (const Number number : std::initializer_list<Number>{
                 0, 0, kWidth * kUnits - 1, kHeight * kUnits - 1, 0, 0, kWidth * 100, kHeight * 100})
            add(static_cast<std::uint64_t>(number));
        for (const std::uint64_t number :
             {std::uint64_t{kSignature}, std::uint64_t{kVersion}, std::uint64_t{kSize + records_.size()},
              std::uint64_t{count_ + 1}, std::uint64_t{kHandles}})
            add(number);
        for (const Number number :
             std::initializer_list<Number>{0, 0, 0, kWidth * kUnits, kHeight * kUnits, kWidth, kHeight, 0, 0,
                                           0, kWidth * 1000, kHeight * 1000})
            add(static_cast<std::uint64_t>(number));
        return header;
    }

    std::string records_;
    std::uint32_t count_ = 0;
    std::vector<double> fonts_;  // their heights
};

}  // namespace

extern "C" Outcome WriteEmfDrawing(JobContext& context) {
    Sheet sheet;
    Outcome outcome = DrawSheet(context, sheet);
    if (!outcome.IsOk()) return outcome;
    OutputFile file(context.file);
    file.Write(EmfFile().Make(sheet));
    return Written(file.Close());
}

}  // namespace morvex
