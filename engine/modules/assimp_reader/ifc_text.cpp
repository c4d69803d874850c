#include "engine/modules/assimp_reader/ifc_text.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

#include "engine/common/text.h"
#include "engine/modules/core/read_error.h"
#include "engine/modules/core/text_lines.h"

namespace morvex {
namespace {

using std::string_view;

constexpr string_view kUnknownItems[] = {"IFCADVANCEDBREP",
                                         "IFCADVANCEDBREPWITHVOIDS",
                                         "IFCSURFACECURVESWEPTAREASOLID",
                                         "IFCFIXEDREFERENCESWEPTAREASOLID",
                                         "IFCEXTRUDEDAREASOLIDTAPERED",
                                         "IFCREVOLVEDAREASOLIDTAPERED",
                                         "IFCSECTIONEDSOLIDHORIZONTAL",
                                         "IFCSECTIONEDSPINE",
                                         "IFCRIGHTCIRCULARCONE",
                                         "IFCSPHERE",
                                         "IFCRECTANGULARPYRAMID"};

// "#id=TYPE(arguments)"
struct Statement {
    std::uint64_t id = 0;
    string_view type, arguments;
};

// The end of the statement that begins there: its semicolon, those in texts and comments left aside.
std::size_t EndOf(string_view text, std::size_t at) {
    for (bool quoted = false; at < text.size(); ++at) {
        if (text[at] == '\'') quoted = !quoted;
        if (quoted) continue;
        if (text[at] == ';') return at;
        if (text.substr(at, 2) == "/*") {
            const auto end = text.find("*/", at + 2);
            if (end == string_view::npos) break;
            at = end + 1;
        }
    }
    return text.size();
}

std::optional<Statement> Parsed(string_view text) {
    text = Trimmed(text);
    if (!text.starts_with('#')) return std::nullopt;
    Statement statement;
    const auto [end, error] = std::from_chars(text.data() + 1, text.data() + text.size(), statement.id);
    const auto open = text.find('('), equals = text.find('=');
    if (error != std::errc() || equals == string_view::npos || open == string_view::npos || open < equals ||
        !text.ends_with(')'))
        return std::nullopt;
    statement.type = Trimmed(text.substr(equals + 1, open - equals - 1));
    statement.arguments = text.substr(open + 1, text.size() - open - 2);
    return statement;
}

// Between the commas that stand in no brackets and no text.
std::vector<string_view> Split(string_view arguments) {
    std::vector<string_view> parts;
    int depth = 0;
    bool quoted = false;
    std::size_t start = 0;
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        const char c = arguments[at];
        if (c == '\'') quoted = !quoted;
        if (quoted) continue;
        depth += (c == '(') - (c == ')');
        if (c != ',' || depth != 0) continue;
        parts.push_back(Trimmed(arguments.substr(start, at - start)));
        start = at + 1;
    }
    parts.push_back(Trimmed(arguments.substr(start)));
    return parts;
}

// What stands between brackets, split.
std::vector<string_view> List(string_view text) {
    if (!text.starts_with('(') || !text.ends_with(')')) throw ReadError("A list of the file is damaged");
    text = Trimmed(text.substr(1, text.size() - 2));
    return text.empty() ? std::vector<string_view>() : Split(text);
}

std::uint64_t Reference(string_view text) {
    std::uint64_t id = 0;
    if (text.starts_with('#')) std::from_chars(text.data() + 1, text.data() + text.size(), id);
    return id;
}

std::string Ref(std::uint64_t id) {
    return "#" + std::to_string(id);
}

// "\X2\00FC\X0\", "\X\FC" and "\S\|" as the letters that they stand for.
std::string WithoutEscapes(string_view text) {
    std::string plain;
    const auto hex = [&](std::size_t at, std::size_t digits) {
        std::uint32_t code = 0;
        const auto part = text.substr(std::min(at, text.size()), digits);
        const auto [end, error] = std::from_chars(part.data(), part.data() + part.size(), code, 16);
        return part.size() == digits && end == part.data() + digits ? std::optional(code) : std::nullopt;
    };
    for (std::size_t at = 0; at < text.size();) {
        if (text.substr(at, 4) == "\\X2\\" || text.substr(at, 4) == "\\X4\\") {
            const std::size_t digits = text[at + 2] == '2' ? 4 : 8;
            at += 4;
            for (auto code = hex(at, digits); code; code = hex(at, digits)) {
                at += digits;
                const auto low = *code >= 0xd800 && *code < 0xdc00 ? hex(at, digits) : std::nullopt;
                if (low) at += digits;
                AppendUtf8(plain, low ? 0x10000 + ((*code - 0xd800) << 10) + (*low - 0xdc00) : *code);
            }
            if (text.substr(at, 4) == "\\X0\\") at += 4;
        } else if (const auto code = hex(at + 3, 2); text.substr(at, 3) == "\\X\\" && code) {
            AppendUtf8(plain, *code);
            at += 5;
        } else if (text.substr(at, 3) == "\\S\\" && at + 3 < text.size()) {
            AppendUtf8(plain, static_cast<unsigned char>(text[at + 3]) + 128u);
            at += 4;
        } else {
            plain += text[at] == '\n' || text[at] == '\r' ? ' ' : text[at];
            ++at;
        }
    }
    return plain;
}

class Rewriter {
  public:
    explicit Rewriter(string_view file) : file_(file) {
        Each([&](string_view, const std::optional<Statement>& statement) {
            if (!statement) return;
            next_ = std::max(next_, statement->id + 1);
            const string_view type = statement->type;
            if (type.starts_with("IFCCARTESIANPOINTLIST") || type.starts_with("IFCINDEXEDPOLYGONALFACE") ||
                type == "IFCBLOCK" || type == "IFCRIGHTCIRCULARCYLINDER" || type == "IFCBOOLEANRESULT" ||
                type == "IFCPRESENTATIONSTYLEASSIGNMENT") {
                known_[statement->id] = *statement;
            }
        });
    }

    IfcText Rewrite() {
        Each([&](string_view text, const std::optional<Statement>& statement) {
            if (!statement || !Replace(*statement, statement->id))
                result_.text += WithoutEscapes(Trimmed(text)) + ";\n";
        });
        return std::move(result_);
    }

  private:
    template <class Take>
    void Each(Take take) const {
        for (std::size_t at = 0; at < file_.size();) {
            const std::size_t end = EndOf(file_, at);
            const string_view text = file_.substr(at, end - at);
            if (!Trimmed(text).empty()) take(text, Parsed(text));
            at = end + 1;
        }
    }

    // Writes the statement under another number, in other words; false when it may stay as it is.
    bool Replace(const Statement& statement, std::uint64_t id) {
        const string_view type = statement.type;
        if (type == "IFCTRIANGULATEDFACESET")
            FaceSet(id, Split(statement.arguments), 3);
        else if (type == "IFCPOLYGONALFACESET")
            FaceSet(id, Split(statement.arguments), 2);
        else if (type == "IFCBLOCK")
            Block(id, Split(statement.arguments));
        else if (type == "IFCRIGHTCIRCULARCYLINDER")
            Cylinder(id, Split(statement.arguments));
        else if (type == "IFCSTYLEDITEM")
            return StyledItem(id, Split(statement.arguments));
        else if (type == "IFCCSGSOLID")
            return CsgSolid(id, Split(statement.arguments));
        else {
            if (std::ranges::count(kUnknownItems, type) != 0) ++result_.lost[std::string(type)];
            return false;
        }
        return true;
    }

    std::uint64_t Add(const std::string& statement) {
        Write(next_, statement);
        return next_++;
    }
    void Write(std::uint64_t id, const std::string& statement) {
        result_.text += Ref(id) + "=" + statement + ";\n";
    }

    const Statement& Known(std::uint64_t id) const {
        const auto found = known_.find(id);
        if (found == known_.end()) throw ReadError("The entity " + Ref(id) + " of the file is missing");
        return found->second;
    }

    // The points of a face set, as entities of their own; `order` holds the numbers that replace those of the
    // file.
    void FaceSet(std::uint64_t id, const std::vector<string_view>& arguments, std::size_t faces) {
        if (arguments.size() <= faces) throw ReadError("A face set is incomplete");
        std::vector<std::uint64_t> points;
        for (const string_view point : List(Split(Known(Reference(arguments[0])).arguments)[0]))
            points.push_back(Add("IFCCARTESIANPOINT(" + std::string(point) + ")"));
        const bool renumbered = arguments.size() > faces + 1 && arguments[faces + 1].starts_with('(');
        if (renumbered) points = Renumbered(points, List(arguments[faces + 1]));
        std::string all;
        for (const string_view face : List(arguments[faces])) {
            std::string bounds;
            if (face.starts_with('#')) {
                const Statement& polygon = Known(Reference(face));
                const std::vector<string_view> loops = Split(polygon.arguments);
                bounds = Bound("IFCFACEOUTERBOUND", loops[0], points);
                if (polygon.type == "IFCINDEXEDPOLYGONALFACEWITHVOIDS" && loops.size() > 1) {
                    for (const string_view hole : List(loops[1]))
                        bounds += "," + Bound("IFCFACEBOUND", hole, points);
                }
            } else {
                bounds = Bound("IFCFACEOUTERBOUND", face, points);
            }
            all += (all.empty() ? "" : ",") + Ref(Add("IFCFACE((" + bounds + "))"));
        }
        Write(id, "IFCFACEBASEDSURFACEMODEL((" + Ref(Add("IFCCONNECTEDFACESET((" + all + "))")) + "))");
    }

    static std::uint64_t At(const std::vector<std::uint64_t>& points, string_view number) {
        std::uint64_t at = 0;
        std::from_chars(number.data(), number.data() + number.size(), at);
        if (at == 0 || at > points.size()) throw ReadError("A face set has a corner that is not there");
        return points[at - 1];
    }

    static std::vector<std::uint64_t> Renumbered(const std::vector<std::uint64_t>& points,
                                                 const std::vector<string_view>& numbers) {
        std::vector<std::uint64_t> renumbered;
        renumbered.reserve(numbers.size());
        for (const string_view number : numbers) renumbered.push_back(At(points, number));
        return renumbered;
    }

    std::string Bound(const char* kind, string_view corners, const std::vector<std::uint64_t>& points) {
        std::string loop;
        for (const string_view corner : List(corners))
            loop += (loop.empty() ? "" : ",") + Ref(At(points, corner));
        return Ref(Add(std::string(kind) + "(" + Ref(Add("IFCPOLYLOOP((" + loop + "))")) + ",.T.)"));
    }

    // An extrusion of a profile that is centred on `centre`.
    void Extrusion(std::uint64_t id, string_view place, const std::string& profile, const std::string& centre,
                   string_view height) {
        const std::uint64_t at =
            Add("IFCAXIS2PLACEMENT2D(" + Ref(Add("IFCCARTESIANPOINT((" + centre + "))")) + ",$)");
        const std::uint64_t area =
            Add(profile.substr(0, profile.find('@')) + Ref(at) + profile.substr(profile.find('@') + 1));
        const std::uint64_t up = Add("IFCDIRECTION((0.,0.,1.))");
        Write(id, "IFCEXTRUDEDAREASOLID(" + Ref(area) + "," + std::string(place) + "," + Ref(up) + "," +
                      std::string(height) + ")");
    }

    void Block(std::uint64_t id, const std::vector<string_view>& arguments) {
        if (arguments.size() < 4) throw ReadError("A block is incomplete");
        const auto half = [](string_view text) { return std::to_string(NumberIn(text).value_or(0) / 2); };
        Extrusion(id, arguments[0],
                  "IFCRECTANGLEPROFILEDEF(.AREA.,$,@," + std::string(arguments[1]) + "," +
                      std::string(arguments[2]) + ")",
                  half(arguments[1]) + "," + half(arguments[2]), arguments[3]);
    }

    void Cylinder(std::uint64_t id, const std::vector<string_view>& arguments) {
        if (arguments.size() < 3) throw ReadError("A cylinder is incomplete");
        Extrusion(id, arguments[0], "IFCCIRCLEPROFILEDEF(.AREA.,$,@," + std::string(arguments[2]) + ")",
                  "0.,0.", arguments[1]);
    }

    // A tree of solids stands for the root of the tree.
    bool CsgSolid(std::uint64_t id, const std::vector<string_view>& arguments) {
        const auto root = known_.find(Reference(arguments[0]));
        if (root == known_.end()) {
            ++result_.lost["IFCCSGSOLID"];
            return false;
        }
        if (!Replace(root->second, id))
            Write(id, std::string(root->second.type) + "(" + std::string(root->second.arguments) + ")");
        return true;
    }

    // IFC 4 names the styles directly.
    bool StyledItem(std::uint64_t id, const std::vector<string_view>& arguments) {
        if (arguments.size() < 2) return false;
        const std::vector<string_view> styles = List(arguments[1]);
        if (styles.empty() || known_.contains(Reference(styles[0]))) return false;
        const std::uint64_t assignment =
            Add("IFCPRESENTATIONSTYLEASSIGNMENT(" + std::string(arguments[1]) + ")");
        Write(id, "IFCSTYLEDITEM(" + std::string(arguments[0]) + ",(" + Ref(assignment) + "),$)");
        return true;
    }

    string_view file_;
    std::uint64_t next_ = 1;  // number of the next entity of ours
    std::unordered_map<std::uint64_t, Statement> known_;
    IfcText result_;
};

}  // namespace

IfcText PrepareIfc(string_view file) {
    return Rewriter(file).Rewrite();
}

}  // namespace morvex
