// A DXF text as its groups: a code that says what follows, and a value, a line each.
#pragma once

#include <cstdint>
#include <gp_XYZ.hxx>
#include <string_view>
#include <vector>

namespace morvex {

struct DxfGroup {
    int code;
    std::string_view value;  // without blanks around it

    // Throw ReadError when the value is no such number.
    double Number() const;
    std::int64_t Whole() const;
};

// The groups of an entity, a table entry, or the like: from one with code 0 to the next.
struct DxfRecord {
    std::string_view type;
    std::vector<DxfGroup> groups;

    // Of the first group with that code.
    std::string_view Text(int code) const;
    double Number(int code, double otherwise) const;
    std::int64_t Whole(int code, std::int64_t otherwise) const;
    // From the codes `code`, `code` + 10 and `code` + 20.
    gp_XYZ Point(int code, const gp_XYZ& otherwise = gp_XYZ()) const;
    bool Has(int code) const;
};

// Goes through the records of the text, which has to outlive it.
class DxfText {
  public:
    explicit DxfText(std::string_view text) : rest_(text) { TakeGroup(); }

    // False at the end of the text. Throws ReadError where a code is no number.
    bool Next(DxfRecord& record);
    std::size_t Line() const { return line_; }  // up to which the text has been taken

  private:
    void TakeGroup();

    std::string_view rest_;
    std::size_t line_ = 0;
    DxfGroup ahead_{};
    bool atEnd_ = false;
};

}  // namespace morvex
