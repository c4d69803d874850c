#include "engine/modules/gltf_reader/gltf_file.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <type_traits>

#include "engine/modules/core/read_error.h"

namespace morvex {
namespace {

constexpr std::uint64_t kLargestBuffer = 4ull << 30;
constexpr std::uint64_t kMostMadeUp = 1'000'000;
constexpr std::uint32_t kJsonChunk = 0x4e4f534a, kBinaryChunk = 0x004e4942;

std::uint32_t Word(std::string_view bytes, std::size_t at) {
    std::uint32_t word = 0;
    if (at + sizeof word <= bytes.size()) std::memcpy(&word, bytes.data() + at, sizeof word);
    return word;
}

std::string_view Part(std::string_view bytes, std::uint64_t offset, std::uint64_t length, const char* what) {
    if (offset > bytes.size() || length > bytes.size() - offset) {
        throw ReadError(std::string("A ") + what + " reaches beyond the bytes that are there");
    }
    return bytes.substr(offset, length);
}

struct Chunks {
    std::string_view json, binary;
};

Chunks Split(std::string_view file) {
    if (!file.starts_with("glTF")) return {file.starts_with("\xef\xbb\xbf") ? file.substr(3) : file, {}};
    constexpr std::size_t kHeader = 12, kChunkHeader = 8;
    Chunks chunks;
    std::string_view rest =
        Part(file, kHeader, std::max<std::size_t>(Word(file, 8), kHeader) - kHeader, "file");
    while (rest.size() >= kChunkHeader) {
        const std::string_view chunk = Part(rest, kChunkHeader, Word(rest, 0), "chunk");
        const std::uint32_t kind = Word(rest, 4);
        if (kind == kJsonChunk && chunks.json.empty()) chunks.json = chunk;
        if (kind == kBinaryChunk && chunks.binary.empty()) chunks.binary = chunk;
        rest.remove_prefix(kChunkHeader + chunk.size());
    }
    return chunks;
}

struct Component {
    unsigned size;
    double largest;  // of a normalised integer; 0: a floating-point number
};

Component ComponentOf(std::uint64_t code) {
    switch (code) {
        case 5120:
            return {1, 127};
        case 5121:
            return {1, 255};
        case 5122:
            return {2, 32767};
        case 5123:
            return {2, 65535};
        case 5125:
            return {4, 4294967295.0};
        case 5126:
            return {4, 0};
        default:
            throw ReadError("An accessor has numbers of an unknown type");
    }
}

template <class Stored, class Value>
void Convert(const char* from, std::size_t stride, std::size_t count, unsigned components, double largest,
             Value* to) {
    for (std::size_t at = 0; at < count; ++at, from += stride) {
        for (unsigned component = 0; component < components; ++component) {
            Stored stored;
            std::memcpy(&stored, from + component * sizeof stored, sizeof stored);
            if constexpr (std::is_floating_point_v<Value> && std::is_integral_v<Stored>) {
                *to++ = largest > 0 ? std::max(static_cast<Value>(stored / largest), Value{-1})
                                    : static_cast<Value>(stored);
            } else {
                // Negative where the file is wrong only; whoever reads indices holds them against a count.
                *to++ = static_cast<Value>(stored);  // NOLINT(bugprone-signed-char-misuse)
            }
        }
    }
}

// `count` elements out of `bytes`, which the caller has found to be long enough.
template <class Value>
void Decode(std::string_view bytes, std::size_t stride, std::size_t count, unsigned components,
            std::uint64_t code, bool normalised, Value* to) {
    const double largest = normalised ? ComponentOf(code).largest : 0;
    const auto convert = [&](auto stored) {
        Convert<decltype(stored)>(bytes.data(), stride, count, components, largest, to);
    };
    switch (code) {
        case 5120:
            return convert(std::int8_t{});
        case 5121:
            return convert(std::uint8_t{});
        case 5122:
            return convert(std::int16_t{});
        case 5123:
            return convert(std::uint16_t{});
        case 5125:
            return convert(std::uint32_t{});
        default:
            if constexpr (std::is_integral_v<Value>) throw ReadError("Indices are no whole numbers");
            return convert(float{});
    }
}

std::string Base64(std::string_view text) {
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t bits = 0;
    int held = 0;
    for (const char c : text) {
        if (c == '=') break;
        const int value = c >= 'A' && c <= 'Z'   ? c - 'A'
                          : c >= 'a' && c <= 'z' ? c - 'a' + 26
                          : c >= '0' && c <= '9' ? c - '0' + 52
                          : c == '+' || c == '-' ? 62
                          : c == '/' || c == '_' ? 63
                                                 : -1;
        if (value < 0) throw ReadError("A \"data:\" text is damaged");
        bits = bits << 6 | static_cast<std::uint32_t>(value);
        held += 6;
        if (held < 8) continue;
        held -= 8;
        bytes += static_cast<char>(bits >> held);
    }
    return bytes;
}

std::string WithoutPercents(std::string_view text) {
    const auto digit = [](char c) {
        return c >= '0' && c <= '9'   ? c - '0'
               : c >= 'a' && c <= 'f' ? c - 'a' + 10
               : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                      : -1;
    };
    std::string plain;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool code =
            text[at] == '%' && at + 2 < text.size() && digit(text[at + 1]) >= 0 && digit(text[at + 2]) >= 0;
        plain += code ? static_cast<char>(digit(text[at + 1]) * 16 + digit(text[at + 2])) : text[at];
        if (code) at += 2;
    }
    return plain;
}

}  // namespace

GltfFile::GltfFile(JobContext& context) : context_(context), bytes_(context.file) {
    const Chunks chunks = Split(bytes_.View());
    binary_ = chunks.binary;
    // Iterative: brackets nested a million deep must not overflow the stack.
    json_.Parse<rapidjson::kParseIterativeFlag>(chunks.json.data(), chunks.json.size());
    if (json_.HasParseError() || !json_.IsObject()) {
        throw ReadError("The JSON of the file is damaged at byte " + std::to_string(json_.GetErrorOffset()));
    }
}

std::size_t GltfFile::Count(const char* array) const {
    const Json* const found = Member(json_, array);
    return found != nullptr && found->IsArray() ? found->Size() : 0;
}

const Json& GltfFile::Element(const char* array, std::uint64_t number) const {
    if (number >= Count(array))
        throw ReadError(std::string("The file refers to ") + array + " that it does not have");
    return json_[array][static_cast<rapidjson::SizeType>(number)];
}

std::optional<std::string> GltfFile::DataUri(std::string_view uri) {
    if (!uri.starts_with("data:")) return std::nullopt;
    const auto comma = uri.find(',');
    if (comma == std::string_view::npos) throw ReadError("A \"data:\" text is damaged");
    const std::string_view data = uri.substr(comma + 1);
    return uri.substr(0, comma).ends_with(";base64") ? Base64(data) : WithoutPercents(data);
}

std::string GltfFile::FileName(std::string_view uri) {
    return WithoutPercents(uri);
}

std::string_view GltfFile::Buffer(std::uint64_t number) {
    const Json& buffer = Element("buffers", number);
    std::string_view bytes = binary_;
    if (Member(buffer, "uri") != nullptr) {
        auto found = buffers_.find(number);
        if (found == buffers_.end()) {
            const std::string uri = Text(buffer, "uri");
            std::optional<std::string> data = DataUri(uri);
            found =
                data ? buffers_.emplace(number, std::move(*data)).first
                     : buffers_
                           .emplace(number, InputBytes(FindSideFile(context_, FileName(uri), kLargestBuffer)))
                           .first;
        }
        const auto* const text = std::get_if<std::string>(&found->second);
        bytes = text != nullptr ? std::string_view(*text) : std::get<InputBytes>(found->second).View();
    }
    return Part(bytes, 0, Whole(buffer, "byteLength").value_or(bytes.size()), "buffer");
}

std::string_view GltfFile::View(std::uint64_t number) {
    const Json& view = Element("bufferViews", number);
    for (const char* packing : {"EXT_meshopt_compression", "KHR_meshopt_compression"}) {
        const Json* const extensions = Member(view, "extensions");
        if (extensions != nullptr && Member(*extensions, packing) != nullptr)
            throw ReadError(std::string(packing) + " is not supported", ZEL_VERSION);
    }
    const std::uint64_t length = Whole(view, "byteLength").value_or(0);
    return Part(Buffer(Whole(view, "buffer").value_or(UINT64_MAX)), Whole(view, "byteOffset").value_or(0),
                length, "buffer view");
}

std::uint64_t GltfFile::ElementCount(std::uint64_t accessor) const {
    return Whole(Element("accessors", accessor), "count").value_or(0);
}

unsigned GltfFile::Components(std::uint64_t accessor) const {
    const std::string type = Text(Element("accessors", accessor), "type");
    return type == "SCALAR" ? 1 : type == "VEC2" ? 2 : type == "VEC3" ? 3 : type == "VEC4" ? 4 : 0;
}

// Bytes from `offset` on that hold `count` elements.
std::string_view GltfFile::Elements(const Json& owner, std::uint64_t count, std::uint64_t element,
                                    std::uint64_t stride) {
    const std::string_view view = View(Whole(owner, "bufferView").value_or(UINT64_MAX));
    const std::uint64_t offset = std::min<std::uint64_t>(Whole(owner, "byteOffset").value_or(0), view.size());
    const std::string_view bytes = view.substr(offset);
    if (count > 0 &&
        (bytes.size() < element || (stride > 0 && count - 1 > (bytes.size() - element) / stride))) {
        throw ReadError("An accessor claims more elements than the file has bytes for");
    }
    return bytes;
}

template <class Value>
std::vector<Value> GltfFile::Read(std::uint64_t number, unsigned components) {
    const Json& accessor = Element("accessors", number);
    if (Components(number) != components)
        throw ReadError("An accessor has elements of another type than it should");
    const std::uint64_t count = ElementCount(number), code = Whole(accessor, "componentType").value_or(0);
    const std::uint64_t element = std::uint64_t{ComponentOf(code).size} * components;
    const bool normalised = Flag(accessor, "normalized");
    std::vector<Value> values;
    if (const auto view = Whole(accessor, "bufferView")) {
        const std::uint64_t own = Whole(Element("bufferViews", *view), "byteStride").value_or(0);
        const std::uint64_t stride = own == 0 ? element : own;
        if (stride < element) throw ReadError("The elements of an accessor overlap");
        const std::string_view bytes = Elements(accessor, count, element, stride);
        values.resize(count * components);
        Decode(bytes, stride, count, components, code, normalised, values.data());
    } else {
        madeUp_ += std::min(count, kMostMadeUp + 1);
        if (madeUp_ > kMostMadeUp)
            throw ReadError("An accessor claims more elements than the file has bytes for");
        values.resize(count * components);
    }
    const Json* const sparse = Member(accessor, "sparse");
    if (sparse == nullptr) return values;

    const std::uint64_t changes = Whole(*sparse, "count").value_or(0);
    const Json *const places = Member(*sparse, "indices"), *const news = Member(*sparse, "values");
    if (places == nullptr || news == nullptr) throw ReadError("A sparse accessor is incomplete");
    const std::uint64_t placeCode = Whole(*places, "componentType").value_or(0);
    const std::uint64_t placeSize = ComponentOf(placeCode).size;
    const std::string_view placeBytes = Elements(*places, changes, placeSize, placeSize);
    const std::string_view newBytes = Elements(*news, changes, element, element);
    std::vector<std::uint32_t> at(changes);
    Decode(placeBytes, placeSize, changes, 1, placeCode, false, at.data());
    for (std::uint64_t change = 0; change < changes; ++change) {
        if (at[change] >= count)
            throw ReadError("A sparse accessor changes an element that it does not have");
        Decode(newBytes.substr(change * element), element, 1, components, code, normalised,
               values.data() + std::size_t{at[change]} * components);
    }
    return values;
}

std::vector<float> GltfFile::Floats(std::uint64_t accessor, unsigned components) {
    return Read<float>(accessor, components);
}

std::vector<std::uint32_t> GltfFile::Indices(std::uint64_t accessor) {
    return Read<std::uint32_t>(accessor, 1);
}

}  // namespace morvex
