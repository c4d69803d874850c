#include "win/access_keys.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <vector>

#include "win/controls.h"

namespace morvex {
namespace {

constexpr wchar_t kLatin[] = L"ABCDEFGHIJKLMNOPQRSTUVWXYZ";

bool IsLatin(wchar_t c) {
    return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z');
}
bool IsCyrillic(wchar_t c) {
    return c >= 0x0400 && c <= 0x04FF;
}
bool IsEastAsian(wchar_t c) {
    return c >= 0x2E80 && c <= 0xD7FF;
}
wchar_t Upper(wchar_t c) {
    return static_cast<wchar_t>(
        reinterpret_cast<ULONG_PTR>(CharUpperW(reinterpret_cast<LPWSTR>(ULONG_PTR{c}))));
}

enum class Kind { None, Push, Check, Label, Radio };  // in the order in which they may choose a letter

bool IsInput(HWND control) {
    wchar_t name[32] = {};
    GetClassNameW(control, name, ARRAYSIZE(name));
    for (const wchar_t* input : {WC_EDITW, WC_COMBOBOXW, WC_LISTBOXW, WC_LISTVIEWW, TRACKBAR_CLASSW}) {
        if (lstrcmpiW(name, input) == 0) return true;
    }
    return false;
}

Kind ButtonKind(LONG style) {
    switch (style & BS_TYPEMASK) {
        case BS_PUSHBUTTON:
        case BS_DEFPUSHBUTTON:
            return Kind::Push;
        case BS_RADIOBUTTON:
        case BS_AUTORADIOBUTTON:
            return Kind::Radio;
        case BS_GROUPBOX:
            return Kind::Label;
        default:
            return Kind::Check;
    }
}

Kind KindOf(HWND control) {
    wchar_t name[32] = {};
    GetClassNameW(control, name, ARRAYSIZE(name));
    const LONG style = GetWindowLongW(control, GWL_STYLE);
    if (lstrcmpiW(name, WC_BUTTONW) == 0) return ButtonKind(style);
    const bool label = lstrcmpiW(name, WC_STATICW) == 0 && (style & SS_TYPEMASK) <= SS_RIGHT;
    return label && !(style & SS_NOPREFIX) ? Kind::Label : Kind::None;
}

// The text as it is shown, from one that may carry a key already.
std::wstring WithoutKey(const std::wstring& text) {
    std::wstring plain;
    for (size_t i = 0; i < text.size(); ++i) {
        const std::wstring_view rest = std::wstring_view(text).substr(i);
        if (rest.starts_with(L"&&"))
            plain += text[i++];
        else if (rest.size() >= 4 && rest.starts_with(L"(&") && rest[3] == L')')
            i += 3;
        else if (rest[0] != L'&' || rest.size() < 2 || rest[1] == L' ')
            plain += rest[0];
    }
    return plain;
}

struct Entry {
    HWND control;
    Kind kind;
    std::wstring text;      // as shown
    std::wstring letters;   // what may become the key, best first, upper case
    bool appended = false;  // the key goes behind the text
};

bool StartsWord(const std::wstring& text, size_t at) {
    return at < text.size() && (at == 0 || !IsCharAlphaW(text[at - 1]));
}

// First letters of words, then the others; one alphabet only, so that nobody must switch the keyboard.
std::wstring LettersOf(const std::wstring& text) {
    const bool cyrillic = std::any_of(text.begin(), text.end(), IsCyrillic);
    std::wstring first, others;
    for (size_t i = 0; i < text.size(); ++i) {
        if (!(cyrillic ? IsCyrillic(text[i]) : IsLatin(text[i]))) continue;
        (StartsWord(text, i) ? first : others) += Upper(text[i]);
    }
    return first + others;
}

void OfferLetters(Entry& entry) {
    entry.appended = std::any_of(entry.text.begin(), entry.text.end(), IsEastAsian);
    entry.letters = entry.appended ? kLatin : LettersOf(entry.text);
}

std::vector<Entry> Collect(HWND dialog, const std::map<int, std::wstring>& captions) {
    std::vector<Entry> entries;
    const bool hasOk = GetDlgItem(dialog, IDOK) != nullptr;
    for (HWND control = GetWindow(dialog, GW_CHILD); control; control = GetWindow(control, GW_HWNDNEXT)) {
        const int id = GetDlgCtrlID(control);
        const auto caption = captions.find(id);
        Entry entry{control,
                    KindOf(control),
                    caption == captions.end() ? WithoutKey(Control(control).Text()) : caption->second,
                    {}};
        const HWND next = GetWindow(control, GW_HWNDNEXT);
        if (entry.kind == Kind::None || (entry.kind == Kind::Label && !(next && IsInput(next)))) continue;
        const bool answersKey = hasOk && (id == IDOK || id == IDCANCEL);
        if (!answersKey && (GetWindowLongW(control, GWL_STYLE) & WS_VISIBLE)) OfferLetters(entry);
        entries.push_back(std::move(entry));
    }
    std::stable_sort(entries.begin(), entries.end(),
                     [](const Entry& a, const Entry& b) { return a.kind < b.kind; });
    return entries;
}

// Finds a letter for one entry, moving others that hold its letters to letters of their own that are still
// free.
class Matching {
  public:
    explicit Matching(const std::vector<Entry>& entries) : entries_(entries) {
        for (size_t i = 0; i < entries.size(); ++i) {
            std::wstring tried;
            Place(i, tried);
        }
    }
    wchar_t KeyOf(size_t entry) const {
        for (const auto& [letter, holder] : holders_) {
            if (holder == entry) return letter;
        }
        return 0;
    }

  private:
    bool Place(size_t entry, std::wstring& tried) {
        for (const wchar_t letter : entries_[entry].letters) {
            if (!holders_.contains(letter)) return Take(entry, letter);
        }
        for (const wchar_t letter : entries_[entry].letters) {
            if (tried.find(letter) != tried.npos) continue;
            tried += letter;
            if (Place(holders_[letter], tried)) return Take(entry, letter);
        }
        return false;
    }
    bool Take(size_t entry, wchar_t letter) {
        std::erase_if(holders_, [entry](const auto& held) { return held.second == entry; });
        holders_[letter] = entry;
        return true;
    }

    const std::vector<Entry>& entries_;
    std::map<wchar_t, size_t> holders_;
};

// "Language :" takes an appended key before its colon, "Browse..." before its dots.
std::wstring AppendKey(const std::wstring& text, wchar_t key) {
    const size_t end = text.find_last_not_of(L" :：.…");
    const size_t at = end == text.npos ? text.size() : end + 1;
    return EscapeAmpersands(text.substr(0, at)) + L"(&" + key + L")" + EscapeAmpersands(text.substr(at));
}

// Where the key stands in the text: at the start of a word if it can.
size_t KeyPlace(const std::wstring& text, wchar_t key) {
    size_t place = text.size();
    for (size_t i = text.size(); i-- > 0;) {
        if (Upper(text[i]) == key && (StartsWord(text, i) || !StartsWord(text, place))) place = i;
    }
    return place;
}

std::wstring WithKey(const Entry& entry, wchar_t key) {
    if (!key) return EscapeAmpersands(entry.text);
    if (entry.appended) return AppendKey(entry.text, key);
    const size_t at = KeyPlace(entry.text, key);
    return EscapeAmpersands(entry.text.substr(0, at)) + L"&" + EscapeAmpersands(entry.text.substr(at));
}

}  // namespace

std::wstring EscapeAmpersands(const std::wstring& text) {
    std::wstring escaped;
    for (const wchar_t c : text) escaped.append(c == L'&' ? 2 : 1, c);
    return escaped;
}

std::vector<std::wstring> WithAccessKeys(const std::vector<std::wstring>& texts) {
    std::vector<Entry> entries;
    for (const std::wstring& text : texts) {
        entries.push_back({nullptr, Kind::Push, text, {}});
        OfferLetters(entries.back());
    }
    const Matching matching(entries);
    std::vector<std::wstring> marked;
    for (size_t i = 0; i < entries.size(); ++i) marked.push_back(WithKey(entries[i], matching.KeyOf(i)));
    return marked;
}

void AssignAccessKeys(HWND dialog, const std::map<int, std::wstring>& captions) {
    const std::vector<Entry> entries = Collect(dialog, captions);
    const Matching matching(entries);
    for (size_t i = 0; i < entries.size(); ++i) {
        Control(entries[i].control).SetText(WithKey(entries[i], matching.KeyOf(i)));
    }
}

}  // namespace morvex
