#include "engine/modules/scan/drawing_scan.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <zlib.h>

#include "engine/modules/scan/number_reader.h"

namespace morvex {
namespace {

using std::string_view;

// Which coordinate of the model a view shows to the right, and which upwards.
struct Shown {
    string_view view;
    std::size_t right, up;
};
constexpr Shown kShown[] = {{"FRONT", 0, 2}, {"TOP", 0, 1}, {"RIGHT", 1, 2}};

class ShownBox {
  public:
    // The points that follow are those of the view, which may be one that shows no coordinates.
    void Enter(string_view view) {
        const auto* const known = std::ranges::find(kShown, view, &Shown::view);
        shown_ = known == std::end(kShown) ? nullptr : known;
    }
    void Add(double right, double up) {
        if (shown_ == nullptr) return;
        Extend(shown_->right, right);
        Extend(shown_->up, up);
    }
    void AddLine() { ++lines_; }

    WrittenFacts Facts() const {
        WrittenFacts facts;
        facts.box = box_;
        facts.lines = lines_;
        return facts;
    }

  private:
    void Extend(std::size_t axis, double value) {
        box_.low[axis] = std::min(box_.low[axis], value);
        box_.high[axis] = std::max(box_.high[axis], value);
    }

    const Shown* shown_ = nullptr;
    Extent box_;
    std::int64_t lines_ = 0;
};

string_view LineOf(string_view text) {
    return text.substr(0, text.find('\n'));
}

// Each view is a block; a line has its points as groups 10 and 20 behind the count.
WrittenFacts ScanDxf(string_view text) {
    constexpr string_view kBlock = "\nAcDbBlockBegin\n2\n", kLine = "\nAcDbPolyline\n90\n",
                          kEnd = "\nAcDbBlockEnd\n";
    ShownBox box;
    for (std::size_t at = 0; (at = text.find("\nAcDb", at)) != string_view::npos; ++at) {
        const string_view rest = text.substr(at);
        if (rest.starts_with(kBlock)) box.Enter(LineOf(rest.substr(kBlock.size())));
        if (rest.starts_with(kEnd)) box.Enter("");
        if (!rest.starts_with(kLine)) continue;
        NumberReader reader(rest.substr(kLine.size()));
        double count = 0, code = 0, right = 0, up = 0;
        reader.Read(count);
        reader.Skip(2);
        box.AddLine();
        for (; count > 0 && reader.Read(code) && reader.Read(right) && reader.Read(code) && reader.Read(up);
             --count)
            box.Add(right, up);
    }
    return box.Facts();
}

// The page is packed; the size that it then has is told with it.
std::string PageOf(string_view pdf) {
    constexpr string_view kSize = "/DL ", kStream = ">>\nstream\n";
    constexpr double kMostGain = 1100;  // of the packing
    std::string page;
    const std::size_t size = pdf.find(kSize), start = pdf.find(kStream, size);
    double number = 0;
    if (start == string_view::npos || !NumberReader(pdf.substr(size + kSize.size())).Read(number))
        return page;
    const string_view packed = pdf.substr(start + kStream.size());
    if (!(number <= static_cast<double>(packed.size()) * kMostGain)) return page;
    auto done = static_cast<uLongf>(number);
    page.resize(done);
    if (uncompress(reinterpret_cast<Bytef*>(page.data()), &done,
                   reinterpret_cast<const Bytef*>(packed.data()), static_cast<uLong>(packed.size())) != Z_OK)
        page.clear();
    return page;
}

// "%view NAME x y", its lines as "x y m x y l S" from that corner, and "%end".
WrittenFacts ScanPdf(string_view bytes) {
    const std::string page = PageOf(bytes);
    ShownBox box;
    double left = 0, bottom = 0;
    for (string_view text = page; !text.empty();) {
        constexpr string_view kView = "%view ";
        string_view line = LineOf(text);
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        if (line.starts_with('%')) {
            line.remove_prefix(line.starts_with(kView) ? kView.size() : line.size());
            const string_view name = line.substr(0, line.find(' '));
            box.Enter(name);
            NumberReader corner(line.substr(name.size()));
            if (!corner.Read(left) || !corner.Read(bottom)) left = bottom = 0;
        }
        if (!line.ends_with(" S")) continue;
        box.AddLine();
        NumberReader reader(line);
        for (double right = 0, up = 0; reader.Read(right) && reader.Read(up);)
            box.Add(left + right, bottom + up);
    }
    return box.Facts();
}

template <class Number>
Number NumberAt(string_view bytes, std::size_t at) {
    Number number{};
    if (at + sizeof number <= bytes.size()) std::memcpy(&number, bytes.data() + at, sizeof number);
    return number;
}

// A comment before each view says its name, the model's millimetres to a unit, and where the model's zero is.
WrittenFacts ScanEmf(string_view bytes) {
    constexpr std::uint32_t kPolyline = 4, kComment = 70;
    constexpr std::size_t kRecordHead = 8, kName = 16, kPoints = 28;
    ShownBox box;
    double unit = 0, right = 0, up = 0;
    while (bytes.size() >= kRecordHead) {
        const auto type = NumberAt<std::uint32_t>(bytes, 0), size = NumberAt<std::uint32_t>(bytes, 4);
        const string_view record = bytes.substr(0, size);
        if (size < kRecordHead) break;
        bytes.remove_prefix(record.size());
        if (type == kComment && record.substr(12).starts_with("View")) {
            const string_view name = record.substr(16, kName);
            box.Enter(name.substr(0, name.find('\0')));
            unit = NumberAt<double>(record, 32), right = NumberAt<double>(record, 40),
            up = NumberAt<double>(record, 48);
        } else if (type == kPolyline) {
            box.AddLine();
            for (std::size_t at = kPoints; at + 8 <= record.size(); at += 8)
                box.Add((NumberAt<std::int32_t>(record, at) - right) * unit,
                        (up - NumberAt<std::int32_t>(record, at + 4)) * unit);
        }
    }
    return box.Facts();
}

}  // namespace

WrittenFacts ScanDrawing(FormatId format, string_view bytes) {
    switch (format) {
        case FormatId::DxfDrawing:
            return ScanDxf(bytes);
        case FormatId::PdfDrawing:
            return ScanPdf(bytes);
        default:
            return ScanEmf(bytes);
    }
}

}  // namespace morvex
