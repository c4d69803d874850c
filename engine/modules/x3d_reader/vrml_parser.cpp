// VRML 2 and the encoding of X3D that looks like it.
#include <algorithm>
#include <optional>
#include <set>

#include "engine/modules/core/read_error.h"
#include "engine/modules/core/text_lines.h"
#include "engine/modules/x3d_reader/x3d_node.h"

namespace morvex {
namespace {

using std::string_view;

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == ',';
}

// The words of the text: names and numbers, strings with their quotes, and brackets.
class Words {
  public:
    explicit Words(string_view text) : text_(text) {}

    std::size_t Place() const { return at_; }
    void GoTo(std::size_t place) { at_ = place; }
    string_view Between(std::size_t from, std::size_t to) const { return text_.substr(from, to - from); }

    // Empty at the end.
    string_view Peek() const {
        Words ahead = *this;
        return ahead.Take();
    }
    string_view Take() {
        SkipBlanks();
        if (at_ == text_.size()) return {};
        const std::size_t start = at_;
        if (text_[at_] == '"') {
            SkipString();
        } else if (string_view("{}[]").find(text_[at_]) != string_view::npos) {
            ++at_;
        } else {
            at_ = std::min(text_.find_first_of(" \t\r\n,{}[]\"#", at_), text_.size());
        }
        return Between(start, at_);
    }
    void Expect(string_view word) {
        if (Take() != word) throw ReadError("A \"" + std::string(word) + "\" is missing in the file");
    }

  private:
    void SkipBlanks() {
        for (; at_ < text_.size() && (IsBlank(text_[at_]) || text_[at_] == '#'); ++at_) {
            if (text_[at_] != '#') continue;
            at_ = std::min(text_.find_first_of("\r\n", at_), text_.size());
            if (at_ == text_.size()) return;
        }
    }
    void SkipString() {
        for (++at_; at_ < text_.size() && text_[at_] != '"'; ++at_)
            if (text_[at_] == '\\') ++at_;
        if (at_ >= text_.size()) throw ReadError("A text of the file has no end");
        ++at_;
    }

    string_view text_;
    std::size_t at_ = 0;
};

bool IsName(string_view word) {
    return !word.empty() && string_view("{}[]\"+-.0123456789").find(word.front()) == string_view::npos;
}
bool IsValue(string_view word) {
    return word == "TRUE" || word == "FALSE" || word == "true" || word == "false" || word == "NULL";
}

class Parser {
  public:
    explicit Parser(string_view text) : words_(text) {}

    X3dFile Parse() {
        while (!words_.Peek().empty()) {
            if (SkipStatement()) continue;
            if (auto node = TakeNode()) file_.nodes.push_back(std::move(node));
        }
        return std::move(file_);
    }

  private:
    // What a field holds: text, or nodes.
    struct Value {
        string_view text;
        std::vector<X3dNodePointer> nodes;
    };
    using Fields = std::map<string_view, Value>;
    // A kind of node that the file defines: the defaults of its fields, and where its nodes stand.
    struct Prototype {
        Fields defaults;
        std::size_t body = 0;
        bool external = false;
    };

    // Statements that are no nodes.
    bool SkipStatement() {
        const string_view word = words_.Peek();
        if (word == "PROTO" || word == "EXTERNPROTO") {
            TakePrototype(word == "EXTERNPROTO");
        } else if (word == "ROUTE" || word == "IMPORT" || word == "EXPORT") {
            const int rest = word == "ROUTE" ? 4 : 2;  // "ROUTE a.b TO c.d", "IMPORT a.b", "EXPORT a"
            for (int at = 0; at < rest; ++at) words_.Take();
            if (word == "EXPORT" || word == "IMPORT") SkipAlias();
        } else if (word == "PROFILE" || word == "COMPONENT") {
            words_.Take(), words_.Take();
        } else if (word == "META") {
            words_.Take(), words_.Take(), words_.Take();
        } else if (word == "UNIT") {
            words_.Take();
            const bool length = words_.Take() == "length";
            words_.Take();  // its name
            const double metres = NumberIn(words_.Take()).value_or(0);
            if (length && metres > 0) file_.metres = metres;
        } else {
            return false;
        }
        return true;
    }
    void SkipAlias() {
        if (words_.Peek() == "AS") words_.Take(), words_.Take();
    }

    // Null for NULL.
    X3dNodePointer TakeNode() {
        if (++depth_ > kDeepestNode) throw ReadError("The nodes of the file are nested too deeply");
        if (++made_ > kMostNodes) throw ReadError("The file has too many nodes", ZEL_FAILED);
        std::string name;
        string_view word = words_.Take();
        X3dNodePointer node;
        if (word == "USE") {
            const auto found = named_.find(words_.Take());
            if (found == named_.end()) throw ReadError("A node is used that is not there");
            node = found->second;
        } else if (word != "NULL") {
            string_view defined;
            if (word == "DEF") {
                defined = words_.Take();
                word = words_.Take();
            }
            if (!IsName(word)) throw ReadError("A node of the file has no type");
            node = TakeBody(word, defined);
            if (!defined.empty()) named_[defined] = node;
        }
        --depth_;
        return node;
    }

    X3dNodePointer TakeBody(string_view type, string_view name) {
        words_.Expect("{");
        const auto prototype = prototypes_.find(type);
        if (prototype != prototypes_.end() && !prototype->second.external)
            return Instantiate(prototype->second, type, name);
        auto node = std::make_shared<X3dNode>();
        node->type = type;
        node->name = name;
        while (words_.Peek() != "}") {
            if (SkipStatement() || SkipInterface()) continue;
            const string_view field = TakeFieldName();
            const Value value = TakeValue();
            for (const X3dNodePointer& child : value.nodes) node->children.push_back({field, child});
            if (value.nodes.empty()) node->values[field] = value.text;
        }
        words_.Take();
        return node;
    }

    string_view TakeFieldName() {
        const string_view field = words_.Take();
        if (field.empty()) throw ReadError("The end of the file is missing");
        if (!IsName(field)) throw ReadError("A field of the file has no name");
        return field;
    }

    // The fields that a script adds to its node.
    bool SkipInterface() {
        static const std::set<string_view> kAccess{"eventIn",      "eventOut",       "field",
                                                   "exposedField", "initializeOnly", "inputOnly",
                                                   "outputOnly",   "inputOutput"};
        const string_view word = words_.Peek();
        if (!kAccess.contains(word)) return false;
        const std::size_t place = words_.Place();
        words_.Take();
        // Such words may be names of fields as well; a type comes behind them here.
        const string_view type = words_.Take();
        if (!type.starts_with("SF") && !type.starts_with("MF")) {
            words_.GoTo(place);
            return false;
        }
        TakeFieldName();
        const bool event =
            word == "eventIn" || word == "eventOut" || word == "inputOnly" || word == "outputOnly";
        if (!event || words_.Peek() == "IS") TakeValue();
        return true;
    }

    Value TakeValue() {
        Value value;
        const std::size_t start = words_.Place();
        const string_view first = words_.Peek();
        if (first == "IS") {
            words_.Take();
            const string_view outer = words_.Take();
            if (bindings_ == nullptr) return value;
            const auto bound = bindings_->find(outer);
            return bound == bindings_->end() ? value : bound->second;
        }
        if (first == "[") {
            words_.Take();
            TakeList(value);
        } else if (IsName(first) && !IsValue(first)) {
            if (auto node = TakeNode()) value.nodes.push_back(std::move(node));
        } else {
            if (first.empty() || first == "}" || first == "]" || first == "{")
                throw ReadError("A field of the file has no value");
            while (!words_.Peek().empty() && (IsValue(words_.Peek()) || IsPlain(words_.Peek())))
                words_.Take();
        }
        const string_view text = words_.Between(start, words_.Place());
        value.text = text.substr(std::min(text.find_first_not_of(" \t\r\n,"), text.size()));
        return value;
    }
    static bool IsPlain(string_view word) {
        return !IsName(word) && word != "{" && word != "}" && word != "[" && word != "]";
    }

    void TakeList(Value& value) {
        for (string_view word; (word = words_.Peek()) != "]";) {
            if (word.empty()) throw ReadError("The end of the file is missing");
            if (SkipStatement()) continue;
            if (IsName(word) && !IsValue(word)) {
                if (auto node = TakeNode()) value.nodes.push_back(std::move(node));
            } else if (word == "{" || word == "}" || word == "[") {
                throw ReadError("A list of the file has no end");
            } else {
                words_.Take();
            }
        }
        words_.Take();
    }

    void TakePrototype(bool external) {
        words_.Take();
        const string_view name = TakeFieldName();
        Prototype& prototype = prototypes_[name] = {};
        prototype.external = external;
        words_.Expect("[");
        while (words_.Peek() != "]") {
            const string_view access = TakeFieldName();
            words_.Take();  // the type
            const string_view field = TakeFieldName();
            const bool hasValue = !external && (access == "field" || access == "exposedField" ||
                                                access == "initializeOnly" || access == "inputOutput");
            if (hasValue) prototype.defaults[field] = TakeValue();
        }
        words_.Take();
        if (external) {
            TakeValue();  // where it is
            return;
        }
        prototype.body = words_.Place();
        words_.Expect("{");
        for (int open = 1; open > 0;) {
            const string_view word = words_.Take();
            if (word.empty()) throw ReadError("The end of the file is missing");
            open += word == "{" ? 1 : word == "}" ? -1 : 0;
        }
    }

    // The first node of a body is what an instance stands for; the text is read again for each of them, with
    // the values of its fields.
    X3dNodePointer Instantiate(const Prototype& prototype, string_view type, string_view name) {
        Fields fields = prototype.defaults;
        while (words_.Peek() != "}") {
            if (SkipStatement()) continue;
            const string_view field = TakeFieldName();
            fields[field] = TakeValue();
        }
        words_.Take();
        const std::size_t behind = words_.Place(), body = prototype.body;
        const Fields* const outer = bindings_;
        std::map<string_view, X3dNodePointer> names;  // those of the body are its own
        names.swap(named_);
        bindings_ = &fields;
        words_.GoTo(body);
        words_.Expect("{");
        while (SkipStatement()) {
        }
        X3dNodePointer node;
        if (words_.Peek() != "}") node = TakeNode();
        bindings_ = outer;
        named_ = std::move(names);
        words_.GoTo(behind);
        if (node == nullptr) throw ReadError("The prototype " + std::string(type) + " has no node");
        if (name.empty() && !node->name.empty()) return node;
        auto copy = std::make_shared<X3dNode>(*node);
        copy->name = name;
        return copy;
    }

    Words words_;
    X3dFile file_;
    std::map<string_view, X3dNodePointer> named_;
    std::map<string_view, Prototype> prototypes_;
    const Fields* bindings_ = nullptr;  // of the instance whose body is being read
    std::size_t depth_ = 0, made_ = 0;
};

}  // namespace

X3dFile ParseVrml(string_view text) {
    return Parser(text).Parse();
}

}  // namespace morvex
