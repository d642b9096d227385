// The MIME part core: the class registry, creation from bytes, inherited values, the setters of mutable
// parts and the mutated flag, observation of the header collection.
#include <gtest/gtest.h>

#include <thread>

#include "Mime/MimeTestSupport.hpp"
#include "postwright/Lexical/MimeError.hpp"
#include "postwright/Mime/AttachmentKinds.hpp"
#include "postwright/Mime/MessageHeaderParts.hpp"
#include "postwright/Mime/PWMultipartMimePart.hpp"
#include "postwright/Mime/PWTextHtmlMimePart.hpp"
#include "support/TestSupport.hpp"

using namespace postwright;
using postwright::test::parseMutablePart;
using postwright::test::parsePart;
using postwright::test::partAt;

namespace {
std::u16string classOf(std::string_view headers) {
    PWMimePartRef part = parsePart(std::string(headers) + "\r\n\r\nbody");
    return part ? std::u16string(part->objectClass().name) : u"(none)";
}

// One entity per line: an 8bit alternative below a Latin-1 mixed, a part without a type, a base64 PDF.
const char* const kNestedMessage =
    "Content-Type: multipart/mixed; boundary=outer; charset=iso-8859-1\r\n\r\n"
    "--outer\r\nContent-Type: multipart/alternative; boundary=inner\r\nContent-Transfer-Encoding: 8bit\r\n\r\n"
    "--inner\r\nContent-Type: text/plain\r\n\r\ncaf\xE9\r\n"
    "--inner\r\nContent-Type: text/html; charset=utf-8\r\n\r\n<p>caf\xC3\xA9</p>\r\n--inner--\r\n"
    "--outer\r\nContent-Type: /plain\r\n\r\nno type: dropped, but counted\r\n"
    "--outer\r\nContent-Type: application/pdf; name=report.pdf\r\nContent-Transfer-Encoding: BASE64\r\n"
    "Content-Id: <pdf@example>\r\n\r\nJVBERi0=\r\n--outer--\r\n";
}  // namespace

TEST(MimeRegistry, ChoosesTheClassOfEachTypeAndDisposition) {
    test::ScopedRecordingLogger log;
    const std::pair<const char*, const char16_t*> cases[] = {
        {"X-Nothing: here", u"PWTextMimePart"},  // no Content-Type is text/plain
        {"Content-Type: text/plain", u"PWTextMimePart"},
        {"Content-Type: TEXT/HTML", u"PWTextHtmlMimePart"},
        {"Content-Type: text/enriched", u"PWTextAnyAttachment"},  // general registry misses, attachment one has text/*
        {"Content-Type: text/calendar", u"PWCalendarEventMimePart"},
        {"Content-Type: text/plain\r\nContent-Disposition: ATTACHMENT", u"PWTextAnyAttachment"},
        {"Content-Type: multipart/x-unheard-of; boundary=b", u"PWMultipartMimePart"},
        {"Content-Type: multipart/encrypted; boundary=b", u"PWMultipartEncryptedMimePart"},
        {"Content-Type: message/rfc822", u"PWMessageRFC822MimePart"},  // the later registration is bound
        {"Content-Type: APPLICATION/X-FOO", u"PWApplicationMimePart"},  // "@type" is lower-cased by the parser
        {"Content-Type: application/pgp-encrypted", u"PWPGPSignedMimePart"},
        {"Content-Type: application/pkcs7-signature", u"PWSMIMESignedMimePart"},
        {"Content-Type: image/png", u"PWImageMimePart"},
        {"Content-Type: application/ics", u"PWCalendarEventMimePart"},
        {"Content-Type: message/global-headers", u"PWMessageGlobalHeadersMimePart"},
        {"Content-Type: application/rtfd", u"PWApplicationRTFDMimePart"},
        {"Content-Type: audio/ogg", u"PWAudioMimePart"},
        {"Content-Type: video/mp4", u"PWVideoMimePart"},
        {"Content-Type: txt/plain", u"PWTextAnyAttachment"},
        // A generic binary attachment named after a text file finds the general text class by extension,
        // and the attachment flag then forces the attachment class.
        {"Content-Type: application/octet-stream; name=notes.txt", u"PWMimeAttachment"},
        {"Content-Type: application/octet-stream\r\nContent-Disposition: attachment; filename=a.html",
         u"PWMimeAttachment"},
        // The extension's type is looked up in the general registry only: a PDF stays an application part.
        {"Content-Type: application/octet-stream; name=a.pdf", u"PWApplicationMimePart"},
        {"Content-Type: image/png\r\nContent-Disposition: attachment", u"PWImageMimePart"},
    };
    for (const auto& [headers, expected] : cases) {
        EXPECT_EQ(classOf(headers), expected) << headers;
    }
    EXPECT_TRUE(log->messages().empty());

    // A major type the parser does not know reads as "application".
    EXPECT_EQ(classOf("Content-Type: chemical/x-pdb"), u"PWApplicationMimePart");
    EXPECT_EQ(classOf("Content-Type: message/partial; id=1"), u"PWMimePart");
    // A disposition without a type: the full type is "(null)/*", which nothing is registered for.
    EXPECT_EQ(classOf("Content-Disposition: inline"), u"PWMimePart");
    EXPECT_EQ(log->messages(), (std::vector<std::string>{"Unknown MimeType: message/partial , using generic MimePart",
                                                        "Unknown MimeType: (null)/* , using generic MimePart"}));
}

TEST(MimeRegistry, KeepsTwoRegistriesAndHonoursLaterRegistrations) {
    EXPECT_EQ(PWMimePart::classForMimeType(u"image/png"), nullptr) << "images live in the attachment registry";
    EXPECT_EQ(PWMimeAttachment::classForMimeType(u""), nullptr);

    // A class registers into the registry of its kind, and replaces what the table registered.
    PWMimePart::registerForMimeType(PWVideoMimePart::mimeClass(), u"Application/X-Registry-Test");
    EXPECT_EQ(PWMimeAttachment::classForMimeType(u"application/x-registry-test"), &PWVideoMimePart::mimeClass());
    EXPECT_EQ(PWMimePart::classForMimeType(u"application/x-registry-test"), nullptr);
    PWMimeAttachment::registerForMimeType(PWTextHtmlMimePart::mimeClass(), u"text/x-registry-test");
    EXPECT_EQ(PWMimePart::classForMimeType(u"text/x-registry-test"), &PWTextHtmlMimePart::mimeClass());
}

TEST(MimePartCreation, BuildsTheTreeWithPositionalIdentifiersAndViews) {
    test::ScopedRecordingLogger quiet;  // the part without a type is logged
    Data message = Data::withString(kNestedMessage);
    PWMimePartRef root = PWMimePart::newMimePartWithRFC2822Data(message, u"R");
    ASSERT_TRUE(root);
    ASSERT_EQ(root->subParts().size(), 2u) << "the part without a type is not kept";
    EXPECT_EQ(partAt(root, {0})->identifier(), u"R/0");
    EXPECT_EQ(partAt(root, {0, 1})->identifier(), u"R/0/1");
    EXPECT_EQ(partAt(root, {1})->identifier(), u"R/2") << "the dropped part still used up its number";
    EXPECT_EQ(partAt(root, {0, 1})->parent(), partAt(root, {0}));
    EXPECT_EQ(partAt(root, {0, 1})->rootMimePart(), root);

    // Nothing of the message is copied: every body is a view of the input.
    for (const PWMimePartRef& part : root->mimePartsPassingTest([](const PWMimePart&) { return true; })) {
        EXPECT_TRUE(part->mimeNSData().sharesStorageWith(message)) << toUTF8(part->description());
        if (!part->hasSubParts()) {
            EXPECT_TRUE(part->contentData().sharesStorageWith(message));
        }
    }
    EXPECT_TRUE(root->contentData().empty()) << "a split multipart has no content of its own";
    EXPECT_EQ(partAt(root, {0, 0})->contentData(), "caf\xE9");
}

TEST(MimePartCreation, ReadsItsFieldsAndInheritsCharsetAndTransferEncoding) {
    test::ScopedRecordingLogger quiet;  // the part without a type is logged
    PWMimePartRef root = parsePart(kNestedMessage);
    PWMimePartRef plain = partAt(root, {0, 0});
    EXPECT_EQ(plain->charset(), u"iso-8859-1") << "from the grandparent";
    EXPECT_EQ(plain->stringEncoding(), kISOLatin1StringEncoding);
    EXPECT_EQ(partAt(root, {0, 1})->charset(), u"utf-8");
    EXPECT_EQ(plain->contentTransferEncoding(), u"8bit") << "from the parent";
    EXPECT_EQ(plain->FGTransferEncoding(), kFGTransferEncoding8Bit);
    EXPECT_EQ(root->contentTransferEncoding(), std::nullopt);
    EXPECT_EQ(plain->plainContent(), u"caf\u00e9");
    EXPECT_EQ(plain->decodedContentSize(), 4u);
    EXPECT_TRUE(root->isWellFormed());

    PWMimePartRef pdf = partAt(root, {1});
    EXPECT_EQ(pdf->contentTransferEncoding(), u"base64") << "lower-cased";
    EXPECT_EQ(pdf->FGTransferEncoding(), kFGTransferEncodingBase64);
    EXPECT_EQ(pdf->contentId(), u"pdf@example") << "without its angle brackets";
    EXPECT_EQ(partAt(root, {0})->contentId(), u"0/0") << "no Content-Id: the identifier";
    // A Content-Type name becomes the file name of a disposition that has none.
    ASSERT_TRUE(pdf->contentDisposition());
    EXPECT_EQ(pdf->contentDisposition()->text(u"filename"), u"report.pdf");
    EXPECT_FALSE(pdf->contentDisposition()->contains(u"@type"));
    EXPECT_TRUE(pdf->contentIsBase64encoded());

    PWMimePartRef bare = parsePart("Subject: none\r\n\r\nhello");
    EXPECT_EQ(bare->contentType(),
              (ParameterDictionary{{u"@fulltype", u"text/plain"}, {u"@type", u"text"}, {u"@subtype", u"plain"}}));
    EXPECT_EQ(bare->FGTransferEncoding(), kFGTransferEncodingOther);
    EXPECT_FALSE(bare->contentDisposition());

    ErrorRef error = makeError("x", 1, u"stale");
    EXPECT_EQ(PWMimePart::newMimePartWithRFC2822Data(Data(), u"0", &error), nullptr);
    EXPECT_EQ(error, nullptr) << "empty data is no error";
}

TEST(MimePartCreation, AMultipartThatCannotBeSplitKeepsItsBodyAndReportsWhy) {
    ErrorRef error;
    std::string body = "--gr\xC3\xBC\xC3\x9F\r\nContent-Type: text/plain\r\n\r\nx\r\n--gr\xC3\xBC\xC3\x9F--";
    PWMimePartRef part = PWMimePart::newMimePartWithRFC2822Data(
        Data::withString("Content-Type: multipart/mixed; boundary*=utf-8''gr%C3%BC%C3%9F\r\n\r\n" + body), u"0", &error);
    ASSERT_TRUE(part);
    ASSERT_TRUE(error) << "a boundary that is not ASCII cannot be searched for";
    EXPECT_EQ(error->domain, kMimeErrorDomain);
    EXPECT_EQ(error->code, 2);
    EXPECT_FALSE(part->hasSubParts());
    EXPECT_EQ(part->contentData(), body);

    // A boundary that never occurs: no children, no error, the body is the content.
    PWMimePartRef unsplit = parsePart("Content-Type: multipart/mixed; boundary=zz\r\n\r\nplain text");
    EXPECT_FALSE(unsplit->hasSubParts());
    EXPECT_EQ(unsplit->contentData(), "plain text");
}

TEST(MimePartCreation, AnEntityWithoutHeaderFieldsIsAllBody) {
    // A part that starts with its blank line has no header block; its text must not be read as one.
    PWMimePartRef root = parsePart("Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n\r\nBlah blah\r\n"
                                   "--b\r\nContent-Type: text/plain\r\n\r\nsecond\r\n--b--\r\n");
    ASSERT_EQ(root->subParts().size(), 2u);
    EXPECT_EQ(partAt(root, {0})->plainContent(), u"Blah blah");
    EXPECT_EQ(partAt(root, {1})->plainContent(), u"second");

    // Mail written without headers: the whole text is the body.
    EXPECT_EQ(parsePart("\nJust text,\nover two lines.\n")->contentData(), "Just text,\nover two lines.\n");
    EXPECT_EQ(parsePart("Not: a body\n")->contentData(), "") << "a header block without a blank line stays headers";
}

TEST(MimePartReading, StringEncodingNamesAndFallsBackToUTF8) {
    const std::pair<const char*, TextEncoding> cases[] = {
        {"ISO-8859-1", kISOLatin1StringEncoding},   {"utf-8", kUTF8StringEncoding},
        {"US-ASCII", kASCIIStringEncoding},         {"Windows-1252", kWindowsCP1252StringEncoding},
        {"iso-8859-2", kISOLatin2StringEncoding},   {"x-no-such-charset", kUTF8StringEncoding},
        {"\"\"", kUTF8StringEncoding},
    };
    for (const auto& [charset, expected] : cases) {
        PWMimePartRef part = parsePart(std::string("Content-Type: text/plain; charset=") + charset + "\r\n\r\nx");
        EXPECT_EQ(part->stringEncoding(), expected) << charset;
    }
}

TEST(MimePartReading, FileNamesFromDispositionPiecesAndEncodedWords) {
    auto nameOf = [](std::string_view disposition) {
        return parsePart("Content-Type: text/plain\r\nContent-Disposition: " + std::string(disposition) + "\r\n\r\nx")
            ->filename();
    };
    EXPECT_EQ(nameOf("attachment; filename=\"a b.txt\""), u"a b.txt");
    EXPECT_EQ(nameOf("attachment; filename*0*=utf-8''%C3%A9t%C3%A9; filename*1=.pdf"), u"\u00e9t\u00e9.pdf");
    EXPECT_EQ(nameOf("attachment; filename=\"=?utf-8?Q?caf=C3=A9?=.txt\""), u"caf\u00e9.txt");
    // Pieces without a charset stay apart in the info; the file name joins them in section order.
    EXPECT_EQ(nameOf("inline; filename*0*=''abc; filename*1=def"), u"abcdef");
    // An attachment always has a "filename" (its made-up name when it has no other), which comes first.
    EXPECT_EQ(parsePart("Content-Type: application/pdf\r\nContent-Disposition: attachment; filename*0*=''a\r\n"
                        "\r\nx")
                  ->filename(),
              u"UNTITLED_ATTACHMENT.pdf");
    EXPECT_EQ(parsePart("Content-Type: text/plain\r\n\r\nx")->filename(), std::nullopt);
}

TEST(MimePartReading, NotWellFormedWhenSomeSerialisedPartBeginsWithALineBreak) {
    EXPECT_FALSE(parsePart("\r\n\r\nbody without headers")->isWellFormed());
    PWMimePartRef container = PWMultipartMimePart::initMutableWithSubtype(u"mixed", std::u16string(u"b"));
    std::static_pointer_cast<PWMultipartMimePart>(container)->addPart(parsePart("\r\nstarts with a line break"));
    EXPECT_FALSE(container->isWellFormed()) << "a child that is not well formed spoils its container";
}

TEST(MimePartMutability, EverySetterOfAnImmutablePartIsAProgrammingError) {
    test::ScopedRecordingLogger quiet;  // the part without a type is logged
    PWMimePartRef part = parsePart(kNestedMessage);
    const std::function<void()> setters[] = {
        [&] { part->setHeader(u"x", u"X-Test"); },
        [&] { part->setType(u"text"); },
        [&] { part->setSubtype(u"plain"); },
        [&] { part->setBoundary(u"b"); },
        [&] { part->setCharset(u"utf-8"); },
        [&] { part->setContentType(ParameterDictionary{}); },
        [&] { part->setContentDisposition(std::nullopt); },
        [&] { part->setContentId(u"id"); },
        [&] { part->setContentTransferEncoding(u"7bit"); },
        [&] { part->setSubParts({}); },
        [&] { part->setBinaryContentData(Data::withString("x")); },
    };
    for (const auto& setter : setters) {
        try {
            setter();
            ADD_FAILURE() << "no assertion";
        } catch (const ProgrammingError& error) {
            EXPECT_STREQ(error.what(), "MimePart Is Not Mutable");
            EXPECT_EQ(error.sourceFile(), "PWMimePart");
        }
    }
    // These two only store on an immutable part; its bytes stay those it was parsed from.
    std::string before = test::bytesOf(*part);
    part->setHeaders(PWMessageHeaders::init());
    part->setContentData(Data::withString("replaced"));
    EXPECT_EQ(part->contentData(), "replaced");
    EXPECT_EQ(test::bytesOf(*part), before);
    part->setMutated(true);
    EXPECT_FALSE(part->isMutated()) << "an immutable part is never mutated";
}

TEST(MimePartMutability, AChangeMarksEveryAncestorAndTheSameValueChangesNothing) {
    test::ScopedRecordingLogger quiet;  // the part without a type is logged
    PWMimePartRef root = parseMutablePart(kNestedMessage);
    PWMimePartRef plain = partAt(root, {0, 0});
    EXPECT_FALSE(root->isMutated()) << "a parse leaves the tree unmutated";

    plain->setCharset(u"iso-8859-1");  // the parameter it does not have yet
    EXPECT_TRUE(plain->isMutated());
    EXPECT_TRUE(partAt(root, {0})->isMutated());
    EXPECT_TRUE(root->isMutated());
    EXPECT_FALSE(partAt(root, {0, 1})->isMutated()) << "siblings are not touched";

    PWMimePartRef fresh = parseMutablePart(kNestedMessage);
    PWMimePartRef pdf = partAt(fresh, {1});
    pdf->setContentTransferEncoding(u"base64");
    pdf->setContentId(u"pdf@example");
    pdf->setType(u"application");
    pdf->setSubtype(u"pdf");
    pdf->setBoundary(std::nullopt);
    pdf->setContentDisposition(pdf->contentDisposition());
    pdf->setContentData(pdf->contentData());
    EXPECT_FALSE(pdf->isMutated()) << "every value set was the one held";
    pdf->setSubParts({});
    EXPECT_TRUE(pdf->isMutated()) << "a leaf given an empty child list has changed";
    EXPECT_FALSE(partAt(fresh, {0})->isMutated());
}

TEST(MimePartMutability, APartCannotBecomeItsOwnDescendant) {
    auto outer = PWMultipartMimePart::initMutableWithSubtype(u"mixed");
    auto inner = PWMultipartMimePart::initMutableWithSubtype(u"mixed");
    outer->addPart(inner);
    for (const PWMimePartRef& cycle : {PWMimePartRef(outer), PWMimePartRef(inner)}) {
        try {
            inner->setSubParts({cycle});
            ADD_FAILURE() << "no assertion";
        } catch (const ProgrammingError& error) {
            EXPECT_STREQ(error.what(), "A MimePart cannot contain itself");
        }
    }
    EXPECT_TRUE(inner->subParts().empty());
}

TEST(MimePartMutability, SettersKeepTheContentTypeInStep) {
    test::ScopedRecordingLogger quiet;  // the part without a type is logged
    PWMimePartRef root = parseMutablePart(kNestedMessage);
    PWMimePartRef plain = partAt(root, {0, 0});
    plain->setSubtype(u"enriched");
    EXPECT_EQ(plain->contentType().text(u"@fulltype"), u"text/enriched");

    // A content type without a charset takes the part's current one, inherited or not.
    plain->setContentType(ParameterDictionary{{u"@type", u"text"}, {u"@subtype", u"plain"}});
    EXPECT_EQ(plain->contentType().text(u"charset"), u"iso-8859-1");
    plain->setContentType(ParameterDictionary{{u"@type", u"text"}, {u"charset", u"koi8-r"}});
    EXPECT_EQ(plain->charset(), u"koi8-r");

    PWMimePartRef built = PWMimePart::initMutable();
    EXPECT_FALSE(built->identifier());
    built->setContentId(u"made@here");
    EXPECT_EQ(built->identifier(), u"made@here") << "a part without identifier takes its content id";
    built->setContentId(u"other@here");
    EXPECT_EQ(built->identifier(), u"made@here");

    built->setBinaryContentData(Data::withString(std::string(100, 'x')));
    EXPECT_EQ(built->contentData().toString().find("\r\n"), 76u) << "base64 in lines of 76 characters";
    EXPECT_EQ(built->binaryContentData(), std::string(100, 'x'));
}

TEST(MimePartMutability, SettingAHeaderRereadsTheMimeFields) {
    PWMimePartRef part = parseMutablePart("Content-Type: text/plain\r\nX-Other: 1\r\n\r\nbody");
    part->setHeader(u"text/html; charset=koi8-r", u"content-type");
    EXPECT_EQ(part->MIMEtype(), u"text/html");
    EXPECT_EQ(part->charset(), u"koi8-r");
    part->setHeader(u"QUOTED-PRINTABLE", u"Content-Transfer-Encoding");
    EXPECT_EQ(part->contentTransferEncoding(), u"quoted-printable");
    part->setHeader(u"<new@id>", u"Content-ID");
    EXPECT_EQ(part->contentId(), u"new@id");
    EXPECT_TRUE(part->isMutated());
    EXPECT_EQ(part->headers()->firstHeaderForKey(u"X-Other"), u"1");
}

TEST(MimePartMutability, ObservesItsHeadersAndReadingThemChangesNothing) {
    PWMimePartRef part = parseMutablePart(
        "Content-Type: text/plain; charset=\"us-ascii\"\r\n"
        "Content-Transfer-Encoding: 7BIT\r\n\r\nbody");
    PWMessageHeadersRef headers = part->headers();
    EXPECT_FALSE(part->isMutated()) << "bringing the fields in line is not a change";
    EXPECT_EQ(headers->firstHeaderForKey(u"Content-Type", false), u"text/plain; charset=\"us-ascii\"")
        << "a field that says what the part says keeps its text";
    EXPECT_EQ(part->headers(), headers) << "the same collection each time";
    EXPECT_EQ(part->mimeNSData(), "Content-Type: text/plain; charset=\"us-ascii\"\r\n"
                                  "Content-Transfer-Encoding: 7BIT\r\n\r\nbody");

    auto editable = std::dynamic_pointer_cast<PWMutableMessageHeaders>(headers);
    ASSERT_TRUE(editable);
    editable->setHeader(u"hello", u"Subject");
    EXPECT_TRUE(part->isMutated()) << "a change of the observed collection marks the part";

    // A part that goes away stops observing: changing the collection afterwards is harmless.
    part.reset();
    editable->setHeader(u"again", u"Subject");
    EXPECT_EQ(editable->subject(), u"again");
}

TEST(MimePartMutability, MutableAndImmutableTurnsAndCopies) {
    test::ScopedRecordingLogger quiet;  // the part without a type is logged
    PWMimePartRef part = parsePart("Content-Type: text/plain\r\n\r\nbody");
    part->setMutable(true);
    part->setCharset(u"utf-8");
    part->setMutable(false);
    EXPECT_FALSE(part->isMutated());
    EXPECT_NE(test::bytesOf(*part).find("charset=utf-8"), std::string::npos) << "the rebuilt bytes are the source now";

    PWMimePartRef root = parsePart(kNestedMessage, u"R");
    EXPECT_FALSE(root->copy()->isMutable());
    PWMimePartRef draft = root->mutableCopy();
    EXPECT_TRUE(draft->isMutable());
    EXPECT_FALSE(draft->isMutated());
    EXPECT_EQ(draft->identifier(), u"R");
    EXPECT_EQ(test::bytesOf(*draft), kNestedMessage);
    EXPECT_TRUE(partAt(draft, {0, 1})->isMutable()) << "a mutable copy is mutable all the way down";
}

TEST(MimePartMutability, ReadersAndWritersOnSeveralThreadsNeverDeadlock) {
    test::ScopedRecordingLogger quiet;  // the part without a type is logged
    PWMimePartRef root = parseMutablePart(kNestedMessage);
    PWMimePartRef plain = partAt(root, {0, 0});
    PWMimePartRef alternative = partAt(root, {0});
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    threads.emplace_back([&] {
        for (int i = 0; i < 300; ++i) plain->setCharset(i % 2 ? u"utf-8" : u"iso-8859-1");
        stop = true;
    });
    threads.emplace_back([&] {
        while (!stop) (void)plain->charset();
    });
    threads.emplace_back([&] {
        while (!stop) (void)root->mimeNSData();
    });
    threads.emplace_back([&] {
        while (!stop) alternative->setContentTransferEncoding(alternative->contentTransferEncoding());
    });
    for (std::thread& thread : threads) thread.join();
    plain->setCharset(u"koi8-r");
    EXPECT_NE(test::bytesOf(*root).find("charset=koi8-r"), std::string::npos) << "no stale bytes were cached";
}
