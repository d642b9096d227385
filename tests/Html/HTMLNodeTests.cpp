// The node tree: child lists, moves, fragments, hierarchy rules, copies, text content, release, depth.
#include <gtest/gtest.h>

#include "postwright/Base/Error.hpp"
#include "postwright/Base/Text.hpp"
#include "postwright/Html/CSSSelector.hpp"
#include "postwright/Html/HTMLDocument.hpp"

using namespace postwright;

namespace {

HTMLElementRef element(std::u16string_view html) {
    auto fragment = HTMLDocumentFragment::documentFragment();
    fragment->setInnerHTML(html);
    return fragment->firstElementChild();
}

std::string html(const HTMLNodeRef& node) { return toUTF8(node->outerHTML()); }

}  // namespace

TEST(HTMLNode, ChildListOperationsKeepParentLinks) {
    auto list = element(u"<ul><li>a</li><li>b</li></ul>");
    auto a = list->firstChild(), b = list->lastChild();
    auto c = HTMLElement::elementWithTagName(u"li");
    c->setTextContent(u"c");

    list->appendChild(c);
    EXPECT_EQ(html(list), "<ul><li>a</li><li>b</li><li>c</li></ul>");
    EXPECT_EQ(c->parentNode(), list);
    EXPECT_EQ(c->parentElement(), list);
    EXPECT_EQ(c->previousSibling(), b);
    EXPECT_EQ(a->nextSibling(), b);
    EXPECT_FALSE(a->previousSibling());
    EXPECT_FALSE(c->nextSibling());

    list->insertBefore(c, a);  // moves within the same parent
    EXPECT_EQ(html(list), "<ul><li>c</li><li>a</li><li>b</li></ul>");
    list->insertBefore(a, a);  // inserting a node before itself leaves it in place
    EXPECT_EQ(html(list), "<ul><li>c</li><li>a</li><li>b</li></ul>");

    auto x = HTMLText::textWithData(u"x");
    EXPECT_EQ(list->replaceChild(x, a), a);
    EXPECT_FALSE(a->parentNode());
    EXPECT_EQ(html(list), "<ul><li>c</li>x<li>b</li></ul>");

    EXPECT_EQ(list->removeChild(b), b);
    EXPECT_FALSE(b->parentNode());
    c->removeFromParent();
    x->removeFromParent();
    x->removeFromParent();  // a root: nothing happens
    EXPECT_EQ(html(list), "<ul></ul>");
    EXPECT_EQ(list->childElementCount(), 0u);
}

TEST(HTMLNode, InsertingMovesANodeFromItsOldParent) {
    auto first = element(u"<div><b>bold</b></div>");
    auto second = element(u"<div></div>");
    auto bold = first->firstChild();
    second->appendChild(bold);
    EXPECT_EQ(html(first), "<div></div>");
    EXPECT_EQ(html(second), "<div><b>bold</b></div>");
    EXPECT_EQ(bold->parentNode(), second);
    // A node that only the old parent held survives the move.
    auto temporary = element(u"<p><i>only</i></p>");
    second->appendChild(temporary->firstChild());
    EXPECT_EQ(html(second), "<div><b>bold</b><i>only</i></div>");
}

TEST(HTMLNode, FragmentsInsertTheirChildrenAndEmpty) {
    auto fragment = HTMLDocumentFragment::documentFragment();
    fragment->setInnerHTML(u"one<b>two</b>three");
    auto target = element(u"<p>[]</p>");
    target->insertBefore(fragment, nullptr);
    EXPECT_EQ(html(target), "<p>[]one<b>two</b>three</p>");
    EXPECT_FALSE(fragment->hasChildNodes());
    for (const auto& child : target->childNodes()) EXPECT_EQ(child->parentNode(), target);

    fragment->setInnerHTML(u"<i>a</i><i>b</i>");
    target->replaceChild(fragment, target->firstChild());
    EXPECT_EQ(html(target), "<p><i>a</i><i>b</i>one<b>two</b>three</p>");

    auto destination = element(u"<div>x</div>");
    target->reparentChildNodesIntoNode(*destination);
    EXPECT_EQ(html(target), "<p></p>");
    EXPECT_EQ(html(destination), "<div>x<i>a</i><i>b</i>one<b>two</b>three</div>");
    EXPECT_EQ(destination->lastChild()->parentNode(), destination);
}

TEST(HTMLNode, HierarchyViolationsAreProgrammingErrors) {
    auto outer = element(u"<div><p><b>x</b></p></div>");
    auto inner = outer->querySelector(u"b");
    auto text = inner->firstChild();
    auto expectError = [](auto&& operation, const char* name) {
        try {
            operation();
            ADD_FAILURE() << "expected " << name;
        } catch (const ProgrammingError& error) {
            EXPECT_STREQ(error.what(), name);
        }
    };
    expectError([&] { inner->appendChild(outer); }, "HierarchyRequestError");
    expectError([&] { outer->appendChild(outer); }, "HierarchyRequestError");
    expectError([&] { text->appendChild(HTMLText::textWithData(u"y")); }, "HierarchyRequestError");
    expectError([&] { outer->appendChild(nullptr); }, "HierarchyRequestError");
    expectError([&] { outer->removeChild(inner); }, "NotFoundError");
    expectError([&] { outer->insertBefore(HTMLText::textWithData(u"y"), inner); }, "NotFoundError");
    expectError([&] { outer->replaceChild(HTMLText::textWithData(u"y"), inner); }, "NotFoundError");

    auto document = HTMLDocument::documentWithString(u"<p>x</p>");
    expectError([&] { document->appendChild(HTMLText::textWithData(u"t")); }, "HierarchyRequestError");
    expectError([&] { document->appendChild(HTMLElement::elementWithTagName(u"html")); }, "HierarchyRequestError");
    expectError([&] { outer->appendChild(HTMLDocumentType::documentTypeWithName(u"html")); },
                "HierarchyRequestError");
    expectError([&] { outer->appendChild(HTMLDocument::document()); }, "HierarchyRequestError");
    // A template cannot be put into its own contents.
    auto templateElement = HTMLElement::elementWithTagName(u"template");
    auto holder = HTMLElement::elementWithTagName(u"div");
    templateElement->templateContent()->appendChild(holder);
    expectError([&] { holder->appendChild(templateElement); }, "HierarchyRequestError");
    expectError([&] { outer->reparentChildNodesIntoNode(*inner); }, "HierarchyRequestError");
    // A document keeps one document element, whichever way a second one comes.
    auto second = HTMLElement::elementWithTagName(u"html");
    expectError([&] { document->insertBefore(second, document->documentElement()); }, "HierarchyRequestError");
    document->replaceChild(second, document->documentElement());
    EXPECT_EQ(document->documentElement(), second);
    // The tree is unchanged after a refused operation.
    EXPECT_EQ(html(outer), "<div><p><b>x</b></p></div>");
}

TEST(HTMLNode, DeepCloneCopiesEverythingAndSharesNothing) {
    auto original = element(u"<div id=a class='x y'><p>t<b title=q>b</b><!--c--></p>"
                            u"<template><td>cell</td></template></div>");
    auto copy = original->cloneNodeDeep()->asElement();
    ASSERT_TRUE(copy);
    EXPECT_EQ(html(copy), html(original));
    EXPECT_FALSE(copy->parentNode());
    EXPECT_EQ(copy->firstChild()->parentNode(), copy);
    auto copiedTemplate = copy->querySelector(u"template");
    EXPECT_EQ(copiedTemplate->templateContent()->templateHost(), copiedTemplate);
    copy->querySelector(u"b")->setAttribute(u"title", u"changed");
    copiedTemplate->templateContent()->removeAllChildNodes();
    EXPECT_EQ(html(original), "<div id=\"a\" class=\"x y\"><p>t<b title=\"q\">b</b><!--c--></p>"
                              "<template><td>cell</td></template></div>");
    auto shallow = original->cloneNode(false)->asElement();
    EXPECT_EQ(html(shallow), "<div id=\"a\" class=\"x y\"></div>");
    auto document = HTMLDocument::documentWithString(u"<!DOCTYPE html><title>t</title>x");
    auto documentCopy = std::static_pointer_cast<HTMLDocument>(document->cloneNodeDeep());
    EXPECT_EQ(toUTF8(documentCopy->innerHTML()), toUTF8(document->innerHTML()));
    EXPECT_EQ(documentCopy->parseErrors(), document->parseErrors());
}

TEST(HTMLNode, TextContentReadsAndReplaces) {
    auto paragraph = element(u"<p>Hello <b>bold <i>and</i></b> world<!--not text--><script>s</script></p>");
    EXPECT_EQ(paragraph->textContent(), u"Hello bold and worlds");
    paragraph->setTextContent(u"<plain> & simple");
    EXPECT_EQ(html(paragraph), "<p>&lt;plain&gt; &amp; simple</p>");
    paragraph->setTextContent(u"");
    EXPECT_FALSE(paragraph->hasChildNodes());
    auto document = HTMLDocument::documentWithString(u"<p>x</p>");
    EXPECT_EQ(document->textContent(), u"");
    document->setTextContent(u"ignored");
    EXPECT_TRUE(document->body()->hasChildNodes());
}

TEST(HTMLNode, ElementQueriesAndTagLookups) {
    auto document = HTMLDocument::documentWithString(u"<div><P>a</P><p>b<span>c</span></p><svg><rect/></svg></div>");
    EXPECT_EQ(document->getElementsByTagName(u"p").size(), 2u);
    EXPECT_EQ(document->getElementsByTagName(u"RECT").size(), 1u);
    EXPECT_EQ(document->getElementsByTagName(u"*").size(), 9u);  // html head body div p p span svg rect
    auto div = document->querySelector(u"div");
    EXPECT_EQ(div->children().size(), 3u);
    EXPECT_FALSE(div->containsNode(*document->head()));
    EXPECT_EQ(div->indexOfChildNode(*div->lastChild()), 2u);
    EXPECT_EQ(div->indexOfChildNode(*document->head()), HTMLNode::npos);
    EXPECT_FALSE(div->childNodeAtIndex(3));
}

TEST(HTMLNode, ReleasingAParentKeepsChildrenHeldElsewhere) {
    HTMLNodeRef kept;
    {
        auto parent = element(u"<div><p>kept<b>inside</b></p><p>dropped</p></div>");
        kept = parent->firstChild();
    }
    EXPECT_FALSE(kept->parentNode()) << "the parent is gone";
    EXPECT_EQ(html(kept), "<p>kept<b>inside</b></p>");
    EXPECT_EQ(kept->firstChild()->parentNode(), kept);
}

// 100,000 nested elements built through the DOM (parsing caps nesting, see HTMLParserTests): every
// traversal must run without recursion, which this depth would overflow.
TEST(HTMLNode, HundredThousandNestedElementsAreSafeEverywhere) {
    constexpr size_t kDepth = 100000;
    auto root = HTMLElement::elementWithTagName(u"div");
    root->setAttribute(u"class", u"top");
    HTMLElementRef deepest = root;
    for (size_t i = 0; i < kDepth; ++i) {
        deepest = deepest->appendChild(HTMLElement::elementWithTagName(i % 2 ? u"div" : u"span"))->asElement();
    }
    deepest->appendChild(HTMLText::textWithData(u"bottom"));

    EXPECT_EQ(root->textContent(), u"bottom");
    std::u16string markup = root->outerHTML();
    EXPECT_EQ(markup.size(), 23 + (kDepth / 2) * (11 + 13) + 6);
    EXPECT_EQ(root->querySelectorAll(u".top span > div span").size(), kDepth / 2 - 1);
    EXPECT_EQ(root->querySelectorAll(u"div div").size(), kDepth / 2);
    EXPECT_TRUE(root->containsNode(*deepest));

    EXPECT_EQ(root->cloneNodeDeep()->outerHTML().size(), markup.size());

    // Nested templates own each other's contents: release must not recurse through them either.
    auto outerTemplate = HTMLElement::elementWithTagName(u"template");
    HTMLElementRef current = outerTemplate;
    for (size_t i = 0; i < kDepth; ++i) {
        current = current->templateContent()->appendChild(HTMLElement::elementWithTagName(u"template"))->asElement();
    }
    EXPECT_EQ(outerTemplate->outerHTML().size(), (kDepth + 1) * 21);
    auto templateCopy = outerTemplate->cloneNodeDeep();
    // Leaving the scope releases each chain above, 100,000 levels deep.
}

// Appending at the bottom of a deep tree checks only the node itself when it has no children, so
// building stays linear; a subtree being inserted is checked against the whole ancestor chain.
TEST(HTMLNode, AppendingToADeepTreeStaysLinear) {
    auto root = HTMLElement::elementWithTagName(u"div");
    HTMLElementRef deepest = root;
    for (int i = 0; i < 50000; ++i) deepest = deepest->appendChild(HTMLElement::elementWithTagName(u"div"))->asElement();
    EXPECT_THROW(deepest->appendChild(root), ProgrammingError);
    auto subtree = element(u"<p><b>x</b></p>");
    deepest->appendChild(subtree);
    EXPECT_EQ(subtree->parentNode(), deepest);
}
