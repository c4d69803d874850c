#pragma once

#include <vector>

#include "batch/source_list.h"

namespace morvex {

// Which files of a complete list belong to one of `shards` parts (from 1 on). Every machine that has the same
// files comes to the same parts: the largest file first goes to the part that has least so far, and of files
// of one size a hash of the relative path decides which comes first.
std::vector<bool> ShareOf(const SourceList& list, unsigned shard, unsigned shards);

}  // namespace morvex
