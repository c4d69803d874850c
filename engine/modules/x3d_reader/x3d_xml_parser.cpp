// X3D as XML.
#include <algorithm>

#include "engine/modules/core/read_error.h"
#include "engine/modules/core/text_lines.h"
#include "engine/modules/core/xml_tags.h"
#include "engine/modules/x3d_reader/x3d_node.h"

namespace morvex {
namespace {

using std::string_view;

class Parser {
  public:
    explicit Parser(string_view text) : tags_(text) {}

    // The children of the element "Scene".
    X3dFile Parse() {
        X3dFile file;
        std::vector<string_view> open;
        while (const auto tag = tags_.Take()) {
            if (tag->ends) {
                if (open.empty() || open.back() != tag->name)
                    throw ReadError("Tags of the file do not match");
                open.pop_back();
            } else if (std::ranges::find(open, "Scene") != open.end()) {
                file.nodes.push_back(TakeNode(*tag));
            } else {
                if (tag->name == "unit" && tag->Value("category") == "length") {
                    const double metres = NumberIn(tag->Value("conversionFactor")).value_or(0);
                    if (metres > 0) file.metres = metres;
                }
                if (!tag->empty) open.push_back(tag->name);
            }
        }
        if (!open.empty()) throw ReadError("The end of the file is missing");
        return file;
    }

  private:
    X3dNodePointer TakeNode(const XmlTag& tag) {
        if (++depth_ > kDeepestNode) throw ReadError("The nodes of the file are nested too deeply");
        X3dNodePointer node;
        if (const string_view used = tag.Value("USE"); !used.empty()) {
            const auto found = named_.find(used);
            if (found == named_.end()) throw ReadError("A node is used that is not there");
            node = found->second;
            if (!tag.empty) TakeChildren(tag.name, nullptr);
        } else {
            auto made = std::make_shared<X3dNode>();
            made->type = tag.name;
            made->name = XmlUnescaped(tag.Value("DEF"));
            for (const auto& [attribute, value] : tag.attributes) made->values[attribute] = Trimmed(value);
            if (!tag.empty) TakeChildren(tag.name, made.get());
            node = std::move(made);
            if (!node->name.empty()) named_[tag.Value("DEF")] = node;
        }
        --depth_;
        return node;
    }

    void TakeChildren(string_view name, X3dNode* parent) {
        for (;;) {
            const auto tag = tags_.Take();
            if (!tag) throw ReadError("The end of the file is missing");
            if (tag->ends) {
                if (tag->name != name) throw ReadError("Tags of the file do not match");
                return;
            }
            const X3dNodePointer child = TakeNode(*tag);
            if (parent != nullptr) parent->children.push_back({tag->Value("containerField"), child});
        }
    }

    XmlTags tags_;
    std::map<string_view, X3dNodePointer> named_;
    std::size_t depth_ = 0;
};

}  // namespace

X3dFile ParseX3dXml(string_view text) {
    return Parser(text).Parse();
}

}  // namespace morvex
