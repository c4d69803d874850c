#include "engine/modules/polygon_reader/ply_header.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "engine/modules/core/read_error.h"
#include "engine/modules/core/text_lines.h"

namespace morvex {
namespace {

using std::string_view;

PlyType TypeNamed(string_view name) {
    static constexpr std::pair<string_view, PlyType> kTypes[] = {
        {"char", PlyType::Int8},     {"int8", PlyType::Int8},     {"uchar", PlyType::Uint8},
        {"uint8", PlyType::Uint8},   {"short", PlyType::Int16},   {"int16", PlyType::Int16},
        {"ushort", PlyType::Uint16}, {"uint16", PlyType::Uint16}, {"int", PlyType::Int32},
        {"int32", PlyType::Int32},   {"uint", PlyType::Uint32},   {"uint32", PlyType::Uint32},
        {"float", PlyType::Float},   {"float32", PlyType::Float}, {"double", PlyType::Double},
        {"float64", PlyType::Double}};
    const auto found = std::ranges::find(kTypes, name, &std::pair<string_view, PlyType>::first);
    if (found == std::end(kTypes)) throw ReadError("The header names a type that there is not");
    return found->second;
}

PlyProperty PropertyIn(string_view line) {
    PlyProperty property{};
    string_view type = TakeWord(line);
    property.isList = type == "list";
    if (property.isList) {
        property.countType = TypeNamed(TakeWord(line));
        if (property.countType >= PlyType::Float) throw ReadError("A list has no whole number of values");
        type = TakeWord(line);
    }
    property.type = TypeNamed(type);
    property.name = TakeWord(line);
    return property;
}

PlyEncoding EncodingNamed(string_view name) {
    if (name == "ascii") return PlyEncoding::Text;
    if (name == "binary_little_endian") return PlyEncoding::LittleEndian;
    if (name == "binary_big_endian") return PlyEncoding::BigEndian;
    throw ReadError("This encoding of PLY is not supported", ZEL_VERSION);
}

// The fewest bytes that the elements can take.
std::uint64_t LeastSize(const PlyHeader& header, std::uint64_t most) {
    std::uint64_t size = 0;
    for (const PlyElement& element : header.elements) {
        std::uint64_t row = 0;
        for (const PlyProperty& property : element.properties) {
            constexpr std::size_t kDigitAndBlank = 2;
            row += header.encoding == PlyEncoding::Text
                       ? kDigitAndBlank
                       : kPlySizes[static_cast<std::size_t>(property.isList ? property.countType
                                                                            : property.type)];
        }
        if (row != 0 && element.count > (most - size) / row) return most + 1;
        size += row * element.count;
    }
    return size;
}

}  // namespace

std::size_t PlyElement::Find(std::initializer_list<string_view> names) const {
    const auto found = std::ranges::find_if(properties, [&](const PlyProperty& property) {
        return std::ranges::find(names, property.name) != names.end();
    });
    return found == properties.end() ? kNone : static_cast<std::size_t>(found - properties.begin());
}

PlyHeader TakePlyHeader(string_view& bytes) {
    PlyHeader header;
    bool ended = false, encoded = false;
    TakeLine(bytes);  // "ply"
    while (!ended) {
        std::optional<string_view> line = TakeLine(bytes);
        if (!line) throw ReadError("The header has no end");
        const string_view word = TakeWord(*line);
        if (word == "format") {
            header.encoding = EncodingNamed(TakeWord(*line));
            encoded = true;
        } else if (word == "element") {
            PlyElement& element = header.elements.emplace_back();
            element.name = TakeWord(*line);
            const auto count = NumberIn(TakeWord(*line));
            constexpr double kMost = 4e9;
            if (!count || !(*count >= 0 && *count <= kMost)) throw ReadError("A count of the header is none");
            element.count = static_cast<std::uint64_t>(*count);
        } else if (word == "property") {
            if (header.elements.empty()) throw ReadError("A property of the header belongs to nothing");
            header.elements.back().properties.push_back(PropertyIn(*line));
        } else if (word == "end_header") {
            ended = true;
        } else if (!word.empty() && word != "comment" && word != "obj_info") {
            throw ReadError("A line of the header makes no sense");
        }
    }
    if (!encoded) throw ReadError("The header does not say how the data are encoded");
    // The very last value needs no blank behind it.
    if (LeastSize(header, bytes.size() + 1) > bytes.size() + 1)
        throw ReadError("The header announces more than the file holds");
    return header;
}

}  // namespace morvex
