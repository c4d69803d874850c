// Modules that are loaded before they are needed, in a process from which conversions are forked.
#pragma once

#include <set>
#include <utility>

namespace morvex {

struct Format;

class WarmModules {
  public:
    // Loads what a conversion between the formats needs. Only for a pair of which one has succeeded in
    // another process: nothing here guards against a module that falls over.
    void Load(const Format& from, const Format& to);

  private:
    std::set<std::pair<const Format*, const Format*>> loaded_;
};

}  // namespace morvex
