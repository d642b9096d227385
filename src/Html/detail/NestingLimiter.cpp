#include "Html/detail/NestingLimiter.hpp"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace postwright::detail {

namespace {

// What the tree builder does with a tag name in HTML content.
enum TagFlag : uint32_t {
    kVoid = 1u << 0,            // never has children
    kRawText = 1u << 1,         // its text runs to its own end tag (script, style, textarea, ...)
    kPlaintext = 1u << 2,       // the rest of the input is its text
    kFormatting = 1u << 3,      // a formatting element (reopened after an enclosing element closes)
    kSpecial = 1u << 4,         // the standard's "special" category
    kMarker = 1u << 5,          // puts a marker on the list of formatting elements
    kClosesP = 1u << 6,         // its start tag closes an open p
    kHeading = 1u << 7,         // h1 to h6
    kNoReconstruct = 1u << 8,   // its start tag does not reopen formatting elements
    kIgnored = 1u << 9,         // html, head, body, frameset: never opened by the model
    kBreakout = 1u << 10,       // its start tag leaves foreign content
    kScopeBoundary = 1u << 11,  // ends the default element scope
};

const std::unordered_map<std::string_view, uint32_t>& tagTable() {
    static const auto* table = [] {
        auto* map = new std::unordered_map<std::string_view, uint32_t>();
        auto add = [&](std::initializer_list<std::string_view> names, uint32_t flags) {
            for (std::string_view name : names) (*map)[name] |= flags;
        };
        add({"area", "base", "basefont", "bgsound", "br", "col", "embed", "frame", "hr", "img", "image", "input",
             "keygen", "link", "meta", "param", "source", "track", "wbr", "menuitem", "isindex"},
            kVoid);
        add({"script", "style", "textarea", "title", "xmp", "iframe", "noembed", "noframes"}, kRawText);
        add({"plaintext"}, kPlaintext);
        add({"a", "b", "big", "code", "em", "font", "i", "nobr", "s", "small", "strike", "strong", "tt", "u"},
            kFormatting);
        add({"address", "applet", "area", "article", "aside", "base", "basefont", "bgsound", "blockquote", "body",
             "br", "button", "caption", "center", "col", "colgroup", "dd", "details", "dir", "div", "dl", "dt",
             "embed", "fieldset", "figcaption", "figure", "footer", "form", "frame", "frameset", "h1", "h2", "h3",
             "h4", "h5", "h6", "head", "header", "hgroup", "hr", "html", "iframe", "img", "input", "keygen", "li",
             "link", "listing", "main", "marquee", "menu", "meta", "nav", "noembed", "noframes", "noscript",
             "object", "ol", "p", "param", "plaintext", "pre", "script", "search", "section", "select", "source",
             "style", "summary", "table", "tbody", "td", "template", "textarea", "tfoot", "th", "thead", "title",
             "tr", "track", "ul", "wbr", "xmp"},
            kSpecial);
        add({"applet", "marquee", "object", "td", "th", "caption", "template"}, kMarker);
        add({"applet", "caption", "html", "table", "td", "th", "marquee", "object", "template"}, kScopeBoundary);
        add({"address", "article", "aside", "blockquote", "center", "details", "dialog", "dir", "div", "dl",
             "fieldset", "figcaption", "figure", "footer", "header", "hgroup", "main", "menu", "nav", "ol", "p",
             "search", "section", "summary", "ul", "h1", "h2", "h3", "h4", "h5", "h6", "pre", "listing", "form",
             "plaintext", "hr", "xmp"},
            kClosesP);
        add({"h1", "h2", "h3", "h4", "h5", "h6"}, kHeading);
        add({"address", "article", "aside", "blockquote", "center", "details", "dialog", "dir", "div", "dl",
             "fieldset", "figcaption", "figure", "footer", "header", "hgroup", "main", "menu", "nav", "ol", "p",
             "search", "section", "summary", "ul", "h1", "h2", "h3", "h4", "h5", "h6", "pre", "listing", "form",
             "plaintext", "hr", "li", "dd", "dt", "table", "caption", "col", "colgroup", "tbody", "td", "tfoot",
             "th", "thead", "tr", "html", "head", "body", "base", "basefont", "bgsound", "link", "meta", "style",
             "script", "title", "template", "frameset", "textarea", "iframe", "noembed", "noframes", "rb", "rtc",
             "rp", "rt"},
            kNoReconstruct);
        add({"html", "head", "body", "frameset"}, kIgnored);
        add({"b", "big", "blockquote", "body", "br", "center", "code", "dd", "div", "dl", "dt", "em", "embed", "h1",
             "h2", "h3", "h4", "h5", "h6", "head", "hr", "i", "img", "li", "listing", "menu", "meta", "nobr", "ol",
             "p", "pre", "ruby", "s", "small", "span", "strong", "strike", "sub", "sup", "table", "tt", "u", "ul",
             "var"},
            kBreakout);
        return map;
    }();
    return *table;
}

uint32_t flagsOf(std::string_view name) {
    const auto& table = tagTable();
    auto found = table.find(name);
    return found == table.end() ? 0 : found->second;
}

bool isASCIIAlpha(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f'; }
char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

enum class Namespace : uint8_t { HTML, SVG, MathML };

struct Tag {
    std::string name;  // lower case
    std::vector<std::pair<std::string, std::string>> attributes;
    bool selfClosing = false;
    size_t start = 0, end = 0;  // the tag's text, "<" to after ">"

    bool hasAttribute(std::string_view wanted) const {
        for (const auto& attribute : attributes) {
            if (attribute.first == wanted) return true;
        }
        return false;
    }
};

// One element the model holds open.
struct Entry {
    std::string name;
    uint32_t flags = 0;  // tag flags in HTML content; for foreign elements only kSpecial and kScopeBoundary
    Namespace ns = Namespace::HTML;
    bool integrationPoint = false;  // start tags inside are HTML (MathML text points: except mglyph, malignmark)
    bool mathTextPoint = false;
    bool context = false;           // the fragment's context element: never closed
    bool inList = false;            // on the list of active formatting elements
    uint64_t order = 0;             // its place on that list
    size_t markerLevel = 0;         // markers open when it was opened
    std::string key;                // name and attributes, for the three-of-a-kind rule

    bool isHTML(std::string_view wanted) const { return ns == Namespace::HTML && name == wanted; }
};

class Limiter {
public:
    Limiter(std::string_view html, size_t maxDepth) : in_(html), maxDepth_(maxDepth) {}

    void setContext(const NestingContext& context) {
        if (context.tagName.empty()) return;
        Entry entry;
        entry.name = context.tagName;
        entry.context = true;
        entry.ns = !context.foreign ? Namespace::HTML : context.mathML ? Namespace::MathML : Namespace::SVG;
        if (entry.ns == Namespace::HTML) {
            entry.flags = flagsOf(entry.name);
        } else {
            classifyForeign(entry, {});
        }
        open_.push_back(std::move(entry));
    }

    size_t run(std::string& limited) {
        while (pos_ < in_.size()) {
            size_t lt = in_.find('<', pos_);
            if (lt == std::string_view::npos) {
                onText();
                break;
            }
            if (lt > pos_) onText();
            pos_ = lt;
            char next = at(lt + 1);
            if (next == '!') {
                skipMarkupDeclaration(lt);
            } else if (next == '?') {
                skipPast('>', lt + 2);
            } else if (next == '/') {
                char first = at(lt + 2);
                if (isASCIIAlpha(first)) {
                    Tag tag;
                    if (!readTag(lt, lt + 2, tag)) break;
                    onEndTag(tag);
                } else if (first == '>') {
                    pos_ = lt + 3;
                } else if (lt + 2 >= in_.size()) {
                    break;
                } else {
                    skipPast('>', lt + 2);
                }
            } else if (isASCIIAlpha(next)) {
                Tag tag;
                if (!readTag(lt, lt + 1, tag)) break;
                onStartTag(tag);
            } else {
                pos_ = lt + 1;
                onText();
            }
        }
        if (cuts_.empty()) return 0;
        limited.clear();
        limited.reserve(in_.size());
        size_t from = 0;
        for (const auto& [start, end] : cuts_) {
            limited.append(in_.substr(from, start - from));
            from = end;
        }
        limited.append(in_.substr(from));
        return cuts_.size();
    }

private:
    char at(size_t index) const { return index < in_.size() ? in_[index] : '\0'; }

    void skipPast(char c, size_t from) {
        size_t found = in_.find(c, from);
        pos_ = found == std::string_view::npos ? in_.size() : found + 1;
    }

    // Comments end at the earliest "-->" or "--!>", or at once for "<!-->" and "<!--->". Every other
    // "<!" (doctype, CDATA, bogus comment) ends at the next ">": ending early makes the model see more
    // markup, never less.
    void skipMarkupDeclaration(size_t lt) {
        if (in_.compare(lt, 4, "<!--") != 0) return skipPast('>', lt + 2);
        size_t body = lt + 4;
        if (at(body) == '>') {
            pos_ = body + 1;
            return;
        }
        if (at(body) == '-' && at(body + 1) == '>') {
            pos_ = body + 2;
            return;
        }
        size_t close = in_.find("-->", body);
        size_t bangClose = in_.find("--!>", body);
        if (close == std::string_view::npos && bangClose == std::string_view::npos) {
            pos_ = in_.size();
        } else if (bangClose < close) {
            pos_ = bangClose + 4;
        } else {
            pos_ = close + 3;
        }
    }

    // Reads a tag whose name starts at nameStart. False when the input ends inside the tag (the tokenizer
    // then drops it, and nothing after it is markup).
    bool readTag(size_t lt, size_t nameStart, Tag& tag) {
        size_t i = nameStart;
        while (i < in_.size() && !isSpace(in_[i]) && in_[i] != '/' && in_[i] != '>') tag.name += lower(in_[i++]);
        bool lastWasSolidus = false;
        while (true) {
            while (i < in_.size() && (isSpace(in_[i]) || in_[i] == '/')) lastWasSolidus = in_[i++] == '/';
            if (i >= in_.size()) return false;
            if (in_[i] == '>') break;
            lastWasSolidus = false;
            std::string name(1, lower(in_[i++]));  // a first "=" belongs to the name
            while (i < in_.size() && !isSpace(in_[i]) && in_[i] != '/' && in_[i] != '>' && in_[i] != '=') {
                name += lower(in_[i++]);
            }
            while (i < in_.size() && isSpace(in_[i])) ++i;
            std::string value;
            if (i < in_.size() && in_[i] == '=') {
                ++i;
                while (i < in_.size() && isSpace(in_[i])) ++i;
                if (i >= in_.size()) return false;
                if (in_[i] == '"' || in_[i] == '\'') {
                    size_t close = in_.find(in_[i], i + 1);
                    if (close == std::string_view::npos) return false;
                    value.assign(in_.substr(i + 1, close - i - 1));
                    i = close + 1;
                } else {
                    while (i < in_.size() && !isSpace(in_[i]) && in_[i] != '>') value += in_[i++];
                }
            }
            tag.attributes.emplace_back(std::move(name), std::move(value));
        }
        tag.selfClosing = lastWasSolidus;
        tag.start = lt;
        tag.end = i + 1;
        pos_ = tag.end;
        return true;
    }

    // ---- The model ----

    size_t depth() const { return open_.size() + pending_.size(); }

    static void classifyForeign(Entry& entry, const Tag& tag) {
        const std::string& name = entry.name;
        if (entry.ns == Namespace::SVG) {
            entry.integrationPoint = name == "foreignobject" || name == "desc" || name == "title";
        } else if (name == "mi" || name == "mo" || name == "mn" || name == "ms" || name == "mtext") {
            entry.integrationPoint = entry.mathTextPoint = true;
        } else if (name == "annotation-xml") {
            for (const auto& [attribute, value] : tag.attributes) {
                if (attribute != "encoding") continue;
                std::string encoding;
                for (char c : value) encoding += lower(c);
                entry.integrationPoint = encoding == "text/html" || encoding == "application/xhtml+xml";
            }
            entry.flags |= kSpecial | kScopeBoundary;
        }
        if (entry.integrationPoint) entry.flags |= kSpecial | kScopeBoundary;
    }

    bool isSpecial(const Entry& entry) const { return (entry.flags & kSpecial) != 0; }

    // Are we in foreign content for a start tag named name (the standard's tree construction dispatcher)?
    bool inForeignContent(const std::string& name) const {
        if (open_.empty()) return false;
        const Entry& current = open_.back();
        if (current.ns == Namespace::HTML) return false;
        if (current.mathTextPoint) return name == "mglyph" || name == "malignmark";
        if (current.integrationPoint) return false;
        if (current.ns == Namespace::MathML && current.name == "annotation-xml" && name == "svg") return false;
        return true;
    }

    void prunePending() {
        std::erase_if(pending_, [&](const Entry& entry) { return entry.markerLevel > markers_; });
    }

    void popOne(bool isTarget) {
        Entry entry = std::move(open_.back());
        open_.pop_back();
        if (entry.ns == Namespace::HTML && (entry.flags & kMarker)) {
            --markers_;
            prunePending();
        }
        // A formatting element closed by an enclosing end tag stays on the list: the tree builder reopens it.
        if (!isTarget && entry.inList) pending_.push_back(std::move(entry));
    }

    // Pops the entries above index and the entry at index (never the context element).
    void popTo(size_t index) {
        if (open_[index].context) return popAbove(index);
        while (open_.size() > index) popOne(open_.size() - 1 == index);
    }
    void popAbove(size_t index) {
        while (open_.size() > index + 1) popOne(false);
    }

    enum class Scope { Default, Button, ListItem, Table };

    bool endsScope(const Entry& entry, Scope scope) const {
        if (entry.context) return true;
        if (scope == Scope::Table) {
            return entry.ns == Namespace::HTML &&
                   (entry.name == "html" || entry.name == "table" || entry.name == "template");
        }
        if (entry.flags & kScopeBoundary) return true;
        if (entry.ns != Namespace::HTML) return false;
        if (scope == Scope::Button) return entry.name == "button";
        if (scope == Scope::ListItem) return entry.name == "ol" || entry.name == "ul";
        return false;
    }

    // The nearest open HTML element named name that is in the given scope; npos when there is none.
    size_t inScope(std::string_view name, Scope scope) const {
        for (size_t i = open_.size(); i-- > 0;) {
            if (open_[i].isHTML(name)) return i;
            if (endsScope(open_[i], scope)) return npos;
        }
        return npos;
    }

    // The nearest entry with one of the names, stopping at a template or the context element.
    template <size_t N>
    size_t nearestOf(const std::string_view (&names)[N]) const {
        for (size_t i = open_.size(); i-- > 0;) {
            const Entry& entry = open_[i];
            if (entry.ns == Namespace::HTML) {
                for (std::string_view name : names) {
                    if (entry.name == name) return i;
                }
            }
            if (entry.context || entry.isHTML("template")) return npos;
        }
        return npos;
    }

    void closeP() {
        size_t p = inScope("p", Scope::Button);
        if (p != npos) popTo(p);
    }

    void reconstruct() {
        std::vector<Entry> reopened;
        std::erase_if(pending_, [&](Entry& entry) {
            if (entry.markerLevel != markers_) return false;
            reopened.push_back(std::move(entry));
            return true;
        });
        std::sort(reopened.begin(), reopened.end(), [](const Entry& a, const Entry& b) { return a.order < b.order; });
        for (Entry& entry : reopened) open_.push_back(std::move(entry));
    }

    // The three-of-a-kind rule: a fourth identical formatting element pushes the earliest off the list.
    void limitIdenticalFormatting(const std::string& key) {
        Entry* earliest = nullptr;
        bool earliestPending = false;
        int count = 0;
        auto consider = [&](Entry& entry, bool isPending) {
            if (!entry.inList || entry.markerLevel != markers_ || entry.key != key) return;
            ++count;
            if (!earliest || entry.order < earliest->order) {
                earliest = &entry;
                earliestPending = isPending;
            }
        };
        for (Entry& entry : open_) consider(entry, false);
        for (Entry& entry : pending_) consider(entry, true);
        if (count < 3) return;
        if (!earliestPending) {
            earliest->inList = false;
            return;
        }
        uint64_t order = earliest->order;
        std::erase_if(pending_, [&](const Entry& entry) { return entry.order == order; });
    }

    void push(Entry entry) {
        if (entry.ns == Namespace::HTML && (entry.flags & kMarker)) {
            entry.markerLevel = markers_++;
        } else {
            entry.markerLevel = markers_;
        }
        open_.push_back(std::move(entry));
    }

    void pushImplied(std::string name) {
        Entry entry;
        entry.flags = flagsOf(name);
        entry.name = std::move(name);
        push(std::move(entry));
    }

    // Cuts the tag from the text when it would open too deep; true when it was cut.
    bool cutWhenTooDeep(const Tag& tag) {
        if (depth() < maxDepth_) return false;
        cuts_.emplace_back(tag.start, tag.end);
        ++dropped_[tag.name];
        return true;
    }

    void skipRawText(const std::string& name) {
        for (size_t from = pos_;;) {
            size_t close = in_.find("</", from);
            if (close == std::string_view::npos) {
                pos_ = in_.size();
                return;
            }
            size_t i = close + 2, n = 0;
            while (n < name.size() && i + n < in_.size() && lower(in_[i + n]) == name[n]) ++n;
            char after = at(i + n);
            if (n == name.size() && (isSpace(after) || after == '/' || after == '>')) {
                pos_ = close;
                return;
            }
            from = close + 2;
        }
    }

    void onText() { reconstruct(); }

    void onStartTag(const Tag& tag) {
        const std::string& name = tag.name;
        uint32_t flags = flagsOf(name);
        if (inForeignContent(name)) {
            bool breakout = (flags & kBreakout) ||
                            (name == "font" && (tag.hasAttribute("color") || tag.hasAttribute("face") ||
                                                tag.hasAttribute("size")));
            if (!breakout) return openForeign(tag, open_.back().ns);
            while (!open_.empty() && open_.back().ns != Namespace::HTML && !open_.back().integrationPoint &&
                   !open_.back().context) {
                popOne(false);
            }
        }
        if (name == "svg" || name == "math") {
            reconstruct();
            return openForeign(tag, name == "svg" ? Namespace::SVG : Namespace::MathML);
        }
        if (flags & kIgnored) return;
        if (flags & kVoid) {
            if (flags & kClosesP) closeP();
            if (!(flags & kNoReconstruct)) reconstruct();
            return;
        }
        if (!closeImplied(tag, flags)) return;
        if (!(flags & kNoReconstruct)) reconstruct();
        Entry entry;
        entry.name = name;
        entry.flags = flags;
        if (flags & kFormatting) {
            entry.key = name;
            for (const auto& [attribute, value] : tag.attributes) {
                entry.key += '\0';
                entry.key += attribute;
                entry.key += '=';
                entry.key += value;
            }
            limitIdenticalFormatting(entry.key);
        }
        bool rawText = flags & (kRawText | kPlaintext);
        if (!rawText && cutWhenTooDeep(tag)) return;
        entry.inList = (flags & kFormatting) != 0;
        entry.order = nextOrder_++;
        push(std::move(entry));
        if (flags & kPlaintext) pos_ = in_.size();
        if (flags & kRawText) skipRawText(name);
    }

    void openForeign(const Tag& tag, Namespace ns) {
        if (tag.selfClosing || cutWhenTooDeep(tag)) return;
        Entry entry;
        entry.name = tag.name;
        entry.ns = ns;
        classifyForeign(entry, tag);
        push(std::move(entry));
    }

    // The end tags a start tag implies. False when the start tag opens nothing (the tree builder ignores
    // it, or treats it as an end tag).
    bool closeImplied(const Tag& tag, uint32_t flags) {
        const std::string& name = tag.name;
        if (flags & kClosesP) closeP();
        if ((flags & kHeading) && !open_.empty() && (open_.back().flags & kHeading) &&
            open_.back().ns == Namespace::HTML) {
            popOne(true);
        }
        if (name == "li" || name == "dd" || name == "dt") {
            for (size_t i = open_.size(); i-- > 0;) {
                const Entry& entry = open_[i];
                bool sameKind = name == "li" ? entry.isHTML("li") : (entry.isHTML("dd") || entry.isHTML("dt"));
                if (sameKind) {
                    popTo(i);
                    break;
                }
                if (entry.context || (isSpecial(entry) && !entry.isHTML("address") && !entry.isHTML("div") &&
                                      !entry.isHTML("p"))) {
                    break;
                }
            }
            closeP();
        } else if (name == "a") {
            if (latestFormatting("a")) adoptionAgency("a");
        } else if (name == "nobr") {
            if (inScope("nobr", Scope::Default) != npos) adoptionAgency("nobr");
        } else if (name == "button") {
            size_t button = inScope("button", Scope::Default);
            if (button != npos) popTo(button);
        } else if (name == "option") {
            if (!open_.empty() && open_.back().isHTML("option")) popOne(true);
        } else if (name == "optgroup") {
            if (!open_.empty() && open_.back().isHTML("option")) popOne(true);
            if (nearestSelect() != npos && !open_.empty() && open_.back().isHTML("optgroup")) popOne(true);
        } else if (name == "rb" || name == "rtc" || name == "rp" || name == "rt") {
            if (inScope("ruby", Scope::Default) != npos) {
                while (!open_.empty() && (open_.back().isHTML("rb") || open_.back().isHTML("rp") ||
                                          open_.back().isHTML("rt") || open_.back().isHTML("rtc"))) {
                    popOne(true);
                }
            }
        } else if (name == "select") {
            size_t select = nearestSelect();
            if (select != npos) {
                popTo(select);
                return false;
            }
        } else if (name == "caption" || name == "colgroup") {
            static constexpr std::string_view kTable[] = {"table"};
            size_t table = nearestOf(kTable);
            if (table == npos) return false;
            popAbove(table);
        } else if (name == "tbody" || name == "thead" || name == "tfoot") {
            static constexpr std::string_view kNames[] = {"tbody", "thead", "tfoot", "table"};
            size_t found = nearestOf(kNames);
            if (found == npos) return false;
            if (open_[found].name == "table") {
                popAbove(found);
            } else {
                popTo(found);
            }
        } else if (name == "tr") {
            static constexpr std::string_view kNames[] = {"tr", "tbody", "thead", "tfoot", "table"};
            size_t found = nearestOf(kNames);
            if (found == npos) return false;
            bool isRow = open_[found].name == "tr", isTable = open_[found].name == "table";
            if (isRow) {
                popTo(found);
            } else {
                popAbove(found);
                if (isTable) pushImplied("tbody");
            }
        } else if (name == "td" || name == "th") {
            static constexpr std::string_view kNames[] = {"td", "th", "tr", "tbody", "thead", "tfoot", "table"};
            size_t found = nearestOf(kNames);
            if (found == npos) return false;
            const std::string& where = open_[found].name;
            if (where == "td" || where == "th") {
                popTo(found);
            } else {
                bool isTable = where == "table", isRow = where == "tr";
                popAbove(found);
                if (isTable) pushImplied("tbody");
                if (!isRow) pushImplied("tr");
            }
        } else if (name == "table") {
            static constexpr std::string_view kNames[] = {"td", "th", "caption", "table"};
            size_t found = nearestOf(kNames);
            if (found != npos && open_[found].name == "table") popTo(found);
        }
        return true;
    }

    size_t nearestSelect() const {
        static constexpr std::string_view kSelect[] = {"select"};
        return nearestOf(kSelect);
    }

    // The latest formatting element named name on the list since the last marker: open (pending false)
    // or closed and waiting to be reopened (pending true).
    struct Formatting {
        size_t index;
        bool pending;
    };
    std::optional<Formatting> latestFormatting(std::string_view name) const {
        std::optional<Formatting> latest;
        uint64_t latestOrder = 0;
        auto consider = [&](const Entry& entry, size_t index, bool isPending) {
            if (!entry.inList || entry.markerLevel != markers_ || entry.name != name) return;
            if (!latest || entry.order > latestOrder) {
                latest = Formatting{index, isPending};
                latestOrder = entry.order;
            }
        };
        for (size_t i = 0; i < open_.size(); ++i) consider(open_[i], i, false);
        for (size_t i = 0; i < pending_.size(); ++i) consider(pending_[i], i, true);
        return latest;
    }

    void adoptionAgency(const std::string& name) {
        std::optional<Formatting> found = latestFormatting(name);
        if (!found) return anyOtherEndTag(name);
        if (found->pending) {
            pending_.erase(pending_.begin() + static_cast<std::ptrdiff_t>(found->index));
            return;
        }
        size_t index = found->index;
        bool furthestBlock = false;
        for (size_t i = index + 1; i < open_.size(); ++i) {
            if (endsScope(open_[i], Scope::Default)) return;  // not in scope: ignored
            furthestBlock = furthestBlock || isSpecial(open_[i]);
        }
        // With a furthest block the tree builder moves the element's clone under it and keeps the elements
        // open; the model keeps its entries as they are.
        if (!furthestBlock) popTo(index);
    }

    void anyOtherEndTag(const std::string& name) {
        for (size_t i = open_.size(); i-- > 0;) {
            const Entry& entry = open_[i];
            if (entry.context) return;
            if (entry.isHTML(name)) return popTo(i);
            if (isSpecial(entry)) return;
        }
    }

    void onEndTag(const Tag& tag) {
        const std::string& name = tag.name;
        if (auto dropped = dropped_.find(name); dropped != dropped_.end() && dropped->second > 0) {
            --dropped->second;
            cuts_.emplace_back(tag.start, tag.end);
            return;
        }
        if (!open_.empty() && open_.back().ns != Namespace::HTML) {
            for (size_t i = open_.size(); i-- > 0;) {
                const Entry& entry = open_[i];
                if (entry.ns == Namespace::HTML || entry.context) break;
                if (entry.name == name) return popTo(i);
            }
        }
        uint32_t flags = flagsOf(name);
        if (flags & kIgnored) return;
        if (name == "br") return reconstruct();
        if (name == "p") return closeP();
        if (name == "form") {
            static constexpr std::string_view kForm[] = {"form"};
            size_t form = nearestOf(kForm);
            if (form != npos && !open_[form].context) open_.erase(open_.begin() + static_cast<std::ptrdiff_t>(form));
            return;
        }
        if (flags & kFormatting) return adoptionAgency(name);
        if (flags & kHeading) {
            for (size_t i = open_.size(); i-- > 0;) {
                if ((open_[i].flags & kHeading) && open_[i].ns == Namespace::HTML) return popTo(i);
                if (endsScope(open_[i], Scope::Default)) return;
            }
            return;
        }
        Scope scope = Scope::Default;
        if (name == "li") scope = Scope::ListItem;
        if (name == "table" || name == "tbody" || name == "thead" || name == "tfoot" || name == "tr" ||
            name == "td" || name == "th" || name == "caption" || name == "colgroup") {
            scope = Scope::Table;
        }
        if (name == "select") {
            size_t select = nearestSelect();
            if (select != npos) popTo(select);
            return;
        }
        if ((flags & kSpecial) || scope == Scope::Table) {
            size_t found = inScope(name, scope);
            if (found != npos) popTo(found);
            return;
        }
        anyOtherEndTag(name);
    }

    static constexpr size_t npos = static_cast<size_t>(-1);

    std::string_view in_;
    size_t pos_ = 0;
    size_t maxDepth_;
    std::vector<Entry> open_;
    std::vector<Entry> pending_;
    size_t markers_ = 0;
    uint64_t nextOrder_ = 1;
    std::unordered_map<std::string, size_t> dropped_;
    std::vector<std::pair<size_t, size_t>> cuts_;
};

}  // namespace

size_t limitNesting(std::string_view html, size_t maxDepth, const NestingContext& context, std::string& limited) {
    if (!context.foreign) {
        uint32_t flags = flagsOf(context.tagName);
        if (flags & (kRawText | kPlaintext)) return 0;  // the whole input is text
    }
    Limiter limiter(html, maxDepth);
    limiter.setContext(context);
    return limiter.run(limited);
}

}  // namespace postwright::detail
