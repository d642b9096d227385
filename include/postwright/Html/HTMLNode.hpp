// HTMLNode: the node tree of the library's HTML document model.
//
// Mail is read and written as HTML. A document (HTMLDocument) is parsed from text and holds a tree of
// nodes: elements (HTMLElement), text, comments, a document type, and document fragments that carry a
// run of nodes before they are inserted somewhere. A container owns its children (shared_ptr); a child
// knows its parent through a weak link that only the container's insert, replace and remove operations
// set and clear. Every traversal (clone, text content, serialisation, selector matching, destruction)
// carries its own stack, so the depth of a tree never becomes the depth of the call stack.
//
//     auto document = HTMLDocument::documentWithString(u"<p class=x>Hi <b>there</b></p>");
//     auto paragraph = document->querySelector(u"p.x");
//     paragraph->appendChild(HTMLText::textWithData(u"!"));   // <p class="x">Hi <b>there</b>!</p>
//
// Threads: a tree is used by one thread at a time. Nodes take no locks; hand a document to another
// thread only when the first one is done with it.
//
// Broken contracts (inserting a node into its own descendant, a text node into a document, removing a
// node from a parent it is not a child of) throw ProgrammingError with the DOM's exception name as text
// ("HierarchyRequestError", "NotFoundError").
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

class HTMLNode;
class HTMLElement;
class HTMLDocument;
class HTMLDocumentFragment;
class CSSSelector;

using HTMLNodeRef = std::shared_ptr<HTMLNode>;
using HTMLElementRef = std::shared_ptr<HTMLElement>;

enum class HTMLNodeType { Document, DocumentFragment, DocumentType, Element, Text, Comment };

// A node of the HTML tree; a container owns its children, a child links back to its parent weakly.
class HTMLNode : public std::enable_shared_from_this<HTMLNode> {
public:
    static constexpr size_t npos = static_cast<size_t>(-1);

    // Releases the subtree without recursion: children that nobody else holds are unlinked one by one.
    virtual ~HTMLNode();
    HTMLNode(const HTMLNode&) = delete;
    HTMLNode& operator=(const HTMLNode&) = delete;

    HTMLNodeType nodeType() const noexcept { return type_; }
    bool isElement() const noexcept { return type_ == HTMLNodeType::Element; }
    bool isText() const noexcept { return type_ == HTMLNodeType::Text; }
    bool isComment() const noexcept { return type_ == HTMLNodeType::Comment; }
    bool isDocument() const noexcept { return type_ == HTMLNodeType::Document; }
    bool isDocumentFragment() const noexcept { return type_ == HTMLNodeType::DocumentFragment; }
    bool isDocumentType() const noexcept { return type_ == HTMLNodeType::DocumentType; }
    // Documents, fragments and elements hold children; the other kinds never do.
    bool canHaveChildren() const noexcept {
        return type_ == HTMLNodeType::Document || type_ == HTMLNodeType::DocumentFragment || isElement();
    }

    // This node as an element, or nullptr when it is another kind.
    HTMLElementRef asElement();
    std::shared_ptr<const HTMLElement> asElement() const;

    // ---- Tree ----

    // The parent, nullptr for a root (or once the parent is gone).
    HTMLNodeRef parentNode() const { return parent_.lock(); }
    // The parent when it is an element (a document or fragment parent gives nullptr).
    HTMLElementRef parentElement() const;

    // The children in order. The reference is to the live list: copy it before changing the tree while
    // walking it.
    const std::vector<HTMLNodeRef>& childNodes() const noexcept { return children_; }
    size_t childNodesCount() const noexcept { return children_.size(); }
    bool hasChildNodes() const noexcept { return !children_.empty(); }
    HTMLNodeRef childNodeAtIndex(size_t index) const;  // nullptr past the end
    HTMLNodeRef firstChild() const;
    HTMLNodeRef lastChild() const;
    HTMLNodeRef previousSibling() const;
    HTMLNodeRef nextSibling() const;
    // The position of child among the children, npos when it is not one of them.
    size_t indexOfChildNode(const HTMLNode& child) const noexcept;

    // The element children only.
    size_t childElementCount() const noexcept;
    std::vector<HTMLElementRef> children() const;
    HTMLElementRef firstElementChild() const;
    HTMLElementRef lastElementChild() const;

    // True when node is this node or one of its descendants.
    bool containsNode(const HTMLNode& node) const noexcept;

    // ---- Changing the children ----
    //
    // These follow the DOM: a node that already has a parent moves (it is removed there first), and a
    // document fragment inserts its children, in order, leaving the fragment empty. Each returns the node
    // it was given (replaceChild and removeChild return the child that left).

    HTMLNodeRef appendChild(HTMLNodeRef node);
    // Inserts node before child; a null child appends.
    HTMLNodeRef insertBefore(HTMLNodeRef node, const HTMLNodeRef& child);
    // Puts node where child was; child leaves the tree.
    HTMLNodeRef replaceChild(HTMLNodeRef node, const HTMLNodeRef& child);
    HTMLNodeRef removeChild(const HTMLNodeRef& child);
    // Removes this node from its parent; nothing happens for a root.
    void removeFromParent();
    void removeAllChildNodes();
    // Moves every child of this node, in order, to the end of newParent's children. newParent must not be
    // inside this node.
    void reparentChildNodesIntoNode(HTMLNode& newParent);

    // ---- Copies ----

    // A copy of this node and its whole subtree (template contents included), without a parent.
    HTMLNodeRef cloneNodeDeep() const { return cloneNode(true); }
    HTMLNodeRef cloneNode(bool deep) const;

    // ---- Text and markup ----

    // Text and comment nodes: their data. Elements and fragments: the data of every descendant text node,
    // in tree order. Documents and document types: the empty text.
    std::u16string textContent() const;
    // Text and comment nodes: sets the data. Elements and fragments: replaces every child by one text node
    // holding text (by nothing when text is empty). Documents and document types: no effect.
    void setTextContent(std::u16string_view text);

    // The children serialised by the HTML fragment serialisation algorithm (see HTMLSerializer.hpp).
    std::u16string innerHTML() const;
    // An element serialised with its own tags; any other node as its fragment serialisation would give it.
    std::u16string outerHTML() const;

    // ---- Queries ----
    //
    // Queries look at the descendants of this node (never the node itself), in tree order, and do not
    // enter template contents. Selectors are CSS selectors (see CSSSelector.hpp); invalid selector text
    // matches nothing.

    std::vector<HTMLElementRef> elementsMatchingSelector(const CSSSelector& selector) const;
    HTMLElementRef firstElementMatchingSelector(const CSSSelector& selector) const;
    std::vector<HTMLElementRef> querySelectorAll(std::u16string_view selectorText) const;
    HTMLElementRef querySelector(std::u16string_view selectorText) const;
    // Elements whose tag name equals name (compared case-insensitively); "*" gives every element.
    std::vector<HTMLElementRef> getElementsByTagName(std::u16string_view name) const;

    // Calls visit(node) for every descendant in tree order. visit returns false to stop the walk. The tree
    // must not change during the walk.
    template <typename Visitor>
    void forEachDescendant(Visitor&& visit) const;

protected:
    explicit HTMLNode(HTMLNodeType type) noexcept : type_(type) {}

    // A new node with this node's own data (name, attributes, text) and no children or parent.
    virtual HTMLNodeRef cloneWithoutChildren() const = 0;
    // Called while a node is being released by the last owner: moves any subtree the node owns besides its
    // children (template contents) into released, so that releasing it does not recurse.
    virtual void releaseOwnedSubtrees(std::vector<HTMLNodeRef>& released);
    // For subclasses that clone: the pairs (original container, copy) whose children are still to copy.
    virtual void appendOwnedSubtrees(const HTMLNode& copy,
                                     std::vector<std::pair<const HTMLNode*, HTMLNode*>>& pending) const;

private:
    friend class HTMLTreeBuilder;

    // Throws unless node may go before child (or, when replacing, in child's place).
    void checkInsertion(const HTMLNode& node, const HTMLNode* child, bool replacing) const;
    void insertAt(size_t index, HTMLNodeRef node);
    void detachChildAt(size_t index);

    const HTMLNodeType type_;
    std::weak_ptr<HTMLNode> parent_;
    std::vector<HTMLNodeRef> children_;
};

// Text and comment nodes share their data.
class HTMLCharacterData : public HTMLNode {
public:
    const std::u16string& data() const noexcept { return data_; }
    void setData(std::u16string data) { data_ = std::move(data); }
    size_t length() const noexcept { return data_.size(); }
    void appendData(std::u16string_view data) { data_.append(data); }

protected:
    HTMLCharacterData(HTMLNodeType type, std::u16string data) : HTMLNode(type), data_(std::move(data)) {}

private:
    std::u16string data_;
};

// A run of text.
class HTMLText : public HTMLCharacterData {
public:
    static std::shared_ptr<HTMLText> textWithData(std::u16string data);

    explicit HTMLText(std::u16string data) : HTMLCharacterData(HTMLNodeType::Text, std::move(data)) {}

protected:
    HTMLNodeRef cloneWithoutChildren() const override;
};

// A comment (<!-- ... -->).
class HTMLComment : public HTMLCharacterData {
public:
    static std::shared_ptr<HTMLComment> commentWithData(std::u16string data);

    explicit HTMLComment(std::u16string data) : HTMLCharacterData(HTMLNodeType::Comment, std::move(data)) {}

protected:
    HTMLNodeRef cloneWithoutChildren() const override;
};

// <!DOCTYPE name "publicId" "systemId">
class HTMLDocumentType : public HTMLNode {
public:
    static std::shared_ptr<HTMLDocumentType> documentTypeWithName(std::u16string name, std::u16string publicId = {},
                                                                  std::u16string systemId = {});

    HTMLDocumentType(std::u16string name, std::u16string publicId, std::u16string systemId)
        : HTMLNode(HTMLNodeType::DocumentType),
          name_(std::move(name)),
          publicId_(std::move(publicId)),
          systemId_(std::move(systemId)) {}

    const std::u16string& name() const noexcept { return name_; }
    const std::u16string& publicId() const noexcept { return publicId_; }
    const std::u16string& systemId() const noexcept { return systemId_; }

protected:
    HTMLNodeRef cloneWithoutChildren() const override;

private:
    std::u16string name_, publicId_, systemId_;
};

// A run of nodes without a parent; inserting the fragment inserts its children.
class HTMLDocumentFragment : public HTMLNode {
public:
    static std::shared_ptr<HTMLDocumentFragment> documentFragment();

    HTMLDocumentFragment() : HTMLNode(HTMLNodeType::DocumentFragment) {}

    // Replaces the children by the nodes parsed from html as the content of a "body" element.
    void setInnerHTML(std::u16string_view html);

    // The template element whose contents this fragment is; nullptr for any other fragment.
    HTMLElementRef templateHost() const;

protected:
    HTMLNodeRef cloneWithoutChildren() const override;

private:
    friend class HTMLElement;
    std::weak_ptr<HTMLNode> host_;
};

template <typename Visitor>
void HTMLNode::forEachDescendant(Visitor&& visit) const {
    std::vector<const HTMLNode*> stack;
    for (auto it = children_.rbegin(); it != children_.rend(); ++it) stack.push_back(it->get());
    while (!stack.empty()) {
        const HTMLNode* node = stack.back();
        stack.pop_back();
        if (!visit(*node)) return;
        for (auto it = node->children_.rbegin(); it != node->children_.rend(); ++it) stack.push_back(it->get());
    }
}

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
