// glTF files put together by hand, damaged ones too.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace morvex::test {

// Collects bytes, views of them and accessors.
class GltfMaker {
  public:
    // Answers the number of the view.
    int View(const std::string& bytes);
    // Answers the number of the accessor; `more` is JSON that goes into it ("\"normalized\":true").
    template <class Number>
    int Accessor(const std::vector<Number>& values, const char* type, const std::string& more = {}) {
        const std::string bytes(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(Number));
        return Describe(View(bytes), sizeof(Number), std::is_floating_point_v<Number>,
                        std::is_signed_v<Number>, values.size(), type, more);
    }
    // An accessor as JSON, whatever it says.
    int Raw(const std::string& accessor);

    // The box of kBoxLow and kBoxHigh: accessors of its 8 points and its 36 corners.
    int BoxPoints();
    int BoxCorners();

    // `primitives` and `nodes` are JSON arrays; mesh 0 has those primitives. `more` are further top-level
    // members. The buffer is named `uri`; "" stands for a "data:" text.
    std::string File(const std::string& primitives, const std::string& nodes, const std::string& more = {},
                     const std::string& uri = {}) const;
    const std::string& Bytes() const { return bytes_; }

  private:
    int Describe(int view, std::size_t size, bool floating, bool isSigned, std::size_t count,
                 const char* type, const std::string& more);

    std::string bytes_;
    std::vector<std::string> views_, accessors_;
};

std::string Base64(const std::string& bytes);

}  // namespace morvex::test
