// OFF. The format says nothing of units and axes: millimetres and Z up are taken for granted.
#include <cmath>

#include "engine/modules/core/context.h"
#include "engine/modules/core/input_bytes.h"
#include "engine/modules/core/read_error.h"
#include "engine/modules/core/text_lines.h"
#include "engine/modules/polygon_reader/one_mesh.h"

namespace morvex {
namespace {

using std::string_view;

class OffMesh {
  public:
    explicit OffMesh(string_view text) : text_(text) {
        ReadKind();
        const std::uint64_t points = TakeCount(), faces = TakeCount();
        if (!Trimmed(line_).empty()) TakeCount();  // of the edges, which some leave out
        // "0 0 0" and the end of the line, "3 0 1 2" and the end of the line.
        if (points > (text_.size() + 1) / 6 || faces > (text_.size() + 1) / 6)
            throw ReadError("The header announces more than the file holds");
        for (std::uint64_t at = 0; at < points; ++at) ReadPoint();
        for (std::uint64_t at = 0; at < faces; ++at) ReadFace();
        if (SkipToLine()) throw ReadError("The file holds more than its header announces");
    }

    PolygonMesh mesh;
    std::int64_t polygons = 0, flat = 0;  // with fewer than three corners

  private:
    // The next line with something in it besides a comment becomes the current one.
    bool SkipToLine() {
        while (const auto line = TakeLine(text_)) {
            line_ = Trimmed(line->substr(0, line->find('#')));
            if (!line_.empty()) return true;
        }
        return false;
    }
    void NextLine() {
        if (!SkipToLine()) throw ReadError("The end of the file is missing");
    }

    // "OFF", with letters before it for what the points have besides coordinates.
    void ReadKind() {
        NextLine();
        string_view kind = TakeWord(line_);
        if (!kind.ends_with("OFF")) throw ReadError("The file does not say what it is");
        kind.remove_suffix(3);
        const auto takes = [&](string_view letters) {
            const bool there = kind.starts_with(letters);
            if (there) kind.remove_prefix(letters.size());
            return there;
        };
        takes("ST");  // behind all else
        coloured_ = takes("C");
        normals_ = takes("N");
        if (!kind.empty() || Trimmed(line_).starts_with("BINARY"))
            throw ReadError("This kind of OFF is not supported", ZEL_VERSION);
    }

    std::uint64_t TakeCount() {
        if (Trimmed(line_).empty()) NextLine();
        const auto count = NumberIn(TakeWord(line_));
        if (!count || !(*count >= 0 && *count < UINT32_MAX) || *count != std::floor(*count))
            throw ReadError("A count is none");
        return static_cast<std::uint64_t>(*count);
    }

    double TakeNumber() {
        const auto number = NumberIn(TakeWord(line_));
        if (!number) throw ReadError("A value is missing or no number");
        return *number;
    }

    // Whole numbers go to 255, others to 1. None when there are fewer than three.
    std::optional<VertexColour> TakeColour() {
        VertexColour colour{0, 0, 0, 1};
        const bool whole = line_.find('.') == string_view::npos;
        std::size_t at = 0;
        for (string_view word; at < colour.size() && !(word = TakeWord(line_)).empty(); ++at) {
            const auto number = NumberIn(word);
            if (!number) throw ReadError("A colour is no number");
            colour[at] = static_cast<float>(whole ? *number / 255 : *number);
        }
        return at < 3 ? std::nullopt : std::optional(colour);
    }

    void ReadPoint() {
        NextLine();
        const double x = TakeNumber(), y = TakeNumber(), z = TakeNumber();
        mesh.points.emplace_back(x, y, z);
        if (normals_) {
            const double nx = TakeNumber(), ny = TakeNumber(), nz = TakeNumber();
            mesh.normals.push_back({static_cast<float>(nx), static_cast<float>(ny), static_cast<float>(nz)});
        }
        if (coloured_) mesh.colours.push_back(TakeColour().value_or(VertexColour{1, 1, 1, 1}));
    }

    void ReadFace() {
        NextLine();
        const std::uint64_t count = TakeCount();
        std::vector<std::uint32_t> corners;
        for (std::uint64_t at = 0; at < count; ++at) {
            const double corner = TakeNumber();
            if (!(corner >= 0 && corner < UINT32_MAX))
                throw ReadError("A polygon has a corner that is not there");
            corners.push_back(static_cast<std::uint32_t>(corner));
        }
        ++polygons;
        flat += !mesh.AddPolygon(corners, TakeColour());
    }

    string_view text_, line_;
    bool coloured_ = false, normals_ = false;
};

}  // namespace

extern "C" Outcome ReadOff(JobContext& context) {
    const InputBytes bytes(context.file);
    const OffMesh file(bytes.View());
    AddOneMesh(context, file.mesh, file.polygons, file.flat);
    return Outcome::Ok();
}

}  // namespace morvex
