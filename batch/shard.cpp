#include "batch/shard.h"

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <queue>
#include <utility>

#include "win/paths.h"
#include "win/text_hash.h"

namespace morvex {
namespace {

constexpr std::uint64_t kCostOfStart =
    1 << 20;                     // a file costs as much as that many bytes before its first byte
constexpr int kAskedAtOnce = 8;  // each size may travel over a network

struct Weight {
    std::uint64_t cost = kCostOfStart;
    std::uint64_t hash = kHashOfNothing;
};

Weight WeightOf(const SourceList::Entry& entry) {
    Weight weight;
    weight.cost += FileSizeOf(JoinPath(entry.file.folder, entry.file.name)).value_or(0);
    weight.hash = HashOf(entry.RelativePath());
    return weight;
}

}  // namespace

std::vector<bool> ShareOf(const SourceList& list, unsigned shard, unsigned shards) {
    const size_t count = list.Count();
    std::vector<Weight> weights(count);
#pragma omp parallel for schedule(dynamic, 64) num_threads(kAskedAtOnce)
    for (size_t i = 0; i < count; ++i) {
        try {
            weights[i] = WeightOf(list.At(i));
        } catch (const std::bad_alloc&) {
            // Stays the lightest: no exception may leave the parallel region.
        }
    }
    std::vector<std::uint32_t> order(count);
    std::iota(order.begin(), order.end(), 0U);
    std::ranges::stable_sort(order, [&](std::uint32_t a, std::uint32_t b) {
        return std::pair(weights[b].cost, weights[a].hash) < std::pair(weights[a].cost, weights[b].hash);
    });
    using Load = std::pair<std::uint64_t, unsigned>;
    std::priority_queue<Load, std::vector<Load>, std::greater<>> loads;
    for (unsigned i = 1; i <= shards; ++i) loads.emplace(0, i);
    std::vector<bool> share(count);
    for (const std::uint32_t index : order) {
        const auto [load, part] = loads.top();
        loads.pop();
        loads.emplace(load + weights[index].cost, part);
        share[index] = part == shard;
    }
    return share;
}

}  // namespace morvex
