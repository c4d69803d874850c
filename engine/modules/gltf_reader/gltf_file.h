// A glTF file: its JSON, and the bytes of its buffers, views and accessors. All of it throws ReadError where
// the file contradicts itself.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "engine/modules/core/input_bytes.h"
#include "engine/modules/gltf_reader/json.h"

namespace morvex {

class GltfFile {
  public:
    explicit GltfFile(JobContext& context);

    const Json& Root() const { return json_; }
    std::size_t Count(const char* array) const;
    const Json& Element(const char* array, std::uint64_t number) const;

    // The bytes of a buffer view.
    std::string_view View(std::uint64_t number);

    // The numbers of an accessor, `components` for each element; integers that it calls normalised become 0
    // to 1 or -1 to 1.
    std::vector<float> Floats(std::uint64_t accessor, unsigned components);
    std::vector<std::uint32_t> Indices(std::uint64_t accessor);
    std::uint64_t ElementCount(std::uint64_t accessor) const;
    unsigned Components(std::uint64_t accessor) const;  // of an element

    // The bytes of a "data:" text; nothing when it is none.
    static std::optional<std::string> DataUri(std::string_view uri);
    // A URI relative to the file as the name of a file.
    static std::string FileName(std::string_view uri);

  private:
    std::string_view Buffer(std::uint64_t number);
    std::string_view Elements(const Json& owner, std::uint64_t count, std::uint64_t element,
                              std::uint64_t stride);
    template <class Value>
    std::vector<Value> Read(std::uint64_t accessor, unsigned components);

    JobContext& context_;
    InputBytes bytes_;
    rapidjson::Document json_;
    std::string_view binary_;  // the binary chunk of a .glb
    std::map<std::uint64_t, std::variant<std::string, InputBytes>> buffers_;
    std::uint64_t madeUp_ = 0;  // elements that no bytes stand for
};

}  // namespace morvex
