// The text of a STEP file and the instances in it as they stand there, before any library has read them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace morvex {

using StepId = std::uint64_t;  // of an instance; 0: none

struct StepInstance {
    StepId id = 0;
    std::string_view type;    // empty when the instance has several types
    std::string_view values;  // between the outer brackets; "A(..)B(..)" when there are several types

    bool Is(std::string_view name) const;
    // The values that belong to a type the instance has; empty when it has not.
    std::string_view ValuesOf(std::string_view name) const;
};

// Views into `text`, which has to outlive the scan.
class StepScan {
  public:
    explicit StepScan(std::string_view text);

    const std::vector<StepInstance>& Instances() const { return instances_; }
    // The first one of that number; null when there is none.
    const StepInstance* Find(std::uint64_t id) const;

    // Statements that are no instances, and numbers given again to something else.
    std::int64_t Broken() const { return broken_; }
    bool HasEnd() const { return hasEnd_; }
    // From the first word of STEP to the end of the header; empty when it has none.
    std::string_view Head() const { return headEnd_ > begin_ ? text_.substr(begin_, headEnd_ - begin_) : ""; }

    // Makes of the scanned text one that has what older readers know: a header and one section of data.
    // `text` is the start of what was scanned.
    void Simplify(char* text) const;

  private:
    enum class Section { None, Header, Data, Other };
    void TakeStatement(std::size_t start, std::size_t end);
    bool TakeInstance(std::string_view statement);  // false when it is not whole
    void TakeWord(std::size_t start, std::size_t end);

    std::string_view text_;
    std::vector<StepInstance> instances_;
    std::unordered_map<std::uint64_t, std::size_t> places_;
    std::int64_t broken_ = 0;
    Section section_ = Section::None;
    bool hasEnd_ = false;
    struct Span {
        std::size_t start, end;
    };
    std::size_t begin_ = 0;    // of what is STEP in the text
    std::size_t headEnd_ = 0;  // behind the header
    std::vector<Span> data_;   // the contents of the sections of data
    std::vector<Span> unreadable_;
    std::vector<std::size_t> unclosed_;  // ends of statements without a semicolon
};

// The values at the top level of a list, without blanks around them.
std::vector<std::string_view> StepValues(std::string_view list);
// Without the brackets around it, if it has such.
std::string_view StepList(std::string_view value);
// The number of "#12"; 0 when the value is no reference.
std::uint64_t StepReference(std::string_view value);
// All numbers referred to, at any depth.
std::vector<std::uint64_t> StepReferences(std::string_view values);
// Text without its quotes, doubled ones undone. Escapes stay as they are.
std::string StepString(std::string_view value);
// Numbers of a list, at any depth. Stops at the first that is none.
std::vector<double> StepNumbers(std::string_view values);

}  // namespace morvex
