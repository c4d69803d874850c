// The text of a BREP file: how many shapes of a kind it lists.
#pragma once

#include <cstdint>
#include <string_view>

namespace morvex {

struct BrepScan {
    explicit BrepScan(std::string_view text);

    bool text = false;           // else it is binary, and nothing below is known
    std::int64_t announced = 0;  // shapes of all kinds, as the head of the list says
    std::int64_t listed = 0;     // as the list has them
    std::int64_t solids = 0, faces = 0;
};

}  // namespace morvex
