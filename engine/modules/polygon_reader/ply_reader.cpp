// PLY. The format says nothing of units and axes: millimetres and Z up are taken for granted.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "engine/modules/core/context.h"
#include "engine/modules/core/input_bytes.h"
#include "engine/modules/core/read_error.h"
#include "engine/modules/core/text_lines.h"
#include "engine/modules/polygon_reader/one_mesh.h"
#include "engine/modules/polygon_reader/ply_header.h"

namespace morvex {
namespace {

using std::string_view;

// The values of the data, one after the other, however they are encoded.
class PlyValues {
  public:
    PlyValues(string_view data, PlyEncoding encoding) : data_(data), encoding_(encoding) {}

    double Take(PlyType type) { return encoding_ == PlyEncoding::Text ? TakeText() : TakeBytes(type); }

    std::uint64_t TakeCount(PlyType type) {
        const double count = Take(type);
        if (!(count >= 0 && count <= static_cast<double>(data_.size())) || count != std::floor(count))
            throw ReadError("A list has more values than the file holds");
        return static_cast<std::uint64_t>(count);
    }

    // Whether nothing but blanks is left.
    bool AtEnd() const { return data_.find_first_not_of(string_view(" \t\r\n\0", 5)) == string_view::npos; }

  private:
    double TakeText() {
        constexpr string_view kBlanks = " \t\r\n";
        data_.remove_prefix(std::min(data_.find_first_not_of(kBlanks), data_.size()));
        const string_view word = data_.substr(0, data_.find_first_of(kBlanks));
        data_.remove_prefix(word.size());
        if (word.empty()) throw ReadError("The end of the file is missing");
        const auto number = NumberIn(word);
        if (!number) throw ReadError("A value is no number");
        return *number;
    }

    double TakeBytes(PlyType type) {
        const std::size_t size = kPlySizes[static_cast<std::size_t>(type)];
        if (data_.size() < size) throw ReadError("The end of the file is missing");
        char bytes[8] = {};
        std::memcpy(bytes, data_.data(), size);
        data_.remove_prefix(size);
        if (encoding_ == PlyEncoding::BigEndian) std::reverse(bytes, bytes + size);
        switch (type) {
            case PlyType::Int8:
                return As<std::int8_t>(bytes);
            case PlyType::Uint8:
                return As<std::uint8_t>(bytes);
            case PlyType::Int16:
                return As<std::int16_t>(bytes);
            case PlyType::Uint16:
                return As<std::uint16_t>(bytes);
            case PlyType::Int32:
                return As<std::int32_t>(bytes);
            case PlyType::Uint32:
                return As<std::uint32_t>(bytes);
            case PlyType::Float:
                return static_cast<double>(As<float>(bytes));
            default:
                return As<double>(bytes);
        }
    }

    template <class Number>
    static Number As(const char* bytes) {
        static_assert(std::endian::native == std::endian::little);
        Number number;
        std::memcpy(&number, bytes, sizeof number);
        return number;
    }

    string_view data_;
    PlyEncoding encoding_;
};

// Where the channels of a colour stand among the properties of an element.
class PlyColour {
  public:
    explicit PlyColour(const PlyElement& element)
        : places_{element.Find({"red", "diffuse_red", "r"}), element.Find({"green", "diffuse_green", "g"}),
                  element.Find({"blue", "diffuse_blue", "b"}), element.Find({"alpha", "a"})} {
        for (std::size_t at = 0; at < 4; ++at) {
            if (places_[at] == PlyElement::kNone) continue;
            const PlyType type = element.properties[places_[at]].type;
            full_[at] = type >= PlyType::Float ? 1 : type == PlyType::Uint8 ? 255 : 65535;
        }
    }
    bool IsThere() const { return std::count(places_.begin(), places_.begin() + 3, PlyElement::kNone) == 0; }
    VertexColour In(const std::vector<double>& row) const {
        VertexColour colour{0, 0, 0, 1};
        for (std::size_t at = 0; at < 4; ++at)
            if (places_[at] != PlyElement::kNone)
                colour[at] = static_cast<float>(row[places_[at]] / full_[at]);
        return colour;
    }

  private:
    std::array<std::size_t, 4> places_;
    std::array<double, 4> full_{1, 1, 1, 1};
};

class PlyMesh {
  public:
    PlyMesh(string_view data, const PlyHeader& header) : values_(data, header.encoding) {
        for (const PlyElement& element : header.elements) {
            if (element.properties.empty()) continue;
            if (element.name == "vertex")
                TakePoints(element);
            else
                TakeFaces(element);
        }
        if (!values_.AtEnd()) throw ReadError("The file holds more than its header announces");
    }

    PolygonMesh mesh;
    std::int64_t polygons = 0, flat = 0;  // with fewer than three corners

  private:
    // One value a property; `list` takes those of the list that stands at that place.
    void TakeRow(const PlyElement& element, std::size_t listPlace) {
        row_.assign(element.properties.size(), 0);
        list_.clear();
        for (std::size_t at = 0; at < row_.size(); ++at) {
            const PlyProperty& property = element.properties[at];
            if (!property.isList) {
                row_[at] = values_.Take(property.type);
                continue;
            }
            for (std::uint64_t left = values_.TakeCount(property.countType); left > 0; --left) {
                const double value = values_.Take(property.type);
                if (at == listPlace) list_.push_back(value);
            }
        }
    }

    void TakePoints(const PlyElement& element) {
        const std::size_t axes[] = {element.Find({"x"}), element.Find({"y"}), element.Find({"z"})},
                          normal[] = {element.Find({"nx"}), element.Find({"ny"}), element.Find({"nz"})};
        if (std::ranges::count(axes, PlyElement::kNone) != 0)
            throw ReadError("The points have no coordinates");
        if (!mesh.points.empty()) throw ReadError("The file holds two lists of points");
        const bool normals = std::ranges::count(normal, PlyElement::kNone) == 0;
        const PlyColour colour(element);
        for (std::uint64_t at = 0; at < element.count; ++at) {
            TakeRow(element, PlyElement::kNone);
            mesh.points.emplace_back(row_[axes[0]], row_[axes[1]], row_[axes[2]]);
            if (normals)
                mesh.normals.push_back({static_cast<float>(row_[normal[0]]),
                                        static_cast<float>(row_[normal[1]]),
                                        static_cast<float>(row_[normal[2]])});
            if (colour.IsThere()) mesh.colours.push_back(colour.In(row_));
        }
    }

    // Elements of other kinds are passed over.
    void TakeFaces(const PlyElement& element) {
        const bool faces = element.name == "face", strips = element.name == "tristrips";
        const std::size_t place = element.Find({"vertex_indices", "vertex_index"});
        if ((faces || strips) && (place == PlyElement::kNone || !element.properties[place].isList))
            throw ReadError("The faces have no corners");
        const PlyColour colour(element);
        for (std::uint64_t at = 0; at < element.count; ++at) {
            TakeRow(element, place);
            if (strips) {
                AddStrips();
            } else if (faces) {
                AddPolygon(colour.IsThere() ? std::optional(colour.In(row_)) : std::nullopt);
            }
        }
    }

    static std::uint32_t Corner(double value) {
        if (!(value >= 0 && value < UINT32_MAX)) throw ReadError("A polygon has a corner that is not there");
        return static_cast<std::uint32_t>(value);
    }

    void AddPolygon(const std::optional<VertexColour>& colour) {
        std::vector<std::uint32_t> corners;
        for (const double value : list_) corners.push_back(Corner(value));
        ++polygons;
        flat += !mesh.AddPolygon(corners, colour);
    }

    // Each ends at -1; every second triangle of one runs the other way round.
    void AddStrips() {
        std::size_t start = 0;
        for (std::size_t at = 0; at < list_.size(); ++at) {
            if (list_[at] < 0) {
                start = at + 1;
            } else if (at >= start + 2) {
                const bool turned = (at - start) % 2 != 0;
                const std::uint32_t a = Corner(list_[at - 2]), b = Corner(list_[at - 1]),
                                    c = Corner(list_[at]);
                // Strips are put together by triangles without an area.
                if (a == b || b == c || c == a) continue;
                ++polygons;
                mesh.AddPolygon(turned ? std::vector{b, a, c} : std::vector{a, b, c});
            }
        }
    }

    PlyValues values_;
    std::vector<double> row_, list_;
};

}  // namespace

extern "C" Outcome ReadPly(JobContext& context) {
    const InputBytes bytes(context.file);
    string_view data = bytes.View();
    const PlyHeader header = TakePlyHeader(data);
    const PlyMesh file(data, header);
    AddOneMesh(context, file.mesh, file.polygons, file.flat);
    return Outcome::Ok();
}

}  // namespace morvex
