#include "engine/modules/step/step_parser.h"

#include <StepData_FileRecognizer.hxx>
#include <StepData_Protocol.hxx>
#include <StepData_StepModel.hxx>
#include <StepData_StepReaderData.hxx>
#include <StepData_StepReaderTool.hxx>
#include <array>
#include <cstring>
#include <deque>
#include <limits>
#include <string>
#include <vector>

namespace morvex {
namespace {

enum Letter : unsigned char { kDigit = 1, kUpper = 2, kWord = 4, kBlank = 8 };

constexpr auto kLetters = [] {
    std::array<unsigned char, 256> letters{};
    for (int c = '0'; c <= '9'; ++c) letters[static_cast<std::size_t>(c)] = kDigit | kWord;
    for (int c = 'A'; c <= 'Z'; ++c) letters[static_cast<std::size_t>(c)] = kUpper | kWord;
    for (int c = 'a'; c <= 'z'; ++c) letters[static_cast<std::size_t>(c)] = kWord;
    letters['_'] = kUpper | kWord;
    for (const char c : {' ', '\t', '\r', '\n'}) letters[static_cast<unsigned char>(c)] = kBlank;
    return letters;
}();

bool Is(char c, int kinds) {
    return (kLetters[static_cast<unsigned char>(c)] & kinds) != 0;
}

// What the library's reader is given: an entity, or a part of one of several types, and each list within it,
// lists first. All texts end with a NUL.
struct StepRecords {
    struct Parameter {
        const char* value;
        Interface_ParamType type;
    };
    struct Record {
        const char *ident, *type;
        std::size_t end;  // of its parameters
    };
    std::vector<Record> records;
    std::vector<Parameter> parameters;
    std::size_t header = 0;              // records that belong to it
    std::deque<std::string> listIdents;  // the n-th list of an entity is "$n"
};

// Takes what sound files consist of; anything else is for the library.
class StepTextParser {
  public:
    // The texts of the records lie in `text`, and come to their NULs there.
    StepTextParser(std::string& text, StepRecords& records) : at_(text.data()), records_(records) {}

    bool Parse() {
        if (!Skip() || !TakeKeyword("ISO-10303-21;") || !TakeKeyword("HEADER;")) return false;
        for (; Is(*at_, kWord) && !StartsWith("ENDSEC;");) {
            if (!TakeTyped("#0") || !TakeSign(';')) return false;
        }
        if (!TakeKeyword("ENDSEC;") || !TakeKeyword("DATA;")) return false;
        records_.header = records_.records.size();
        while (*at_ == '#') {
            if (!TakeInstance()) return false;
        }
        return records_.records.size() > records_.header && TakeKeyword("ENDSEC;") &&
               StartsWith("END-ISO-10303-21;");
    }

  private:
    struct Open {
        const char *ident, *type;
        std::size_t start;  // of its parameters among those that wait
    };

    bool StartsWith(const char* text) const { return std::strncmp(at_, text, std::strlen(text)) == 0; }
    // Blanks and comments. False when a comment has no end.
    bool Skip() {
        for (;;) {
            while (Is(*at_, kBlank)) ++at_;
            if (at_[0] != '/' || at_[1] != '*') return true;
            const char* const end = std::strstr(at_, "*/");
            if (end == nullptr) return false;
            at_ += end + 2 - at_;
        }
    }
    bool TakeKeyword(const char* text) {
        if (!StartsWith(text)) return false;
        at_ += std::strlen(text);
        return Skip();
    }
    bool TakeSign(char sign) {
        if (*at_ != sign) return false;
        ++at_;
        return Skip();
    }

    bool TakeInstance() {
        const char* const ident = at_++;
        if (!TakeDigits()) return false;
        char* const end = at_;
        while (*at_ == ' ' || *at_ == '\t') ++at_;
        if (!TakeSign('=')) return false;
        *end = '\0';
        if (*at_ != '(') return TakeTyped(ident) && TakeSign(';');
        if (!TakeSign('(') || !TakeTyped(ident)) return false;
        while (Is(*at_, kWord)) {
            if (!TakeTyped("#0")) return false;
        }
        return TakeSign(')') && TakeSign(';');
    }

    bool TakeDigits() {
        const char* const start = at_;
        while (Is(*at_, kDigit)) ++at_;
        return at_ > start && at_ - start < 10;
    }

    // TYPE(..)
    bool TakeTyped(const char* ident) {
        lists_ = 0;
        const char* const type = at_;
        if (!TakeType()) return false;
        open_.push_back({ident, type, waiting_.size()});
        return TakeOpenLists();
    }
    // A word, which gets its end, and the bracket behind it.
    bool TakeType() {
        if (!Is(*at_, kWord) || Is(*at_, kDigit)) return false;
        while (Is(*at_, kWord)) ++at_;
        char* const end = at_;
        if (!Skip() || *at_ != '(') return false;
        *end = '\0';
        return Enter();
    }
    bool Enter() {
        ++at_;
        ++lists_;
        return Skip();
    }

    // From behind the first bracket to behind the one that closes it.
    bool TakeOpenLists() {
        for (bool isNew = true;;) {
            char sign = ')';
            if (isNew && *at_ == ')') {
                ++at_;
            } else if (*at_ == '(' || (Is(*at_, kWord) && !Is(*at_, kDigit))) {
                if (!OpenList()) return false;
                isNew = true;
                continue;
            } else if (!TakeValue(sign)) {
                return false;
            }
            for (;; ++at_) {
                if (!Skip()) return false;
                if (sign == ',') break;
                Close();
                if (open_.empty()) return true;
                sign = *at_;
                if (sign != ',' && sign != ')') return false;
            }
            isNew = false;
        }
    }

    bool OpenList() {
        constexpr std::size_t kDeepest = 100;
        const char* const ident = SubIdent(lists_);
        const bool plain = *at_ == '(';
        const char* const type = plain ? "/* (SUB) */" : at_;
        if (plain ? !Enter() : !TakeType()) return false;
        open_.push_back({ident, type, waiting_.size()});
        return open_.size() < kDeepest;
    }

    void Close() {
        const Open list = open_.back();
        open_.pop_back();
        const auto first = waiting_.begin() + static_cast<std::ptrdiff_t>(list.start);
        records_.parameters.insert(records_.parameters.end(), first, waiting_.end());
        waiting_.erase(first, waiting_.end());
        records_.records.push_back({list.ident, list.type, records_.parameters.size()});
        if (!open_.empty()) waiting_.push_back({list.ident, Interface_ParamSub});
    }

    const char* SubIdent(std::size_t number) {
        auto& idents = records_.listIdents;
        while (idents.size() <= number) idents.push_back('$' + std::to_string(idents.size()));
        return idents[number].c_str();
    }

    // A value and the comma or bracket behind it. The letter behind the value becomes its end.
    bool TakeValue(char& sign) {
        const char* const value = at_;
        Interface_ParamType type = Interface_ParamVoid;
        if (!FindEnd(type)) return false;
        char* const end = at_;
        if (!Skip()) return false;
        sign = *at_++;
        *end = '\0';
        waiting_.push_back({value, type});
        return sign == ',' || sign == ')';
    }

    bool FindEnd(Interface_ParamType& type) {
        switch (*at_) {
            case '\'':
                type = Interface_ParamText;
                return FindEndOfText();
            case '#':
                type = Interface_ParamIdent;
                ++at_;
                return TakeDigits();
            case '$':
            case '*':
                type = *at_++ == '$' ? Interface_ParamVoid : Interface_ParamMisc;
                return true;
            case '.':
                type = Interface_ParamEnum;
                if (!Is(*++at_, kUpper)) return false;
                while (Is(*at_, kUpper | kDigit)) ++at_;
                return *at_++ == '.';
            default:
                return FindEndOfNumber(type);
        }
    }

    bool FindEndOfText() {
        for (;;) {
            at_ = std::strchr(at_ + 1, '\'');
            if (at_ == nullptr) return false;
            if (at_[1] != '\'') break;
            // Two quotes are one in the text. The library takes them for the end where that could be.
            ++at_;
            const char next = at_[1 + std::strspn(at_ + 1, "\" \r\n")];
            if (next == ',' || next == ')') return false;
        }
        ++at_;
        return true;
    }

    bool FindEndOfNumber(Interface_ParamType& type) {
        type = Interface_ParamInteger;
        at_ += *at_ == '-' || *at_ == '+';
        const char* const start = at_;
        while (Is(*at_, kDigit)) ++at_;
        auto digits = at_ - start;
        if (*at_ == '.') {
            type = Interface_ParamReal;
            for (++at_; Is(*at_, kDigit); ++at_) ++digits;
            if (*at_ == 'E') {
                ++at_;
                at_ += *at_ == '-' || *at_ == '+';
                if (!Is(*at_, kDigit)) return false;
                while (Is(*at_, kDigit)) ++at_;
            }
        }
        return digits > 0;
    }

    char* at_;  // the text ends with a NUL
    StepRecords& records_;
    std::vector<Open> open_;
    std::vector<StepRecords::Parameter> waiting_;  // of the lists that are open
    std::size_t lists_ = 0;                        // of the entity so far
};

}  // namespace

bool ParseStepText(std::string_view text, const char* name, const Handle(XSControl_WorkSession) & session) {
    const auto protocol = Handle(StepData_Protocol)::DownCast(session->Protocol());
    if (protocol.IsNull() || text.size() >= std::numeric_limits<int>::max()) return false;
    std::string own(text);
    StepRecords records;
    if (!StepTextParser(own, records).Parse()) return false;

    const Handle(StepData_StepModel) model = new StepData_StepModel;
    const Handle(StepData_StepReaderData) data = new StepData_StepReaderData(
        static_cast<int>(records.header), static_cast<int>(records.records.size()),
        static_cast<int>(records.parameters.size()), model->SourceCodePage());
    std::size_t parameter = 0;
    for (int number = 1; number <= static_cast<int>(records.records.size()); ++number) {
        const StepRecords::Record& record = records.records[static_cast<std::size_t>(number) - 1];
        data->SetRecord(number, record.ident, record.type, parameter < record.end);
        for (; parameter < record.end; ++parameter)
            data->AddStepParam(number, records.parameters[parameter].value,
                               records.parameters[parameter].type);
        data->InitParams(number);
    }
    StepData_StepReaderTool tool(data, protocol);
    tool.SetErrorHandle(Standard_True);
    const Handle(StepData_FileRecognizer) byLibrary;
    tool.PrepareHeader(byLibrary);
    tool.Prepare(byLibrary);
    tool.LoadModel(model);
    if (model->Protocol().IsNull()) model->SetProtocol(protocol);
    tool.Clear();
    session->SetModel(model);
    session->SetLoadedFile(name);
    session->InitTransferReader(4);
    return true;
}

}  // namespace morvex
