// PDF: one page, whose lines are in millimetres.
#include <array>
#include <zlib.h>

#include "engine/common/text.h"
#include "engine/modules/drawing/sheet.h"
#include "engine/modules/scene/text_file.h"

namespace morvex {
namespace {

constexpr double kPointsPerMillimetre = 72 / 25.4;

// A text of the one-byte encoding of Western Europe. What it does not have is a question mark.
std::string PdfText(std::string_view utf8) {
    std::string text;
    while (!utf8.empty()) {
        const char32_t character = TakeCharacter(utf8);
        const bool known = (character >= ' ' && character < 127) || (character >= 160 && character < 256);
        if (character == '(' || character == ')' || character == '\\') text += '\\';
        text += known ? static_cast<char>(character) : '?';
    }
    return text;
}

class PdfPage {
  public:
    explicit PdfPage(int decimals) : page_(decimals) {}

    std::string Make(const Sheet& sheet) {
        page_ << "1 J 1 j " << kPointsPerMillimetre << " 0 0 " << kPointsPerMillimetre << " 0 0 cm\n";
        Lines(sheet.frame, Pen::Frame, 1);
        for (const SheetView& view : sheet.views) {
            // Coordinates are the model's, from the corner of the view: readers have single precision.
            const Point2d& corner = view.low;
            page_ << "q " << sheet.scale << " 0 0 " << sheet.scale << " "
                  << view.origin[0] + sheet.scale * corner[0] << " "
                  << view.origin[1] + sheet.scale * corner[1] << " cm\n%view " << view.name << " "
                  << corner[0] << " " << corner[1] << "\n";
            Lines(view.lines.hidden, Pen::Hidden, sheet.scale, corner);
            Lines(view.lines.visible, Pen::Visible, sheet.scale, corner);
            page_ << "%end\nQ\n";
        }
        constexpr double kHeightOfCapitals = 0.718;  // in Helvetica of size 1
        for (const SheetText& text : sheet.texts) {
            page_ << "BT /F1 " << text.height / kHeightOfCapitals << " Tf " << text.at[0] << " " << text.at[1]
                  << " Td (" << PdfText(text.text) << ") Tj ET\n";
        }
        return page_.Text();
    }

  private:
    void Lines(const std::vector<Polyline>& lines, Pen pen, double scale, const Point2d& from = {}) {
        page_ << kPenWidths[static_cast<std::size_t>(pen)] / scale << " w ";
        if (pen == Pen::Hidden) {
            page_ << "[" << kDash / scale << " " << kDashGap / scale << "] 0 d\n";
        } else {
            page_ << "[] 0 d\n";
        }
        for (const Polyline& line : lines) {
            const char* mark = " m ";
            for (const Point2d& point : line) {
                page_.Coordinate(point[0] - from[0]) << " ";
                page_.Coordinate(point[1] - from[1]) << mark;
                mark = " l ";
            }
            page_ << "S\n";
        }
    }

    TextFile page_;
};

std::string Packed(const std::string& bytes) {
    uLongf size = compressBound(static_cast<uLong>(bytes.size()));
    std::string packed(size, '\0');
    compress(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(bytes.data()),
             static_cast<uLong>(bytes.size()));
    packed.resize(size);
    return packed;
}

// Five objects and the table of where they begin.
std::string PdfFile(const std::string& page) {
    const std::string packed = Packed(page);
    TextFile size(3);
    size << Sheet::kWidth * kPointsPerMillimetre << " " << Sheet::kHeight * kPointsPerMillimetre;
    const std::string objects[] = {
        "<</Type/Catalog/Pages 2 0 R>>", "<</Type/Pages/Kids[3 0 R]/Count 1>>",
        "<</Type/Page/Parent 2 0 R/MediaBox[0 0 " + size.Text() +
            "]/Contents 4 0 R/Resources<</Font<</F1 5 0 R>>>>>>",
        "<</Filter/FlateDecode/Length " + std::to_string(packed.size()) + "/DL " +
            std::to_string(page.size()) + ">>\nstream\n" + packed + "\nendstream",
        "<</Type/Font/Subtype/Type1/BaseFont/Helvetica/Encoding/WinAnsiEncoding>>"};
    std::string file = "%PDF-1.5\n%\xe2\xe3\xcf\xd3\n", table = "0000000000 65535 f \n";
    for (std::size_t at = 0; at < std::size(objects); ++at) {
        char entry[32];
        std::snprintf(entry, sizeof entry, "%010zu 00000 n \n", file.size());
        table += entry;
        file += std::to_string(at + 1) + " 0 obj\n" + objects[at] + "\nendobj\n";
    }
    const std::string count = std::to_string(std::size(objects) + 1), start = std::to_string(file.size());
    return file + "xref\n0 " + count + "\n" + table + "trailer\n<</Size " + count +
           "/Root 1 0 R>>\nstartxref\n" + start + "\n%%EOF\n";
}

}  // namespace

extern "C" Outcome WritePdfDrawing(JobContext& context) {
    Sheet sheet;
    Outcome outcome = DrawSheet(context, sheet);
    if (!outcome.IsOk()) return outcome;
    OutputFile file(context.file);
    file.Write(PdfFile(PdfPage(context.settings.decimals).Make(sheet)));
    return Written(file.Close());
}

}  // namespace morvex
