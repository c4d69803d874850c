// The tags of an XML file, as much of XML as formats of geometry take.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace morvex {

struct XmlTag {
    std::string_view name;
    std::vector<std::pair<std::string_view, std::string_view>> attributes;  // as written
    bool ends = false, empty = false;                                       // "</name>", "<name/>"

    // Empty when there is no such attribute.
    std::string_view Value(std::string_view attribute) const;
    // Without the prefix of its namespace.
    std::string_view LocalName() const { return name.substr(name.find(':') + 1); }
};

// The tags one after the other, whatever stands between them; declarations are passed over.
class XmlTags {
  public:
    // Views into the text.
    explicit XmlTags(std::string_view text) : rest_(text) {}

    // Nothing at the end. Throws ReadError where a tag makes no sense.
    std::optional<XmlTag> Take();

  private:
    void SkipBehind(std::string_view end);
    void SkipDeclaration();
    void SkipBlanks();
    XmlTag TakeTag();
    std::string_view TakeName();
    std::string_view TakeQuoted();

    std::string_view rest_;
};

// With the predefined entities and the numbers of characters put in.
std::string XmlUnescaped(std::string_view text);

}  // namespace morvex
