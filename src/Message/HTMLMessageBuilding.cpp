// The composer's HTML and attachment list turned into the MIME body of a message: one HTML body (with its
// inline resources), or, for delivery, a body cut into pieces around the attachments it shows.
#include <algorithm>
#include <map>
#include <unordered_set>

#include "Message/detail/ComposedParts.hpp"
#include "postwright/Amendments/HTMLElementMessageCleanup.hpp"
#include "postwright/Base/Format.hpp"
#include "postwright/Html/HTMLPlainText.hpp"
#include "postwright/Lexical/ContentParameters.hpp"
#include "postwright/Message/FGBaseMutableMessage.hpp"
#include "postwright/Mime/MimeConstants.hpp"
#include "postwright/Mime/PWMultipartMimePart.hpp"

namespace postwright {

namespace {

constexpr std::u16string_view kPlaceholderTypeAttribute = u"orw-mime-type";
constexpr std::u16string_view kPlaceholderSourceAttribute = u"orw-src";
constexpr std::u16string_view kPlaceholderNameAttribute = u"orw-name";
constexpr std::u16string_view kEditingContainerSelector = u"#FGEditingContainer";
// The head style sheets the composer adds for itself.
constexpr std::u16string_view kLocalStylesFilter = u"local-styles";

const std::u16string& placeholderSpanSelector() {
    static const std::u16string selector = formatString(u"span[%@]", {kPlaceholderTypeAttribute});
    return selector;
}

HTMLElementRef editingContainer(const HTMLDocument& document) {
    if (HTMLElementRef container = document.querySelector(kEditingContainerSelector)) return container;
    return document.body();
}

// The placeholder span an element is or holds (the first one, in tree order).
HTMLElementRef placeholderSpanOf(const HTMLElementRef& element) {
    if (element->isHTMLElementNamed(u"span") && element->hasAttribute(kPlaceholderTypeAttribute)) return element;
    return element->querySelector(placeholderSpanSelector());
}

bool isImagePlaceholder(const HTMLElement& placeholder) {
    return hasPrefix(lowercase(placeholder.attribute(kPlaceholderTypeAttribute).value_or(u"")), u"image");
}

// A placeholder stands alone when nothing beside it in its parent shows text or is another placeholder.
bool standsAlone(const HTMLElementRef& candidate) {
    HTMLElementRef parent = candidate->parentElement();
    if (!parent) return true;
    for (const HTMLNodeRef& sibling : parent->childNodes()) {
        if (sibling == candidate) continue;
        if (!fgTrim(sibling->textContent()).empty()) return false;
        if (sibling->isElement() && sibling->asElement()->hasAttribute(kPlaceholderTypeAttribute)) return false;
    }
    return true;
}

// A run of content that is only white space between blocks: no element, no visible text.
bool isBlankFragment(const HTMLNode& fragment) {
    for (const HTMLNodeRef& child : fragment.childNodes()) {
        if (child->isElement() || (child->isText() && !fgTrim(child->textContent()).empty())) return false;
    }
    return true;
}

// RFC 3986: a URL (absolute or relative) is a non-empty run of unreserved and reserved characters, with
// "%" only as the start of an escape.
bool isHexDigit(char16_t c) {
    return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
}

bool isURLText(std::u16string_view text) {
    if (text.empty()) return false;
    static constexpr std::u16string_view kAllowed = u"-._~:/?#[]@!$&'()*+,;=";
    for (size_t i = 0; i < text.size(); ++i) {
        char16_t c = text[i];
        bool alphanumeric = (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9');
        if (alphanumeric || kAllowed.find(c) != std::u16string_view::npos) continue;
        if (c == u'%' && i + 2 < text.size() && isHexDigit(text[i + 1]) && isHexDigit(text[i + 2])) {
            i += 2;
            continue;
        }
        return false;
    }
    return true;
}

// A new "div" holding the children of the fragment (moved), with the editing-only markup stripped.
HTMLElementRef cleanedDivOfFragment(HTMLNode& fragment) {
    HTMLElementRef div = HTMLElement::elementWithTagName(u"div");
    fragment.reparentChildNodesIntoNode(*div);
    FGContentReplacement::updateElementOrFragment(*div, FGBaseMutableMessage::replacements());
    return div;
}

}  // namespace

PWMimePartRef FGBaseMutableMessage::buildHTMLPartWithDocument(const std::shared_ptr<HTMLDocument>& document,
                                                              FGAttachmentList* attachments,
                                                              const PWMessageAmendmentList&) {
    if (!document) return nullptr;
    std::unordered_set<std::u16string> sources;
    document->forEachDescendant([&](const HTMLNode& node) {
        if (!node.isElement()) return true;
        std::optional<std::u16string> source = static_cast<const HTMLElement&>(node).attribute(u"src");
        if (source && hasPrefixIgnoringCase(*source, FGWebViewContentIdSchemeKey)) sources.insert(*source);
        return true;
    });
    FGAttachmentList related, remaining;
    for (const FGMessageAttachmentRef& attachment : attachments ? *attachments : FGAttachmentList()) {
        OptString url = attachment ? attachment->resourceURL() : std::nullopt;
        (url && sources.count(*url) ? related : remaining).push_back(attachment);
    }
    setSlot(attachments, remaining);

    PWMimePartRef result = detail::htmlPartWithComposerHTML(html().value_or(u""));
    if (!related.empty()) {
        auto container = PWMultipartRelatedMimePart::initMutableWithHtmlPart(result, {});
        for (const FGMessageAttachmentRef& attachment : related) {
            PWMimePartRef part = attachment->mimePart();
            if (!part) continue;
            PWMimePartRef copy = detail::mutableCopyForNewTree(part);
            ParameterDictionary disposition = copy->contentDisposition().value_or(ParameterDictionary());
            disposition.set(std::u16string(kContentDispositionKeyType),
                            copy->type() == kMimeTypeImage ? u"inline" : u"attachment");
            copy->setContentDisposition(disposition);
            container->addPart(copy, true);
        }
        result = container;
    }
    if (!result->charset()) result->setCharset(std::u16string(kMimeContentEncodingUTF8));
    return result;
}

std::vector<HTMLNodeRef> FGBaseMutableMessage::partFragmentsFromDocument(const HTMLDocument& document) {
    std::vector<HTMLNodeRef> list;
    HTMLElementRef container = editingContainer(document);
    if (!container) return list;
    HTMLNodeRef current = document.createDocumentFragment();
    std::vector<HTMLNodeRef> children = container->childNodes();
    for (const HTMLNodeRef& child : children) {
        HTMLNodeRef clone = child->cloneNodeDeep();
        HTMLElementRef element = clone->asElement();
        if (!element) {
            current->appendChild(clone);
            continue;
        }
        // A placeholder span that makes up all the visible text of the element fills it: the span is the
        // candidate. Comparable text removes icon labels, so it is taken from copies.
        HTMLElementRef candidate = element;
        if (HTMLElementRef span = element->querySelector(placeholderSpanSelector())) {
            HTMLElementRef elementCopy = element->cloneNodeDeep()->asElement();
            HTMLElementRef spanCopy = span->cloneNodeDeep()->asElement();
            if (comparableStringContents(*elementCopy) == comparableStringContents(*spanCopy)) candidate = span;
        }
        if (!candidate->hasAttribute(kPlaceholderTypeAttribute) || !standsAlone(candidate)) {
            current->appendChild(clone);
            continue;
        }
        if (current->hasChildNodes()) {
            list.push_back(current);
            current = document.createDocumentFragment();
        }
        candidate->removeFromParent();  // a span leaves its wrapper behind
        list.push_back(candidate);
    }
    if (current->hasChildNodes()) list.push_back(current);
    return list;
}

PWMimePartRef FGBaseMutableMessage::buildHTMLPartWithFragments(const std::vector<HTMLNodeRef>& fragments,
                                                               FGAttachmentList* attachments,
                                                               const FGMimeUpdateContext&) {
    // Cut the body only where content or an image follows a non-image attachment. White space between
    // blocks is not content: it neither cuts the body nor makes an HTML piece of its own.
    bool fragmented = false;
    bool afterNonImageAttachment = false;
    for (const HTMLNodeRef& item : fragments) {
        if (item->isDocumentFragment()) {
            if (isBlankFragment(*item)) continue;
        } else {
            HTMLElementRef element = item->asElement();
            HTMLElementRef placeholder = element ? placeholderSpanOf(element) : nullptr;
            if (!placeholder || !isImagePlaceholder(*placeholder)) {
                afterNonImageAttachment = true;
                continue;
            }
        }
        if (afterNonImageAttachment) {
            fragmented = true;
            break;
        }
    }

    FGAttachmentList list = attachments ? *attachments : FGAttachmentList();
    if (fragmented) {
        auto mixed = PWMultipartMimePart::initMutableWithSubtype(kMimeMultipartSubtypeMixed);
        for (const HTMLNodeRef& item : fragments) {
            if (item->isDocumentFragment()) {
                if (isBlankFragment(*item)) continue;
                mixed->addPart(detail::htmlPartWithComposerHTML(cleanedDivOfFragment(*item)->innerHTML()));
            } else if (PWMimePartRef part = attachmentPartFromElement(item, &list)) {
                mixed->addPart(detail::partForNewTree(part));
            }
        }
        for (const FGMessageAttachmentRef& attachment : list) {
            if (PWMimePartRef part = attachment ? attachment->mimePart() : nullptr) {
                mixed->addPart(detail::partForNewTree(part));
            }
        }
        setSlot(attachments, FGAttachmentList());
        return mixed;
    }

    HTMLElementRef div = HTMLElement::elementWithTagName(u"div");
    for (const HTMLNodeRef& item : fragments) {
        if (item->isDocumentFragment()) {
            item->reparentChildNodesIntoNode(*div);
        } else {
            div->appendChild(item);
        }
    }
    // Each image's attachment joins the related parts once per image (the container keeps a part once).
    FGAttachmentList remaining = list;
    std::vector<PWMimePartRef> related;
    std::map<const FGMessageAttachment*, PWMimePartRef> parts;
    for (const HTMLElementRef& image : div->querySelectorAll(u"img[src]")) {
        std::u16string source = image->attribute(u"src").value_or(u"");
        for (const FGMessageAttachmentRef& attachment : list) {
            if (!attachment || attachment->resourceURL() != source) continue;
            auto [known, inserted] = parts.try_emplace(attachment.get());
            if (inserted) {
                PWMimePartRef part = attachment->mimePart();
                known->second = part ? detail::partForNewTree(part) : nullptr;
            }
            if (!known->second) continue;
            related.push_back(known->second);
            remaining.erase(std::remove(remaining.begin(), remaining.end(), attachment), remaining.end());
        }
    }
    FGContentReplacement::updateElementOrFragment(*div, replacements());
    PWMimePartRef result = detail::htmlPartWithComposerHTML(div->innerHTML());
    if (!related.empty()) result = PWMultipartRelatedMimePart::initMutableWithHtmlPart(result, related);
    setSlot(attachments, remaining);
    return result;
}

PWMimePartRef FGBaseMutableMessage::attachmentPartFromElement(const HTMLNodeRef& node, FGAttachmentList* attachments) {
    HTMLElementRef element = node ? node->asElement() : nullptr;
    if (!element || !attachments) return nullptr;
    std::optional<std::u16string> url = element->attribute(kPlaceholderSourceAttribute);
    if (!url || !isURLText(*url)) return nullptr;
    for (auto it = attachments->begin(); it != attachments->end(); ++it) {
        if (!*it || (*it)->resourceURL() != *url) continue;
        FGMessageAttachmentRef found = *it;
        attachments->erase(it);
        return found->mimePart();
    }
    return nullptr;
}

PWMimePartRef FGBaseMutableMessage::updateMimePartsWithContext(const FGMimeUpdateContext& context) {
    std::shared_ptr<HTMLDocument> document = HTMLDocument::documentWithString(html().value_or(u""));
    if (forcePlainText()) {
        purgeHeadCSSForPlainContent(*document);
    } else {
        purgeHeadCSSWithFilters(*document, {std::u16string(kLocalStylesFilter)});
    }
    FGAttachmentList list = attachments();

    PWMimePartRef htmlPart;
    HTMLElementRef container = editingContainer(*document);
    if (context.type == 0 && context.isExchangeDelivery && container) {
        // An Exchange account shows attachments after the body: non-image placeholders become their names.
        for (const HTMLElementRef& span : container->querySelectorAll(placeholderSpanSelector())) {
            if (isImagePlaceholder(*span) || !span->parentNode()) continue;
            HTMLElementRef named = document->createElement(u"span");
            HTMLElementRef emphasis = document->createElement(u"em");
            emphasis->setTextContent(formatString(u"(%@)", {span->attribute(kPlaceholderNameAttribute)}));
            named->appendChild(emphasis);
            span->parentNode()->replaceChild(named, span);
        }
        if (HTMLElementRef root = document->documentElement()) {
            FGContentReplacement::updateElementOrFragment(*root, replacements());
        }
        htmlPart = detail::htmlPartWithComposerHTML(container->innerHTML());
    } else {
        htmlPart = buildHTMLPartWithFragments(partFragmentsFromDocument(*document), &list, context);
    }

    OptString text;
    if (!(creationFlags() & kFGMessageCreationHTMLOnly)) {
        HTMLElementRef body = document->body();
        text = body ? plainTextOfNode(*body) : std::u16string();
    }
    PWMimePartRef plainPart = buildPlainTextPartWithText(text, context.amendments);
    PWMimePartRef body = htmlPart;
    if (plainPart && htmlPart) {
        body = PWMultipartAlternativeMimePart::initMutableWithPlainPart(plainPart, htmlPart);
    } else if (!htmlPart) {
        body = plainPart;
    }

    PWMimePartRef root = body;
    if (!list.empty()) {
        auto mixed = PWMultipartMimePart::initMutableWithSubtype(kMimeMultipartSubtypeMixed);
        mixed->addPart(body);
        for (const FGMessageAttachmentRef& attachment : list) {
            if (PWMimePartRef part = attachment ? attachment->mimePart() : nullptr) {
                mixed->addPart(detail::partForNewTree(part));
            }
        }
        root = mixed;
    }
    if (!root) return nullptr;
    std::shared_ptr<PWMutableMessageContents> contents = mutableContentsWithMimePart(root);
    std::lock_guard lock(mutex_);
    generatedContents_ = contents;
    return root;
}

}  // namespace postwright
