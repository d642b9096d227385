#include "postwright/Html/HTMLPlainText.hpp"

#include <algorithm>
#include <array>
#include <vector>

#include "postwright/Base/Text.hpp"
#include "postwright/Html/HTMLElement.hpp"

namespace postwright {

namespace {

template <size_t N>
bool isOneOf(std::u16string_view name, const std::array<std::u16string_view, N>& names) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

constexpr std::array<std::u16string_view, 6> kHiddenElements = {u"head",     u"script",   u"style",
                                                                u"template", u"noscript", u"title"};
// Elements that stand apart from the text around them by one blank line.
constexpr std::array<std::u16string_view, 7> kParagraphElements = {u"p", u"h1", u"h2", u"h3", u"h4", u"h5", u"h6"};
// Elements that start and end lines.
constexpr std::array<std::u16string_view, 27> kBlockElements = {
    u"address", u"article", u"aside",    u"blockquote", u"center", u"dd",      u"details", u"dialog", u"div",
    u"dl",      u"dt",      u"fieldset", u"figcaption", u"figure", u"footer",  u"form",    u"header", u"hr",
    u"li",      u"main",    u"nav",      u"ol",         u"pre",    u"section", u"table",   u"tr",     u"ul"};

bool isCollapsibleSpace(char16_t c) {
    return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r' || c == u'\f';
}

// Builds the text: breaks between blocks are asked for and written only when text follows, so that empty
// elements leave no blank lines behind.
class PlainTextWriter {
public:
    void requestBreaks(int count) { pendingBreaks_ = std::max(pendingBreaks_, count); }

    void lineBreak() {
        flushBreaks();
        out_ += u'\n';
        pendingSpace_ = false;
    }

    void text(std::u16string_view text, bool preformatted) {
        for (char16_t c : text) {
            if (preformatted) {
                if (c == u'\r') continue;
                flushBreaks();
                out_ += c == u'\u00A0' ? u' ' : c;
                continue;
            }
            if (isCollapsibleSpace(c)) {
                pendingSpace_ = true;
                continue;
            }
            flushBreaks();
            if (pendingSpace_ && !atLineStart()) out_ += u' ';
            pendingSpace_ = false;
            out_ += c == u'\u00A0' ? u' ' : c;
        }
    }

    // Text that starts a line (a list marker): written after the breaks asked for, with no space before it.
    void lineStart(std::u16string_view marker) {
        flushBreaks();
        if (!atLineStart()) out_ += u'\n';
        out_ += marker;
        pendingSpace_ = false;
    }

    // Separates an item from the one before it on the same line; nothing at the start of a line.
    void separator(char16_t c) {
        if (pendingBreaks_ > 0 || atLineStart()) return;
        out_ += c;
        pendingSpace_ = false;
    }

    std::u16string finish() {
        std::u16string result;
        result.reserve(out_.size());
        size_t blankRun = 0;
        size_t start = 0;
        while (start <= out_.size()) {
            size_t end = out_.find(u'\n', start);
            if (end == std::u16string::npos) end = out_.size();
            std::u16string_view line(out_.data() + start, end - start);
            while (!line.empty() && (line.back() == u' ' || line.back() == u'\t')) line.remove_suffix(1);
            blankRun = line.empty() ? blankRun + 1 : 0;
            if (blankRun <= 1) {
                result.append(line);
                result += u'\n';
            }
            start = end + 1;
        }
        return fgTrim(result);
    }

private:
    bool atLineStart() const { return out_.empty() || out_.back() == u'\n'; }

    void flushBreaks() {
        if (pendingBreaks_ == 0) return;
        if (!out_.empty()) {
            int trailing = 0;
            for (auto it = out_.rbegin(); it != out_.rend() && *it == u'\n' && trailing < pendingBreaks_; ++it) {
                ++trailing;
            }
            if (!atLineStart()) {
                out_.append(static_cast<size_t>(pendingBreaks_), u'\n');
            } else {
                out_.append(static_cast<size_t>(pendingBreaks_ - trailing), u'\n');
            }
        }
        pendingBreaks_ = 0;
        pendingSpace_ = false;
    }

    std::u16string out_;
    int pendingBreaks_ = 0;
    bool pendingSpace_ = false;
};

// A link's address worth showing after its text: web and mail addresses that the text does not already say.
std::u16string linkSuffix(const HTMLElement& link) {
    std::optional<std::u16string> href = link.attribute(u"href");
    if (!href) return {};
    std::u16string address = fgTrim(*href);
    std::u16string lower = lowercase(address);
    std::u16string shown = address;
    if (hasPrefix(lower, u"mailto:")) {
        shown = address.substr(7);
    } else if (!hasPrefix(lower, u"http://") && !hasPrefix(lower, u"https://")) {
        return {};
    }
    std::u16string text = fgTrim(link.textContent());
    if (text.empty() || text == address || text == shown) return {};
    return u" <" + shown + u">";
}

struct Step {
    const HTMLNode* node;
    bool leaving;
};

}  // namespace

std::u16string plainTextOfNode(const HTMLNode& root) {
    PlainTextWriter writer;
    if (root.isText()) {
        writer.text(static_cast<const HTMLCharacterData&>(root).data(), false);
        return writer.finish();
    }
    std::vector<Step> stack;
    for (auto it = root.childNodes().rbegin(); it != root.childNodes().rend(); ++it)
        stack.push_back({it->get(), false});
    int preformatted = 0;
    // Per open list: the number of the next ordered item, or -1 for an unordered list.
    std::vector<long> lists;

    while (!stack.empty()) {
        Step step = stack.back();
        stack.pop_back();
        const HTMLNode& node = *step.node;
        if (node.isText()) {
            writer.text(static_cast<const HTMLCharacterData&>(node).data(), preformatted > 0);
            continue;
        }
        if (!node.isElement()) continue;
        const auto& element = static_cast<const HTMLElement&>(node);
        const std::u16string& name = element.tagName();
        bool paragraph = isOneOf(name, kParagraphElements);
        bool block = paragraph || isOneOf(name, kBlockElements);

        if (step.leaving) {
            if (name == u"pre") --preformatted;
            if ((name == u"ul" || name == u"ol") && !lists.empty()) lists.pop_back();
            if (name == u"a") writer.text(linkSuffix(element), false);
            if (block) writer.requestBreaks(paragraph ? 2 : 1);
            continue;
        }
        if (isOneOf(name, kHiddenElements) || name == u"img") continue;
        if (name == u"br") {
            writer.lineBreak();
            continue;
        }
        if (block) writer.requestBreaks(paragraph ? 2 : 1);
        if (name == u"pre") ++preformatted;
        if (name == u"ul") lists.push_back(-1);
        if (name == u"ol") lists.push_back(1);
        if (name == u"li") {
            std::u16string marker(2 * (lists.empty() ? 0 : lists.size() - 1), u' ');
            if (!lists.empty() && lists.back() > 0) {
                marker += fromUTF8(std::to_string(lists.back()++)) + u". ";
            } else {
                marker += u"* ";
            }
            writer.lineStart(marker);
        }
        if (name == u"td" || name == u"th") writer.separator(u'\t');
        stack.push_back({&node, true});
        for (auto it = node.childNodes().rbegin(); it != node.childNodes().rend(); ++it) {
            stack.push_back({it->get(), false});
        }
    }
    return writer.finish();
}

}  // namespace postwright
