#pragma once

#include <functional>

#include "win/drop_target.h"

namespace morvex {

// The drop target of the conversion list. It hands the dropped paths on and returns at once, so that the
// program they come from is not kept waiting while the user answers.
class CListOleDropTarget : public FileDropTarget {
  public:
    std::function<void(std::vector<std::wstring> paths, POINT screen)> dropped;

  protected:
    void OnDrop(std::vector<std::wstring> paths, POINT screen) override {
        if (dropped) dropped(std::move(paths), screen);
    }
};

}  // namespace morvex
