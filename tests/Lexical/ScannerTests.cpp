#include <gtest/gtest.h>

#include "Lexical/ScannerTestSupport.hpp"
#include "postwright/Lexical/EmailParserError.hpp"
#include "postwright/Lexical/Scanner.hpp"

using namespace postwright;

namespace {
Scanner scan(std::u16string_view text) { return Scanner::emailAddressScannerWithString(text); }

void expectError(const ErrorRef& error, long code, const char16_t* message, std::u16string_view input) {
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->domain, "com.fennelgate.postwright.emailparser");
    EXPECT_EQ(error->code, code);
    EXPECT_EQ(error->localizedDescription, message);
    std::u16string separator = code == 5 ? u": " : u" in: ";
    EXPECT_EQ(error->debugDescription, std::u16string(message) + separator + std::u16string(input));
}
}  // namespace

TEST(ScannerCursor, PlatformPrimitives) {
    Scanner s = scan(u"Content-TYPE: -42 rest");
    std::u16string text;
    EXPECT_TRUE(s.scanString(u"content-type", &text)) << "case-insensitive by default";
    EXPECT_EQ(text, u"Content-TYPE");
    s.setCaseSensitive(true);
    EXPECT_FALSE(s.scanString(u": -42 REST"));
    long value = 0;
    Scanner signOnly = scan(u"+x");
    EXPECT_FALSE(signOnly.scanInteger(&value));
    EXPECT_EQ(signOnly.scanLocation(), 0u);
    Scanner huge = scan(u"99999999999999999999999x");
    unsigned long long big = 0;
    EXPECT_TRUE(huge.scanUnsignedLongLong(&big));
    EXPECT_EQ(big, UINT64_MAX) << "overflow clamps";
    EXPECT_EQ(huge.currentCharacter(), u'x') << "and consumes every digit";
}

TEST(ScannerLineBreaks, CRLFOrBareLFButNeverTheLastCodeUnit) {
    Scanner crlf = scan(u"\r\nx");
    EXPECT_TRUE(crlf.scanCRLF());
    EXPECT_EQ(crlf.scanLocation(), 2u);
    Scanner lf = scan(u"\nx");
    EXPECT_TRUE(lf.scanCRLF());
    Scanner last = scan(u"a\n");
    last.setScanLocation(1);
    EXPECT_FALSE(last.scanCRLF()) << "an LF that is the last code unit is not consumed";
    EXPECT_FALSE(scan(u"\rx").scanCRLF()) << "a bare CR is never a line break";
    EXPECT_FALSE(scan(u"\n").scanCRLF());

    Scanner folded = scan(u" \r\nx");
    OptString fws;
    EXPECT_TRUE(folded.scanRFC2822FoldingWhiteSpaceIntoString(&fws));
    EXPECT_EQ(fws, u" \r\n") << "a line break without white space after it still folds";
    Scanner tabs = scan(u"\t \r\n\t y");
    EXPECT_TRUE(tabs.scanRFC2822FoldingWhiteSpaceIntoString(&fws));
    EXPECT_EQ(fws, u"\t \r\n\t ");
    EXPECT_FALSE(scan(u"x").scanFoldingWhiteSpace());
}

TEST(ScannerComments, NestAndReduceFoldsToOneSpace) {
    Scanner s = scan(u"(a (b) c) rest");
    OptString comment;
    ErrorRef error;
    ASSERT_TRUE(s.scanRFC2822CommentIntoString(&comment, &error));
    EXPECT_EQ(comment, u"a (b) c");
    EXPECT_EQ(s.scanLocation(), 9u);
    EXPECT_EQ(error, nullptr);

    Scanner pair = scan(u"(a\\)b\r\n c)");
    ASSERT_TRUE(pair.scanRFC2822CommentIntoString(&comment, nullptr));
    EXPECT_EQ(comment, u"a)b c");
}

TEST(ScannerComments, UnclosedCommentsFailWithCodeOneOrSilently) {
    Scanner unclosed = scan(u"(a");
    ErrorRef error;
    EXPECT_FALSE(unclosed.scanRFC2822CommentIntoString(nullptr, &error));
    expectError(error, 1, u"Comment was not closed", u"(a");
    EXPECT_EQ(unclosed.scanLocation(), 0u);

    Scanner outerOpen = scan(u"(a (b c)");
    error = nullptr;
    EXPECT_FALSE(outerOpen.scanRFC2822CommentIntoString(nullptr, &error));
    EXPECT_EQ(error->code, 1);

    Scanner innerOpen = scan(u"(a (b");
    error = nullptr;
    EXPECT_FALSE(innerOpen.scanRFC2822CommentIntoString(nullptr, &error));
    EXPECT_EQ(error, nullptr) << "an unclosed nested comment fails the outer one through the progress guard";
    EXPECT_EQ(innerOpen.scanLocation(), 0u);

    Scanner endsInFold = scan(u"(a \r\n ");
    EXPECT_FALSE(endsInFold.scanRFC2822CommentIntoString(nullptr, &error));
    EXPECT_EQ(error->code, 1);
}

TEST(ScannerComments, DeepNestingIsBoundedNotRecursive) {
    std::u16string deep(100000, u'(');
    Scanner s = scan(deep);
    ErrorRef error;
    EXPECT_FALSE(s.scanRFC2822CommentIntoString(nullptr, &error));
    EXPECT_EQ(error, nullptr) << "an unclosed nested comment fails the outer one silently";
    EXPECT_EQ(s.scanLocation(), 0u);

    std::u16string balanced = std::u16string(200, u'(') + u"x" + std::u16string(200, u')');
    Scanner ok = scan(balanced);
    EXPECT_TRUE(ok.scanRFC2822CommentIntoString(nullptr, nullptr));
    EXPECT_TRUE(ok.isAtEnd());

    std::u16string tooDeep = std::u16string(300, u'(') + u"x" + std::u16string(300, u')');
    Scanner refused = scan(tooDeep);
    EXPECT_FALSE(refused.scanRFC2822CommentIntoString(nullptr, &error));
    EXPECT_EQ(error->code, 1);
}

TEST(ScannerComments, UnclosedChainsStayLinearForEveryAttempt) {
    std::u16string chain;
    for (int i = 0; i < 100000; ++i) chain += u"(x, ";
    Scanner s = scan(chain);
    size_t failures = 0;
    while (!s.isAtEnd()) {
        // Each attempt stops at its unclosable nested comment instead of exploring the rest of the chain.
        ErrorRef error;
        if (!s.scanRFC2822CommentIntoString(nullptr, &error) && !error) ++failures;
        s.advance(1);
        s.scanUpToString(u"(");
    }
    EXPECT_EQ(failures, 99999u) << "every comment but the last (which is simply unclosed) fails silently";
}

TEST(ScannerComments, CFWSKeepsWhiteSpaceBeforeAFailingComment) {
    Scanner s = scan(u" (a) \r\n (b) x");
    EXPECT_TRUE(s.scanRFC2822CommentFoldingWhiteSpace());
    EXPECT_EQ(s.currentCharacter(), u'x');
    Scanner open = scan(u"  (unclosed");
    EXPECT_TRUE(open.scanRFC2822CommentFoldingWhiteSpace());
    EXPECT_EQ(open.scanLocation(), 2u);
    EXPECT_FALSE(scan(u"x").scanRFC2822CommentFoldingWhiteSpace());
}

TEST(ScannerAtoms, AtomsAndDotAtoms) {
    OptString text;
    ErrorRef error;
    Scanner atom = scan(u"J\u00f6rg! rest");
    EXPECT_TRUE(atom.scanRFC2822AtomIntoString(&text, &error));
    EXPECT_EQ(text, u"J\u00f6rg!");
    EXPECT_FALSE(scan(u" x").scanRFC2822AtomIntoString(&text, &error)) << "an atom takes no CFWS";

    Scanner dotted = scan(u" (c) a.b (d) x");
    EXPECT_TRUE(dotted.scanRFC2822DotAtomIntoString(&text, &error));
    EXPECT_EQ(text, u"a.b");
    EXPECT_EQ(dotted.currentCharacter(), u'x');

    Scanner trailing = scan(u"a.b.");
    EXPECT_FALSE(trailing.scanRFC2822DotAtomIntoString(&text, false, &error));
    expectError(error, 10, u"Could not parse dot-atom", u"a.b.");
    EXPECT_EQ(trailing.scanLocation(), 4u) << "the location stays after the dot";

    Scanner allowed = scan(u"a.b.");
    EXPECT_TRUE(allowed.scanRFC2822DotAtomIntoString(&text, true, &error));
    EXPECT_EQ(text, u"a.b.");
    EXPECT_EQ(error, nullptr) << "the error slot is cleared on entry";

    Scanner doubled = scan(u"a..b");
    EXPECT_FALSE(doubled.scanRFC2822DotAtomIntoString(&text, false, &error));
    EXPECT_EQ(doubled.scanLocation(), 2u) << "two dots are a trailing dot and a stop";

    Scanner leadingDot = scan(u" .a");
    EXPECT_FALSE(leadingDot.scanRFC2822DotAtomIntoString(&text, false, &error));
    EXPECT_EQ(leadingDot.scanLocation(), 0u);
    EXPECT_EQ(error, nullptr);
}

TEST(ScannerQuotedStrings, StrictQuotedString) {
    OptString text;
    ErrorRef error;
    Scanner s = scan(u" \"a \\\"b\\\" c\" (x) rest");
    EXPECT_TRUE(s.scanRFC2822QuotedStringIntoString(&text, &error));
    EXPECT_EQ(text, u"a \"b\" c");
    EXPECT_EQ(s.currentCharacter(), u'r');

    Scanner word = scan(u"\"=?utf-8?Q?a b?=\"");
    EXPECT_TRUE(word.scanRFC2822QuotedStringIntoString(&text, &error));
    EXPECT_EQ(text, u"=?utf-8?Q?a_b?=") << "a quoted encoded word gets its underscores back";

    Scanner folded = scan(u"\"a\r\n b\"");
    EXPECT_TRUE(folded.scanRFC2822QuotedStringIntoString(&text, &error));
    EXPECT_EQ(text, u"a\r\n b");

    Scanner open = scan(u" (c) \"abc");
    EXPECT_FALSE(open.scanRFC2822QuotedStringIntoString(&text, &error));
    expectError(error, 3, u"QuotedString was not closed", u" (c) \"abc");
    EXPECT_EQ(open.scanLocation(), 0u) << "restored to before the leading CFWS";

    Scanner wide = scan(u"\"\u5f20\u4e09\"");
    EXPECT_FALSE(wide.scanRFC2822QuotedStringIntoString(&text, &error));
    EXPECT_EQ(error->code, 3) << "characters above 0xFE stop the content";

    error = nullptr;
    EXPECT_FALSE(scan(u"x\"a\"").scanRFC2822QuotedStringIntoString(&text, &error));
    EXPECT_EQ(error, nullptr) << "no opening quote fails silently";
}

TEST(ScannerQuotedStrings, LenientQuotedStringForParameters) {
    OptString text;
    ErrorRef error;
    Scanner s = scan(u"\"x\\\"y \u00e9\"; rest");
    EXPECT_TRUE(s.scanQuotedStringIntoString(&text, &error));
    EXPECT_EQ(text, u"x\"y \u00e9");
    EXPECT_EQ(s.currentCharacter(), u';');

    Scanner openNoSlot = scan(u"\"abc def");
    EXPECT_TRUE(openNoSlot.scanQuotedStringIntoString(&text, nullptr));
    EXPECT_EQ(text, u"abc def") << "without an error slot an unclosed value runs to the end";
    EXPECT_TRUE(openNoSlot.isAtEnd());

    Scanner openSlot = scan(u"\"abc def");
    EXPECT_FALSE(openSlot.scanQuotedStringIntoString(&text, &error));
    expectError(error, 3, u"QuotedString was not closed", u"\"abc def");
    EXPECT_EQ(openSlot.scanLocation(), 0u);

    Scanner wideSlot = scan(u"\"a\u4e00b\"");
    EXPECT_FALSE(wideSlot.scanQuotedStringIntoString(&text, &error));
    expectError(error, 11, u"QuotedString included non ASCII character", u"\"a\u4e00b\"");
    EXPECT_EQ(wideSlot.scanLocation(), 0u);

    Scanner wideNoSlot = scan(u"\"a\u4e00b\"");
    EXPECT_FALSE(wideNoSlot.scanQuotedStringIntoString(&text, nullptr));
    EXPECT_EQ(wideNoSlot.scanLocation(), 2u) << "without a slot it fails where it stands";

    EXPECT_FALSE(scan(u" \"a\"").scanQuotedStringIntoString(&text, &error)) << "no CFWS before the quote";
}

TEST(ScannerPhrases, RawOrBuiltUpText) {
    std::u16string input = u"Joe \"Q.\" Public (the man) <jqp@example.com>";
    OptString text;
    ErrorRef error;
    Scanner raw = scan(input);
    EXPECT_TRUE(raw.scanRFC2822PhraseIntoString(&text, 0, &error));
    EXPECT_EQ(text, u"Joe \"Q.\" Public (the man)");
    EXPECT_EQ(raw.currentCharacter(), u'<');

    Scanner built = scan(input);
    EXPECT_TRUE(built.scanRFC2822PhraseIntoString(&text, 1, &error));
    EXPECT_EQ(text, u"JoeQ.Public ") << "words unquoted (the quoted word ate its CFWS), comment as one SPACE";

    Scanner single = scan(u"\"Joe Q. Public\"<x>");
    EXPECT_TRUE(single.scanRFC2822PhraseIntoString(&text, 0, &error));
    EXPECT_EQ(text, u"Joe Q. Public") << "a single word is handed back unquoted";
    EXPECT_FALSE(scan(u"<x>").scanRFC2822PhraseIntoString(&text, 0, &error));
}

// Phrases of atoms, dots and blanks are read in one pass; blank runs, dots between blanks, a fold (left to
// the word loop) and a line break at the very end must come out as the word loop makes them.
TEST(ScannerPhrases, AtomsDotsAndBlanksReadAsTheWordLoopReadsThem) {
    struct Case {
        std::u16string input, raw, builtUp;
        size_t end;
    };
    const Case cases[] = {{u"a  b\t.c :x", u"a  b\t.c", u"a b .c ", 8},
                          {u"a. .b<x>", u"a. .b", u"a. .b", 5},
                          {u"a \r\n b <x>", u"a \r\n b", u"a b ", 7},
                          {u"a \n", u"a", u"a ", 2},
                          {u"Team\t:x", u"Team", u"Team ", 5},
                          {u"J\u00f6rg  M. <j@x>", u"J\u00f6rg  M.", u"J\u00f6rg M. ", 9},
                          {u"a\\b c", u"a", u"a", 1}};
    for (const Case& c : cases) {
        for (unsigned options : {0u, 1u}) {
            Scanner s = scan(c.input);
            OptString text;
            ErrorRef error;
            ASSERT_TRUE(s.scanRFC2822PhraseIntoString(&text, options, &error)) << toUTF8(c.input);
            EXPECT_EQ(text, options ? c.builtUp : c.raw) << toUTF8(c.input) << " options " << options;
            EXPECT_EQ(s.scanLocation(), c.end) << toUTF8(c.input);
            EXPECT_EQ(error, nullptr);
        }
    }
}

// Look-aheads ask for no text, so the scanners skip building it; what they consume and report must not
// depend on that.
TEST(ScannerPhrases, WithoutAResultSlotTheSameTextIsConsumedAndTheSameErrorReported) {
    const std::u16string inputs[] = {u"Joe.  Q .Public:", u"a\r\n b:",       u"\"Joe\" Q <x>", u"Joe \"unclosed",
                                     u"J (c (d)) P, x",   u"a \r\n\"q\"", u". a",            u"\"J\u20acrgen\" z"};
    test::expectSameWithoutResultSlot(inputs, {0u, 1u}, [](Scanner& s, OptString* text, unsigned options, ErrorRef* e) {
        return s.scanRFC2822PhraseIntoString(text, options, e);
    });
}

TEST(ScannerPhrases, InnerErrorsStayInTheSlot) {
    OptString text;
    ErrorRef error;
    Scanner s = scan(u"Joe \"unclosed");
    EXPECT_TRUE(s.scanRFC2822PhraseIntoString(&text, 0, &error));
    EXPECT_EQ(text, u"Joe");
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->code, 3);

    Scanner first = scan(u"\"unclosed");
    error = nullptr;
    EXPECT_FALSE(first.scanRFC2822PhraseIntoString(&text, 0, &error));
    EXPECT_EQ(error->code, 3);
}

TEST(ScannerAddressParts, LocalPartsAndDomains) {
    OptString text;
    ErrorRef error;
    Scanner local = scan(u"first.last.@x");
    EXPECT_TRUE(local.scanLocalPartIntoString(&text, &error));
    EXPECT_EQ(text, u"first.last.");
    Scanner quoted = scan(u"\"a b\"@x");
    EXPECT_TRUE(quoted.scanLocalPartIntoString(&text, &error));
    EXPECT_EQ(text, u"\"a b\"");
    Scanner inner = scan(u"\"a\\\"b\"@x");
    EXPECT_TRUE(inner.scanLocalPartIntoString(&text, &error));
    EXPECT_EQ(text, u"\"a\"b\"") << "inner quotes are not escaped again";

    Scanner domain = scan(u"example.com>");
    EXPECT_TRUE(domain.scanDomainIntoString(&text, &error));
    EXPECT_EQ(text, u"example.com");
    Scanner trailing = scan(u"example.");
    EXPECT_FALSE(trailing.scanDomainIntoString(&text, &error));
    EXPECT_EQ(error->code, 10) << "the dot-atom's error stays in the slot";
    EXPECT_EQ(trailing.scanLocation(), 0u);

    Scanner literal = scan(u" [ 1.2.3.4  \\]x ] rest");
    EXPECT_TRUE(literal.scanDomainIntoString(&text, &error));
    EXPECT_EQ(text, u"1.2.3.4 ] x") << "each piece (run or quoted pair) is joined by one SPACE";
    EXPECT_EQ(literal.currentCharacter(), u'r');
    Scanner open = scan(u"[1.2");
    EXPECT_FALSE(open.scanDomainLiteralIntoString(&text, &error));
    expectError(error, 4, u"Unclosed Angular Bracket Error", u"[1.2");

    Scanner content = scan(u"[");
    text = u"preset";
    EXPECT_FALSE(content.scanDomainContentIntoString(&text, &error));
    EXPECT_FALSE(text) << "the result slot is cleared on failure";

    Scanner lenient = scan(u" a.b@c d");
    EXPECT_TRUE(lenient.scanDomainDotAtomIntoString(&text));
    EXPECT_EQ(text, u"a.b@c");
    Scanner dotFirst = scan(u".x");
    text = std::nullopt;
    EXPECT_TRUE(dotFirst.scanDomainDotAtomIntoString(&text));
    EXPECT_FALSE(text) << "only the second run matched: nothing is handed back";

    Scanner route = scan(u" (c) x");
    EXPECT_FALSE(route.scanObsRoute());
    EXPECT_EQ(route.currentCharacter(), u'x') << "the obsolete route consumes CFWS";
    EXPECT_FALSE(scan(u"x").scanObsDomainIntoString(&text));
}

TEST(ScannerTokens, MessageIdsAndMimeTokens) {
    OptString text;
    Scanner id = scan(u"see <1234@local.machine.example> please");
    EXPECT_TRUE(id.scanMessageIdIntoString(&text));
    EXPECT_EQ(text, u"<1234@local.machine.example>");
    EXPECT_EQ(id.currentCharacter(), u' ');
    Scanner open = scan(u"x <unterminated");
    EXPECT_FALSE(open.scanMessageIdIntoString(&text));
    EXPECT_EQ(open.scanLocation(), 0u);
    EXPECT_FALSE(scan(u"no id").scanMessageIdIntoString(&text));

    Scanner colon = scan(u"x:y");
    EXPECT_TRUE(colon.scanRFC2045TokenIntoString(&text));
    EXPECT_EQ(text, u"x:y");
    Scanner dots = scan(u"a.b=c");
    EXPECT_TRUE(dots.scanRFC2045TokenIntoString(&text));
    EXPECT_EQ(text, u"a.b");
    Scanner word = scan(u"utf-8.x?");
    EXPECT_TRUE(word.scanRFC2047TokenIntoString(&text));
    EXPECT_EQ(text, u"utf-8");
    EXPECT_FALSE(scan(u"=x").scanRFC2045TokenIntoString(&text));
    EXPECT_FALSE(scan(u" x").scanRFC2047TokenIntoString(&text));
}

TEST(ScannerQuotedPairs, EscapeOneTextCharacter) {
    OptString text;
    Scanner pair = scan(u"\\ax");
    EXPECT_TRUE(pair.scanQuotedPairIntoString(&text, nullptr));
    EXPECT_EQ(text, u"a");
    EXPECT_EQ(pair.scanLocation(), 2u);
    EXPECT_FALSE(scan(u"\\\r").scanQuotedPairIntoString(&text, nullptr)) << "CR is not a text character";
    EXPECT_FALSE(scan(u"\\").scanQuotedPairIntoString(&text, nullptr));
    EXPECT_FALSE(scan(u"\\\u00e9").scanQuotedPairIntoString(&text, nullptr));
}
