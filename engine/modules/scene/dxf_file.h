// A DXF file of the release of 2007, the first one whose texts are UTF-8: tables, blocks and entities, with
// the handles that readers want.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "engine/modules/scene/text_file.h"

namespace morvex {

struct DxfLayer {
    std::string name;
    int rgb;  // 0xRRGGBB; -1: black on white, white on black
    bool isDashed;
    int lineWeight = -3;  // in 1/100 mm; -3: what is usual
};

class DxfFile {
  public:
    DxfFile(const std::filesystem::path& path, int decimals) : file_(path, decimals) {}

    // Writes what stands before the blocks. `blocks` are the names of all blocks that follow, each once.
    // Dashes are 3 mm long, times `dashScale`.
    void Begin(const std::vector<DxfLayer>& layers, const std::vector<std::string>& blocks,
               double dashScale = 1);
    // The next block, which `contents` fills with entities.
    void Block(const std::function<void()>& contents);
    // Behind the last block: the model itself. Further entities go there.
    void BeginEntities();
    // False when anything since the opening has failed.
    bool End();

    // The groups that every entity begins with; its own follow.
    DxfFile& Entity(const char* type, const std::string& layer, const char* subclass, double opacity = 1);
    DxfFile& Group(int code, std::string_view text);
    DxfFile& Group(int code, int number) { return Group(code, std::to_string(number)); }
    DxfFile& Group(int code, double number);
    // The groups code, code + 10 and code + 20.
    DxfFile& Point(int code, double x, double y, double z);

    // Such characters as no name may have become "_".
    static std::string NameOf(const std::string& text);

  private:
    static constexpr int kModel = 0x10, kPaper = 0x11, kFirstBlock = 0x1000000;

    DxfFile& Id(int code, int handle);
    static int BlockHandle(std::size_t number);
    void Header(double dashScale);
    // `owner` is the table's own handle.
    void OpenTable(const char* name, int handle, std::size_t count);
    DxfFile& Record(const char* type, const char* table, const char* subclass, int handle);
    void LineType(const char* name, int handle, const std::vector<double>& dashes);
    void Layers(const std::vector<DxfLayer>& layers);
    void BlockRecords();
    void BlockEnds(const std::string& name, int record, const std::function<void()>& contents);

    TextFile file_;
    std::vector<std::string> blocks_;
    std::size_t blocksDone_ = 0;
    int owner_ = kModel;  // of the entities that are written
    int next_ = 0;        // handle
};

}  // namespace morvex
