// What a PLY file says of itself before its data.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace morvex {

enum class PlyType { Int8, Uint8, Int16, Uint16, Int32, Uint32, Float, Double };
constexpr std::size_t kPlySizes[] = {1, 1, 2, 2, 4, 4, 4, 8};  // bytes, by PlyType

struct PlyProperty {
    std::string name;
    PlyType type;
    bool isList = false;
    PlyType countType{};
};

struct PlyElement {
    std::string name;
    std::uint64_t count = 0;
    std::vector<PlyProperty> properties;

    // The place of the first property with one of the names; that of none is kNone.
    std::size_t Find(std::initializer_list<std::string_view> names) const;
    static constexpr std::size_t kNone = SIZE_MAX;
};

enum class PlyEncoding { Text, LittleEndian, BigEndian };

struct PlyHeader {
    PlyEncoding encoding = PlyEncoding::Text;
    std::vector<PlyElement> elements;
};

// Takes the header off the bytes. Throws ReadError when it makes no sense, or announces more than there are
// bytes for.
PlyHeader TakePlyHeader(std::string_view& bytes);

}  // namespace morvex
