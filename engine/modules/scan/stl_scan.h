// The facets of an STL file, binary or text.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace morvex {

using StlPoint = std::array<double, 3>;

class StlSink {
  public:
    virtual ~StlSink() = default;
    virtual void BeginSolid(std::string_view name) = 0;
    // Counter-clockwise as seen from outside.
    virtual void AddFacet(const StlPoint& a, const StlPoint& b, const StlPoint& c) = 0;
};

struct StlFacts {
    bool text = false;
    std::int64_t solids = 0;
    std::int64_t facets = 0;  // that the file announces
    std::int64_t bad = 0;     // of those, ones that cannot be read
    std::string fault;        // the first thing that is missing, and where; empty when nothing is
};

// Text may begin with a byte order mark; its keywords may be in any letter case, and it may hold several
// solids. Behind a fault it goes on with the next facet. A binary file may be longer than its facets by less
// than one.
StlFacts ScanStl(std::string_view bytes, StlSink& sink);

}  // namespace morvex
