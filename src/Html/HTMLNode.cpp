#include "postwright/Html/HTMLNode.hpp"

#include <algorithm>
#include <iterator>

#include "Html/detail/CSSSelectorMatcher.hpp"
#include "postwright/Base/Error.hpp"
#include "postwright/Base/Text.hpp"
#include "postwright/Html/CSSSelector.hpp"
#include "postwright/Html/HTMLDocument.hpp"
#include "postwright/Html/HTMLElement.hpp"
#include "postwright/Html/HTMLParser.hpp"
#include "postwright/Html/HTMLSerializer.hpp"

namespace postwright {

namespace {

[[noreturn]] void hierarchyRequestError() { throw ProgrammingError("HierarchyRequestError"); }
[[noreturn]] void notFoundError() { throw ProgrammingError("NotFoundError"); }

// The parent, or for the contents of a template its template element: the chain that must never loop.
const HTMLNode* hostIncludingParent(const HTMLNode& node) {
    if (HTMLNodeRef parent = node.parentNode()) return parent.get();
    if (node.isDocumentFragment()) return static_cast<const HTMLDocumentFragment&>(node).templateHost().get();
    return nullptr;
}

size_t elementChildCount(const std::vector<HTMLNodeRef>& nodes) {
    return static_cast<size_t>(
        std::count_if(nodes.begin(), nodes.end(), [](const HTMLNodeRef& node) { return node->isElement(); }));
}

}  // namespace

HTMLNode::~HTMLNode() {
    // A default destructor would release the children through their destructors, one call deeper per
    // level. Instead take over every child that nobody else holds, and its children in turn, so each node
    // dies with an empty child list.
    if (children_.empty()) return;
    std::vector<HTMLNodeRef> released = std::move(children_);
    children_.clear();
    while (!released.empty()) {
        HTMLNodeRef node = std::move(released.back());
        released.pop_back();
        if (node.use_count() != 1) continue;  // held elsewhere: it stays alive as a root of its own
        std::move(node->children_.begin(), node->children_.end(), std::back_inserter(released));
        node->children_.clear();
        node->releaseOwnedSubtrees(released);
    }
}

void HTMLNode::releaseOwnedSubtrees(std::vector<HTMLNodeRef>&) {}

void HTMLNode::appendOwnedSubtrees(const HTMLNode&, std::vector<std::pair<const HTMLNode*, HTMLNode*>>&) const {}

HTMLElementRef HTMLNode::asElement() {
    return isElement() ? std::static_pointer_cast<HTMLElement>(shared_from_this()) : nullptr;
}

std::shared_ptr<const HTMLElement> HTMLNode::asElement() const {
    return isElement() ? std::static_pointer_cast<const HTMLElement>(shared_from_this()) : nullptr;
}

// ---- Tree ----

HTMLElementRef HTMLNode::parentElement() const {
    HTMLNodeRef parent = parent_.lock();
    return parent ? parent->asElement() : nullptr;
}

HTMLNodeRef HTMLNode::childNodeAtIndex(size_t index) const {
    return index < children_.size() ? children_[index] : nullptr;
}

HTMLNodeRef HTMLNode::firstChild() const { return children_.empty() ? nullptr : children_.front(); }
HTMLNodeRef HTMLNode::lastChild() const { return children_.empty() ? nullptr : children_.back(); }

HTMLNodeRef HTMLNode::previousSibling() const {
    HTMLNodeRef parent = parent_.lock();
    if (!parent) return nullptr;
    size_t index = parent->indexOfChildNode(*this);
    return index == 0 || index == npos ? nullptr : parent->children_[index - 1];
}

HTMLNodeRef HTMLNode::nextSibling() const {
    HTMLNodeRef parent = parent_.lock();
    if (!parent) return nullptr;
    size_t index = parent->indexOfChildNode(*this);
    return index == npos ? nullptr : parent->childNodeAtIndex(index + 1);
}

size_t HTMLNode::indexOfChildNode(const HTMLNode& child) const noexcept {
    for (size_t i = 0; i < children_.size(); ++i) {
        if (children_[i].get() == &child) return i;
    }
    return npos;
}

size_t HTMLNode::childElementCount() const noexcept { return elementChildCount(children_); }

std::vector<HTMLElementRef> HTMLNode::children() const {
    std::vector<HTMLElementRef> elements;
    for (const HTMLNodeRef& child : children_) {
        if (child->isElement()) elements.push_back(std::static_pointer_cast<HTMLElement>(child));
    }
    return elements;
}

HTMLElementRef HTMLNode::firstElementChild() const {
    for (const HTMLNodeRef& child : children_) {
        if (child->isElement()) return std::static_pointer_cast<HTMLElement>(child);
    }
    return nullptr;
}

HTMLElementRef HTMLNode::lastElementChild() const {
    for (auto it = children_.rbegin(); it != children_.rend(); ++it) {
        if ((*it)->isElement()) return std::static_pointer_cast<HTMLElement>(*it);
    }
    return nullptr;
}

bool HTMLNode::containsNode(const HTMLNode& node) const noexcept {
    for (const HTMLNode* current = &node; current; current = current->parent_.lock().get()) {
        if (current == this) return true;
    }
    return false;
}

// ---- Changing the children ----

void HTMLNode::checkInsertion(const HTMLNode& node, const HTMLNode* child) const {
    if (!canHaveChildren() || node.isDocument()) hierarchyRequestError();
    if (child && child->parent_.lock().get() != this) notFoundError();
    // node must not be this node or hold it. A node without children (other than a template, which holds
    // its contents) can only be this node itself, which keeps building deep trees one append at a time
    // linear.
    bool mayHoldThis = node.hasChildNodes() ||
                       (node.isElement() && static_cast<const HTMLElement&>(node).templateContent() != nullptr);
    if (mayHoldThis) {
        for (const HTMLNode* current = this; current; current = hostIncludingParent(*current)) {
            if (current == &node) hierarchyRequestError();
        }
    } else if (&node == this) {
        hierarchyRequestError();
    }
    if (isDocument()) {
        if (node.isText()) hierarchyRequestError();
        size_t incoming = node.isDocumentFragment() ? elementChildCount(node.children_) : node.isElement() ? 1 : 0;
        size_t present = elementChildCount(children_) - (child && child->isElement() ? 1 : 0);
        if (incoming + present > 1) hierarchyRequestError();
    } else if (node.isDocumentType()) {
        hierarchyRequestError();
    }
}

void HTMLNode::insertAt(size_t index, HTMLNodeRef node) {
    node->parent_ = weak_from_this();
    children_.insert(children_.begin() + static_cast<std::ptrdiff_t>(index), std::move(node));
}

void HTMLNode::detachChildAt(size_t index) {
    children_[index]->parent_.reset();
    children_.erase(children_.begin() + static_cast<std::ptrdiff_t>(index));
}

HTMLNodeRef HTMLNode::appendChild(HTMLNodeRef node) { return insertBefore(std::move(node), nullptr); }

HTMLNodeRef HTMLNode::insertBefore(HTMLNodeRef node, const HTMLNodeRef& child) {
    if (!node) hierarchyRequestError();
    checkInsertion(*node, child.get());
    HTMLNodeRef reference = child == node ? node->nextSibling() : child;
    if (node->isDocumentFragment()) {
        std::vector<HTMLNodeRef> moved = std::move(node->children_);
        node->children_.clear();
        for (HTMLNodeRef& each : moved) each->parent_ = weak_from_this();
        size_t index = reference ? indexOfChildNode(*reference) : children_.size();
        children_.insert(children_.begin() + static_cast<std::ptrdiff_t>(index), std::make_move_iterator(moved.begin()),
                         std::make_move_iterator(moved.end()));
        return node;
    }
    node->removeFromParent();
    insertAt(reference ? indexOfChildNode(*reference) : children_.size(), node);
    return node;
}

HTMLNodeRef HTMLNode::replaceChild(HTMLNodeRef node, const HTMLNodeRef& child) {
    if (!node || !child) hierarchyRequestError();
    if (child->parent_.lock().get() != this) notFoundError();
    if (node == child) return child;
    checkInsertion(*node, child.get());
    HTMLNodeRef keep = child;
    if (node->isDocumentFragment()) {
        size_t index = indexOfChildNode(*child);
        detachChildAt(index);
        std::vector<HTMLNodeRef> moved = std::move(node->children_);
        node->children_.clear();
        for (HTMLNodeRef& each : moved) each->parent_ = weak_from_this();
        children_.insert(children_.begin() + static_cast<std::ptrdiff_t>(index), std::make_move_iterator(moved.begin()),
                         std::make_move_iterator(moved.end()));
        return keep;
    }
    node->removeFromParent();
    size_t index = indexOfChildNode(*child);
    child->parent_.reset();
    node->parent_ = weak_from_this();
    children_[index] = std::move(node);
    return keep;
}

HTMLNodeRef HTMLNode::removeChild(const HTMLNodeRef& child) {
    if (!child) notFoundError();
    size_t index = indexOfChildNode(*child);
    if (index == npos) notFoundError();
    HTMLNodeRef keep = child;
    detachChildAt(index);
    return keep;
}

void HTMLNode::removeFromParent() {
    HTMLNodeRef parent = parent_.lock();
    if (!parent) return;
    HTMLNodeRef self = shared_from_this();  // the parent may hold the last reference
    size_t index = parent->indexOfChildNode(*this);
    if (index != npos) parent->detachChildAt(index);
}

void HTMLNode::removeAllChildNodes() {
    std::vector<HTMLNodeRef> removed = std::move(children_);
    children_.clear();
    for (HTMLNodeRef& child : removed) child->parent_.reset();
}

void HTMLNode::reparentChildNodesIntoNode(HTMLNode& newParent) {
    if (&newParent == this) return;
    auto fragment = std::make_shared<HTMLDocumentFragment>();
    for (HTMLNodeRef& child : children_) child->parent_ = fragment;
    fragment->children_ = std::move(children_);
    children_.clear();
    newParent.appendChild(fragment);
}

// ---- Copies ----

HTMLNodeRef HTMLNode::cloneNode(bool deep) const {
    HTMLNodeRef copy = cloneWithoutChildren();
    if (!deep) return copy;
    // Pairs (original container, its copy) whose children are still to be copied.
    std::vector<std::pair<const HTMLNode*, HTMLNode*>> pending{{this, copy.get()}};
    appendOwnedSubtrees(*copy, pending);
    while (!pending.empty()) {
        auto [original, target] = pending.back();
        pending.pop_back();
        target->children_.reserve(original->children_.size());
        for (const HTMLNodeRef& child : original->children_) {
            HTMLNodeRef childCopy = child->cloneWithoutChildren();
            childCopy->parent_ = target->weak_from_this();
            if (child->hasChildNodes()) pending.emplace_back(child.get(), childCopy.get());
            child->appendOwnedSubtrees(*childCopy, pending);
            target->children_.push_back(std::move(childCopy));
        }
    }
    return copy;
}

// ---- Text and markup ----

std::u16string HTMLNode::textContent() const {
    switch (type_) {
        case HTMLNodeType::Text:
        case HTMLNodeType::Comment:
            return static_cast<const HTMLCharacterData*>(this)->data();
        case HTMLNodeType::Document:
        case HTMLNodeType::DocumentType:
            return {};
        case HTMLNodeType::Element:
        case HTMLNodeType::DocumentFragment:
            break;
    }
    std::u16string text;
    forEachDescendant([&](const HTMLNode& node) {
        if (node.isText()) text += static_cast<const HTMLText&>(node).data();
        return true;
    });
    return text;
}

void HTMLNode::setTextContent(std::u16string_view text) {
    switch (type_) {
        case HTMLNodeType::Text:
        case HTMLNodeType::Comment:
            static_cast<HTMLCharacterData*>(this)->setData(std::u16string(text));
            return;
        case HTMLNodeType::Document:
        case HTMLNodeType::DocumentType:
            return;
        case HTMLNodeType::Element:
        case HTMLNodeType::DocumentFragment:
            break;
    }
    removeAllChildNodes();
    if (!text.empty()) insertAt(0, std::make_shared<HTMLText>(std::u16string(text)));
}

std::u16string HTMLNode::innerHTML() const { return serializeHTMLChildren(*this); }
std::u16string HTMLNode::outerHTML() const { return serializeHTMLNode(*this); }

// ---- Queries ----

std::vector<HTMLElementRef> HTMLNode::elementsMatchingSelector(const CSSSelector& selector) const {
    std::vector<HTMLElementRef> matches;
    CSSSelectorMatcher matcher(selector);
    forEachDescendant([&](const HTMLNode& node) {
        if (node.isElement() && matcher.matches(static_cast<const HTMLElement&>(node))) {
            matches.push_back(std::const_pointer_cast<HTMLElement>(node.asElement()));
        }
        return true;
    });
    return matches;
}

HTMLElementRef HTMLNode::firstElementMatchingSelector(const CSSSelector& selector) const {
    HTMLElementRef match;
    CSSSelectorMatcher matcher(selector);
    forEachDescendant([&](const HTMLNode& node) {
        if (node.isElement() && matcher.matches(static_cast<const HTMLElement&>(node))) {
            match = std::const_pointer_cast<HTMLElement>(node.asElement());
            return false;
        }
        return true;
    });
    return match;
}

std::vector<HTMLElementRef> HTMLNode::querySelectorAll(std::u16string_view selectorText) const {
    auto selector = CSSSelector::selectorWithString(selectorText);
    return selector ? elementsMatchingSelector(*selector) : std::vector<HTMLElementRef>{};
}

HTMLElementRef HTMLNode::querySelector(std::u16string_view selectorText) const {
    auto selector = CSSSelector::selectorWithString(selectorText);
    return selector ? firstElementMatchingSelector(*selector) : nullptr;
}

std::vector<HTMLElementRef> HTMLNode::getElementsByTagName(std::u16string_view name) const {
    std::vector<HTMLElementRef> matches;
    bool everything = name == u"*";
    forEachDescendant([&](const HTMLNode& node) {
        if (!node.isElement()) return true;
        const auto& element = static_cast<const HTMLElement&>(node);
        if (everything || equalsIgnoringCase(element.tagName(), name)) {
            matches.push_back(std::const_pointer_cast<HTMLElement>(node.asElement()));
        }
        return true;
    });
    return matches;
}

// ---- Leaf kinds and fragments ----

std::shared_ptr<HTMLText> HTMLText::textWithData(std::u16string data) {
    return std::make_shared<HTMLText>(std::move(data));
}
HTMLNodeRef HTMLText::cloneWithoutChildren() const { return std::make_shared<HTMLText>(data()); }

std::shared_ptr<HTMLComment> HTMLComment::commentWithData(std::u16string data) {
    return std::make_shared<HTMLComment>(std::move(data));
}
HTMLNodeRef HTMLComment::cloneWithoutChildren() const { return std::make_shared<HTMLComment>(data()); }

std::shared_ptr<HTMLDocumentType> HTMLDocumentType::documentTypeWithName(std::u16string name, std::u16string publicId,
                                                                         std::u16string systemId) {
    return std::make_shared<HTMLDocumentType>(std::move(name), std::move(publicId), std::move(systemId));
}
HTMLNodeRef HTMLDocumentType::cloneWithoutChildren() const {
    return std::make_shared<HTMLDocumentType>(name_, publicId_, systemId_);
}

std::shared_ptr<HTMLDocumentFragment> HTMLDocumentFragment::documentFragment() {
    return std::make_shared<HTMLDocumentFragment>();
}

HTMLNodeRef HTMLDocumentFragment::cloneWithoutChildren() const { return std::make_shared<HTMLDocumentFragment>(); }

HTMLElementRef HTMLDocumentFragment::templateHost() const {
    HTMLNodeRef host = host_.lock();
    return host ? host->asElement() : nullptr;
}

void HTMLDocumentFragment::setInnerHTML(std::u16string_view html) {
    auto body = HTMLElement::elementWithTagName(u"body");
    removeAllChildNodes();
    appendChild(parseHTMLFragment(html, *body));
}

}  // namespace postwright
