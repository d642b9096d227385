#include "postwright/Html/CSSSelector.hpp"

#include "Html/detail/CSSSelectorMatcher.hpp"
#include "postwright/Base/Text.hpp"
#include "postwright/Html/HTMLElement.hpp"
#include "postwright/Html/HTMLErrors.hpp"

namespace postwright {

namespace {

bool isCSSWhitespace(char16_t c) { return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r' || c == u'\f'; }
bool isASCIIWhitespace(char16_t c) { return isCSSWhitespace(c); }
bool isHexDigit(char16_t c) {
    return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
}
bool isNameStart(char16_t c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_' || c >= 0x80; }
bool isNameCharacter(char16_t c) { return isNameStart(c) || (c >= u'0' && c <= u'9') || c == u'-'; }

std::u16string asciiLowercase(std::u16string_view text) {
    std::u16string lower(text);
    for (char16_t& c : lower) {
        if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c + 32);
    }
    return lower;
}

bool equalsIgnoringASCIICase(std::u16string_view a, std::u16string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        char16_t x = a[i], y = b[i];
        if (x >= u'A' && x <= u'Z') x = static_cast<char16_t>(x + 32);
        if (y >= u'A' && y <= u'Z') y = static_cast<char16_t>(y + 32);
        if (x != y) return false;
    }
    return true;
}

void appendCodePoint(std::u16string& out, char32_t code) {
    if (code == 0 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) code = 0xFFFD;
    if (code < 0x10000) {
        out += static_cast<char16_t>(code);
        return;
    }
    code -= 0x10000;
    out += static_cast<char16_t>(0xD800 + (code >> 10));
    out += static_cast<char16_t>(0xDC00 + (code & 0x3FF));
}

// A recursive-descent reader over the selector text (CSS Syntax's tokens, read on demand). Every reader
// returns false and sets reason_ on invalid text.
class SelectorParser {
public:
    explicit SelectorParser(std::u16string_view text) : text_(text) {}

    bool parse(CSSSelector::Parsed& parsed) {
        skipWhitespace();
        if (atEnd()) return fail(u"empty selector");
        while (true) {
            CSSComplexSelector complex;
            if (!parseComplex(complex)) return false;
            parsed.selectors.push_back(std::move(complex));
            skipWhitespace();
            if (atEnd()) return true;
            if (peek() != u',') return fail(u"unexpected character");
            ++position_;
            skipWhitespace();
        }
    }

    const std::u16string& reason() const { return reason_; }

private:
    bool atEnd() const { return position_ >= text_.size(); }
    char16_t peek(size_t ahead = 0) const {
        return position_ + ahead < text_.size() ? text_[position_ + ahead] : u'\0';
    }
    bool fail(std::u16string_view reason) {
        if (reason_.empty()) reason_ = reason;
        return false;
    }
    bool skipWhitespace() {
        size_t start = position_;
        while (!atEnd() && isCSSWhitespace(peek())) ++position_;
        return position_ > start;
    }

    bool parseComplex(CSSComplexSelector& complex) {
        CSSCompoundSelector compound;
        if (!parseCompound(compound)) return false;
        complex.compounds.push_back(std::move(compound));
        while (true) {
            bool sawWhitespace = skipWhitespace();
            if (atEnd() || peek() == u',') return true;
            CSSCombinator combinator = CSSCombinator::Descendant;
            if (peek() == u'>') {
                combinator = CSSCombinator::Child;
                ++position_;
                skipWhitespace();
            } else if (peek() == u'+' || peek() == u'~') {
                return fail(u"sibling combinators are not supported");
            } else if (!sawWhitespace) {
                return fail(u"unexpected character");
            }
            if (complex.compounds.size() >= kCSSMaxCompoundSelectors) return fail(u"selector too long");
            CSSCompoundSelector next;
            if (!parseCompound(next)) return false;
            complex.combinators.push_back(combinator);
            complex.compounds.push_back(std::move(next));
        }
    }

    bool parseCompound(CSSCompoundSelector& compound) {
        bool any = false;
        if (peek() == u'*') {
            ++position_;
            compound.universal = true;
            any = true;
        } else if (startsIdentifier()) {
            std::u16string name;
            if (!parseIdentifier(name)) return false;
            compound.type = asciiLowercase(name);
            any = true;
        }
        if (peek() == u'|') return fail(u"namespace prefixes are not supported");
        while (!atEnd()) {
            char16_t c = peek();
            if (c == u'#' || c == u'.') {
                ++position_;
                std::u16string name;
                if (!startsIdentifier() || !parseIdentifier(name)) return fail(u"expected a name");
                (c == u'#' ? compound.ids : compound.classes).push_back(std::move(name));
            } else if (c == u'[') {
                ++position_;
                CSSAttributeSelector attribute;
                if (!parseAttribute(attribute)) return false;
                compound.attributes.push_back(std::move(attribute));
            } else if (c == u':') {
                return fail(u"pseudo-classes are not supported");
            } else {
                break;
            }
            any = true;
        }
        if (!any) return fail(atEnd() ? u"expected a selector" : u"unexpected character");
        return true;
    }

    bool parseAttribute(CSSAttributeSelector& attribute) {
        skipWhitespace();
        std::u16string name;
        if (!startsIdentifier() || !parseIdentifier(name)) return fail(u"expected an attribute name");
        if (peek() == u'|' && peek(1) != u'=') return fail(u"namespace prefixes are not supported");
        attribute.name = asciiLowercase(name);
        skipWhitespace();
        if (peek() == u']') {
            ++position_;
            return true;
        }
        using Op = CSSAttributeSelector::Operator;
        char16_t c = peek();
        if (c == u'=') {
            attribute.op = Op::Equals;
            ++position_;
        } else if (peek(1) == u'=' && (c == u'~' || c == u'|' || c == u'^' || c == u'$' || c == u'*')) {
            attribute.op = c == u'~' ? Op::Includes
                           : c == u'|' ? Op::DashMatch
                           : c == u'^' ? Op::Prefix
                           : c == u'$' ? Op::Suffix
                                       : Op::Substring;
            position_ += 2;
        } else {
            return fail(u"expected an attribute operator");
        }
        skipWhitespace();
        if (peek() == u'"' || peek() == u'\'') {
            if (!parseString(attribute.value)) return false;
        } else if (startsIdentifier()) {
            if (!parseIdentifier(attribute.value)) return false;
        } else {
            return fail(u"expected an attribute value");
        }
        skipWhitespace();
        if (peek() == u'i' || peek() == u'I' || peek() == u's' || peek() == u'S') {
            attribute.ignoreCase = peek() == u'i' || peek() == u'I';
            ++position_;
            skipWhitespace();
        }
        if (peek() != u']') return fail(u"expected \"]\"");
        ++position_;
        return true;
    }

    bool startsEscape(size_t at) const {
        return at + 1 < text_.size() && text_[at] == u'\\' && text_[at + 1] != u'\n' && text_[at + 1] != u'\r' &&
               text_[at + 1] != u'\f';
    }

    // CSS Syntax "would start an identifier".
    bool startsIdentifier() const {
        size_t at = position_;
        if (at < text_.size() && text_[at] == u'-') {
            ++at;
            if (at < text_.size() && (text_[at] == u'-' || isNameStart(text_[at]))) return true;
            return startsEscape(at);
        }
        if (at < text_.size() && isNameStart(text_[at])) return true;
        return startsEscape(at);
    }

    // Reads one escape after its backslash.
    void parseEscape(std::u16string& out) {
        if (atEnd()) {
            appendCodePoint(out, 0xFFFD);
            return;
        }
        if (!isHexDigit(peek())) {
            out += text_[position_++];
            return;
        }
        char32_t code = 0;
        for (int digits = 0; digits < 6 && !atEnd() && isHexDigit(peek()); ++digits) {
            char16_t c = text_[position_++];
            code = code * 16 + static_cast<char32_t>(c <= u'9' ? c - u'0' : (c | 0x20) - u'a' + 10);
        }
        if (!atEnd() && isCSSWhitespace(peek())) {
            if (peek() == u'\r' && peek(1) == u'\n') ++position_;
            ++position_;
        }
        appendCodePoint(out, code);
    }

    bool parseIdentifier(std::u16string& out) {
        while (!atEnd()) {
            if (startsEscape(position_)) {
                ++position_;
                parseEscape(out);
            } else if (isNameCharacter(peek())) {
                out += text_[position_++];
            } else {
                break;
            }
        }
        return true;
    }

    bool parseString(std::u16string& out) {
        char16_t quote = text_[position_++];
        while (!atEnd()) {
            char16_t c = text_[position_++];
            if (c == quote) return true;
            if (c == u'\n' || c == u'\r' || c == u'\f') return fail(u"line break in string");
            if (c != u'\\') {
                out += c;
                continue;
            }
            if (atEnd()) break;
            if (peek() == u'\n' || peek() == u'\f') {
                ++position_;  // an escaped line break continues the string
            } else if (peek() == u'\r') {
                position_ += peek(1) == u'\n' ? 2 : 1;
            } else {
                parseEscape(out);
            }
        }
        return fail(u"unterminated string");
    }

    std::u16string_view text_;
    size_t position_ = 0;
    std::u16string reason_;
};

// ---- Text form ----

void appendIdentifier(std::u16string& out, std::u16string_view name) {
    for (size_t i = 0; i < name.size(); ++i) {
        char16_t c = name[i];
        bool leadingDigit = (c >= u'0' && c <= u'9') && (i == 0 || (i == 1 && name[0] == u'-'));
        if (c < 0x20 || c == 0x7F || leadingDigit) {
            static const char16_t kHex[] = u"0123456789abcdef";
            out += u'\\';
            if (c >= 16) out += kHex[c >> 4];
            out += kHex[c & 15];
            out += u' ';
        } else if (isNameCharacter(c) && !(c == u'-' && i == 0 && name.size() == 1)) {
            out += c;
        } else {
            out += u'\\';
            out += c;
        }
    }
}

void appendString(std::u16string& out, std::u16string_view value) {
    out += u'"';
    for (char16_t c : value) {
        if (c == u'"' || c == u'\\') out += u'\\';
        if (c == u'\n') {
            out += u"\\a ";
            continue;
        }
        out += c;
    }
    out += u'"';
}

void appendCompound(std::u16string& out, const CSSCompoundSelector& compound) {
    size_t start = out.size();
    if (compound.type) appendIdentifier(out, *compound.type);
    for (const std::u16string& id : compound.ids) {
        out += u'#';
        appendIdentifier(out, id);
    }
    for (const std::u16string& name : compound.classes) {
        out += u'.';
        appendIdentifier(out, name);
    }
    using Op = CSSAttributeSelector::Operator;
    for (const CSSAttributeSelector& attribute : compound.attributes) {
        out += u'[';
        appendIdentifier(out, attribute.name);
        if (attribute.op != Op::Exists) {
            static const char16_t* const kOperators[] = {u"", u"=", u"~=", u"|=", u"^=", u"$=", u"*="};
            out += kOperators[static_cast<int>(attribute.op)];
            appendString(out, attribute.value);
            if (attribute.ignoreCase) out += u" i";
        }
        out += u']';
    }
    if (out.size() == start) out += u'*';
}

// ---- Matching ----

bool attributeMatches(const CSSAttributeSelector& selector, const HTMLElement& element) {
    const HTMLAttribute* found = nullptr;
    for (const HTMLAttribute& attribute : element.attributes()) {
        if (equalsIgnoringASCIICase(attribute.name, selector.name)) {
            found = &attribute;
            break;
        }
    }
    if (!found) return false;
    using Op = CSSAttributeSelector::Operator;
    if (selector.op == Op::Exists) return true;
    std::u16string_view value = found->value;
    std::u16string_view wanted = selector.value;
    std::u16string loweredValue, loweredWanted;
    if (selector.ignoreCase) {
        loweredValue = asciiLowercase(value);
        loweredWanted = asciiLowercase(wanted);
        value = loweredValue;
        wanted = loweredWanted;
    }
    switch (selector.op) {
        case Op::Exists:
            return true;
        case Op::Equals:
            return value == wanted;
        case Op::Includes: {
            if (wanted.empty()) return false;
            for (char16_t c : wanted) {
                if (isASCIIWhitespace(c)) return false;
            }
            size_t i = 0;
            while (i < value.size()) {
                while (i < value.size() && isASCIIWhitespace(value[i])) ++i;
                size_t start = i;
                while (i < value.size() && !isASCIIWhitespace(value[i])) ++i;
                if (i > start && value.substr(start, i - start) == wanted) return true;
            }
            return false;
        }
        case Op::DashMatch:
            return value == wanted ||
                   (value.size() > wanted.size() && value.substr(0, wanted.size()) == wanted &&
                    value[wanted.size()] == u'-');
        case Op::Prefix:
            return !wanted.empty() && value.substr(0, wanted.size()) == wanted;
        case Op::Suffix:
            return !wanted.empty() && value.size() >= wanted.size() &&
                   value.substr(value.size() - wanted.size()) == wanted;
        case Op::Substring:
            return !wanted.empty() && value.find(wanted) != std::u16string_view::npos;
    }
    return false;
}

}  // namespace

bool compoundMatchesElement(const CSSCompoundSelector& compound, const HTMLElement& element) {
    if (compound.type && !equalsIgnoringASCIICase(*compound.type, element.tagName())) return false;
    if (!compound.ids.empty()) {
        auto id = element.attribute(u"id");
        if (!id) return false;
        for (const std::u16string& wanted : compound.ids) {
            if (*id != wanted) return false;
        }
    }
    for (const std::u16string& name : compound.classes) {
        if (!element.hasClass(name)) return false;
    }
    for (const CSSAttributeSelector& attribute : compound.attributes) {
        if (!attributeMatches(attribute, element)) return false;
    }
    return true;
}

bool CSSSelectorMatcher::matches(const HTMLElement& element) {
    for (size_t i = 0; i < parsed_.selectors.size(); ++i) {
        const CSSComplexSelector& complex = parsed_.selectors[i];
        if (complex.compounds.size() == 1 ? compoundMatchesElement(complex.compounds.front(), element)
                                          : matchesAt(i, complex.compounds.size() - 1, element)) {
            return true;
        }
    }
    return false;
}

CSSSelectorMatcher::Memo& CSSSelectorMatcher::memo(size_t selector, size_t index) {
    if (memos_.empty()) memos_.resize(parsed_.selectors.size());
    std::vector<Memo>& memos = memos_[selector];
    if (memos.empty()) memos.resize(parsed_.selectors[selector].compounds.size());
    return memos[index];
}

// Does element match compounds[0...index] of the selector, compounds[index] being the element itself?
// Recursion goes one compound to the left per call, so its depth is bounded by kCSSMaxCompoundSelectors.
bool CSSSelectorMatcher::matchesAt(size_t selector, size_t index, const HTMLElement& element) {
    const CSSComplexSelector& complex = parsed_.selectors[selector];
    if (!compoundMatchesElement(complex.compounds[index], element)) return false;
    if (index == 0) return true;
    Memo& known = memo(selector, index);
    if (auto found = known.matched.find(&element); found != known.matched.end()) return found->second;
    bool result = false;
    if (complex.combinators[index - 1] == CSSCombinator::Child) {
        HTMLElementRef parent = element.parentElement();
        result = parent && matchesAt(selector, index - 1, *parent);
    } else {
        result = someAncestorMatches(selector, index - 1, element);
    }
    memo(selector, index).matched[&element] = result;
    return result;
}

// Does some proper ancestor of element match compounds[0...index]? Walks up to the nearest ancestor whose
// answer is known, then fills in the answers for the walked path from the top down, so every element is
// decided once per compound.
bool CSSSelectorMatcher::someAncestorMatches(size_t selector, size_t index, const HTMLElement& element) {
    std::vector<const HTMLElement*> path;
    bool above = false;
    for (HTMLElementRef ancestor = element.parentElement(); ancestor; ancestor = ancestor->parentElement()) {
        Memo& known = memo(selector, index);
        if (auto found = known.selfOrAncestor.find(ancestor.get()); found != known.selfOrAncestor.end()) {
            above = found->second;
            break;
        }
        path.push_back(ancestor.get());
    }
    for (auto it = path.rbegin(); it != path.rend(); ++it) {
        above = above || matchesAt(selector, index, **it);
        memo(selector, index).selfOrAncestor[*it] = above;
    }
    return above;
}

// ---- CSSSelector ----

CSSSelector::CSSSelector(std::unique_ptr<Parsed> parsed) : parsed_(std::move(parsed)) {}
CSSSelector::~CSSSelector() = default;

std::shared_ptr<const CSSSelector> CSSSelector::selectorWithString(std::u16string_view text, ErrorRef* error) {
    setSlot(error, nullptr);
    auto parsed = std::make_unique<Parsed>();
    SelectorParser parser(text);
    if (!parser.parse(*parsed)) {
        setSlot(error, invalidSelectorError(text, parser.reason()));
        return nullptr;
    }
    return std::shared_ptr<const CSSSelector>(new CSSSelector(std::move(parsed)));
}

std::shared_ptr<const CSSSelector> CSSSelector::idSelector(std::u16string_view elementId) {
    auto parsed = std::make_unique<Parsed>();
    CSSComplexSelector complex;
    complex.compounds.emplace_back().ids.emplace_back(elementId);
    parsed->selectors.push_back(std::move(complex));
    return std::shared_ptr<const CSSSelector>(new CSSSelector(std::move(parsed)));
}

std::shared_ptr<const CSSSelector> CSSSelector::classSelector(std::u16string_view className) {
    auto parsed = std::make_unique<Parsed>();
    CSSComplexSelector complex;
    complex.compounds.emplace_back().classes.emplace_back(className);
    parsed->selectors.push_back(std::move(complex));
    return std::shared_ptr<const CSSSelector>(new CSSSelector(std::move(parsed)));
}

bool CSSSelector::matchesElement(const HTMLElement& element) const {
    CSSSelectorMatcher matcher(*this);
    return matcher.matches(element);
}

std::u16string CSSSelector::text() const {
    std::u16string out;
    for (size_t i = 0; i < parsed_->selectors.size(); ++i) {
        if (i) out += u", ";
        const CSSComplexSelector& complex = parsed_->selectors[i];
        for (size_t c = 0; c < complex.compounds.size(); ++c) {
            if (c) out += complex.combinators[c - 1] == CSSCombinator::Child ? u" > " : u" ";
            appendCompound(out, complex.compounds[c]);
        }
    }
    return out;
}

}  // namespace postwright
