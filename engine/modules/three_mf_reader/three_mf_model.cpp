#include "engine/modules/three_mf_reader/three_mf_model.h"

#include <charconv>

#include "engine/common/text.h"
#include "engine/modules/core/read_error.h"
#include "engine/modules/core/text_lines.h"
#include "engine/modules/core/xml_tags.h"

namespace morvex {
namespace {

using std::string_view;

double UnitNamed(string_view name) {
    constexpr std::pair<string_view, double> kUnits[] = {
        {"micron", 0.001}, {"centimeter", 10}, {"inch", 25.4}, {"foot", 304.8}, {"meter", 1000}};
    for (const auto& [known, millimetres] : kUnits)
        if (name == known) return millimetres;
    return 1;
}

// "#RRGGBB" or "#RRGGBBAA".
std::optional<VertexColour> ColourIn(string_view text) {
    VertexColour colour{0, 0, 0, 1};
    if (!text.starts_with('#') || (text.size() != 7 && text.size() != 9)) return std::nullopt;
    for (std::size_t at = 0; at < text.size() / 2; ++at) {
        unsigned value = 0;
        const char* const digits = text.data() + 1 + 2 * at;
        if (std::from_chars(digits, digits + 2, value, 16).ptr != digits + 2) return std::nullopt;
        colour[at] = static_cast<float>(value) / 255;
    }
    return colour;
}

// Three columns of a turning and scaling, then the shift, as a row of numbers is multiplied by them.
gp_GTrsf MapIn(string_view text) {
    if (Trimmed(text).empty()) return {};
    double m[12];
    for (double& number : m) {
        const auto value = NumberIn(TakeWord(text));
        if (!value) throw ReadError("The place of an object is no map");
        number = *value;
    }
    return {gp_Mat(m[0], m[3], m[6], m[1], m[4], m[7], m[2], m[5], m[8]), gp_XYZ(m[9], m[10], m[11])};
}

class Parser {
  public:
    explicit Parser(string_view text) : tags_(text) {}

    ThreeMfModel Parse() {
        std::vector<string_view> open;
        while (const auto tag = tags_.Take()) {
            if (tag->ends) {
                if (open.empty() || open.back() != tag->name)
                    throw ReadError("Tags of the file do not match");
                open.pop_back();
                if (tag->LocalName() == "object") FinishObject();
                continue;
            }
            if (!tag->empty) open.push_back(tag->name);
            Take(*tag);
        }
        if (!open.empty()) throw ReadError("The end of the file is missing");
        return std::move(model_);
    }

  private:
    struct Corners {
        std::vector<std::uint32_t> points;
        std::optional<VertexColour> colour;
    };

    void Take(const XmlTag& tag) {
        const string_view name = tag.LocalName();
        if (name == "model") {
            model_.unit = UnitNamed(tag.Value("unit"));
            CheckDemands(tag);
        } else if (name == "basematerials" || name == "colorgroup") {
            group_ = tag.Value("id");
        } else if (name == "base" || (name == "color" && !tag.Value("color").empty())) {
            colours_[group_].push_back(ColourIn(tag.Value(name == "base" ? "displaycolor" : "color")));
        } else if (name == "color" || name == "material") {  // as the drafts of the format had them
            const auto referred = colours_.find(std::string(tag.Value("colorid")));
            colours_[std::string(tag.Value("id"))] = {
                referred == colours_.end() ? ColourIn(tag.Value("value")) : referred->second.front()};
        } else if (name == "object") {
            StartObject(tag);
        } else if (name == "vertex") {
            Object().mesh.points.emplace_back(Number(tag, "x"), Number(tag, "y"), Number(tag, "z"));
        } else if (name == "triangle") {
            TakeTriangle(tag);
        } else if (name == "component") {
            Object().components.push_back(PlaceIn(tag));
        } else if (name == "item") {
            model_.build.push_back(PlaceIn(tag));
        } else if (name == "beamlattice") {
            model_.hasBeams = true;
        }
    }

    void CheckDemands(const XmlTag& tag) {
        string_view demanded = tag.Value("requiredextensions");
        for (string_view prefix; !(prefix = TakeWord(demanded)).empty();) {
            const string_view extension = tag.Value("xmlns:" + std::string(prefix));
            const bool known = extension.find("/material/") != string_view::npos ||
                               extension.find("/production/") != string_view::npos;
            if (!known) model_.unknownDemand = prefix;
        }
    }

    static double Number(const XmlTag& tag, string_view attribute) {
        const auto number = NumberIn(Trimmed(tag.Value(attribute)));
        if (!number) throw ReadError("A coordinate is missing or no number");
        return *number;
    }
    static std::uint32_t Index(string_view text) {
        std::uint32_t number = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        if (text.empty() || error != std::errc() || end != text.data() + text.size())
            throw ReadError("A triangle has a corner that is not there");
        return number;
    }

    ThreeMfObject& Object() {
        if (object_ == nullptr) throw ReadError("A part of an object stands outside of objects");
        return *object_;
    }

    void StartObject(const XmlTag& tag) {
        const auto [place, isNew] = model_.objects.try_emplace(std::string(tag.Value("id")));
        if (!isNew) throw ReadError("Two objects of the file have one number");
        object_ = &place->second;
        object_->name = XmlUnescaped(tag.Value("name"));
        const string_view property = tag.Value("pid");
        properties_ = property.empty() ? tag.Value("materialid") : property;
        object_->colour = ColourOf(properties_, tag.Value("pindex").empty() ? "0" : tag.Value("pindex"));
        triangles_.clear();
    }

    // Triangles without a colour of their own have that of the object.
    void FinishObject() {
        ThreeMfObject& object = Object();
        bool own = false;
        for (const Corners& triangle : triangles_) own = own || triangle.colour.has_value();
        const VertexColour usual = object.colour.value_or(VertexColour{1, 1, 1, 1});
        for (const Corners& triangle : triangles_)
            object.mesh.AddPolygon(triangle.points,
                                   own ? std::optional(triangle.colour.value_or(usual)) : std::nullopt);
        triangles_.clear();
        object_ = nullptr;
    }

    void TakeTriangle(const XmlTag& tag) {
        Object();
        Corners& triangle = triangles_.emplace_back();
        triangle.points = {Index(tag.Value("v1")), Index(tag.Value("v2")), Index(tag.Value("v3"))};
        ++model_.triangles;
        if (tag.Value("p1").empty()) return;
        const string_view own = tag.Value("pid");
        VertexColour mean{};
        for (const string_view corner : {"p1", "p2", "p3"}) {
            const string_view index = tag.Value(corner).empty() ? tag.Value("p1") : tag.Value(corner);
            const auto colour = ColourOf(own.empty() ? properties_ : own, index);
            if (!colour) return;
            for (std::size_t at = 0; at < mean.size(); ++at) mean[at] += (*colour)[at] / 3;
        }
        triangle.colour = mean;
    }

    std::optional<VertexColour> ColourOf(string_view group, string_view index) const {
        const auto found = colours_.find(std::string(group));
        if (found == colours_.end()) return std::nullopt;
        const std::uint32_t at = Index(index);
        return at < found->second.size() ? found->second[at] : std::nullopt;
    }

    static ThreeMfPlace PlaceIn(const XmlTag& tag) {
        ThreeMfPlace place{{}, std::string(tag.Value("objectid")), MapIn(tag.Value("transform"))};
        for (const auto& [attribute, value] : tag.attributes)
            if (attribute.ends_with(":path")) place.file = XmlUnescaped(value);
        return place;
    }

    XmlTags tags_;
    ThreeMfModel model_;
    std::map<std::string, std::vector<std::optional<VertexColour>>> colours_;  // by the numbers of groups
    std::string group_;
    ThreeMfObject* object_ = nullptr;  // the one whose parts come
    string_view properties_;           // the group of colours of its triangles
    std::vector<Corners> triangles_;
};

}  // namespace

ThreeMfModel ParseThreeMf(string_view text) {
    return Parser(text).Parse();
}

}  // namespace morvex
