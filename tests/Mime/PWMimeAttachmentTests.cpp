// Attachments: names, image detection, decoding to bytes, presentation, and export to files.
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "Mime/MimeTestSupport.hpp"
#include "postwright/Lexical/ContentParameters.hpp"
#include "postwright/Mime/AttachmentKinds.hpp"
#include "support/TestSupport.hpp"

using namespace postwright;
using postwright::test::parsePart;
using postwright::test::partAt;

namespace {
std::shared_ptr<PWMimeAttachment> attachment(std::string_view entity) {
    auto part = std::dynamic_pointer_cast<PWMimeAttachment>(parsePart(entity));
    EXPECT_TRUE(part) << entity;
    return part;
}

std::string slurp(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// A fresh directory under the system's temporary directory, removed with the object.
class TemporaryDirectory {
public:
    TemporaryDirectory() { std::filesystem::remove_all(path_); }
    ~TemporaryDirectory() { std::filesystem::remove_all(path_); }
    const std::filesystem::path& path() const { return path_; }

private:
    static inline int counter_ = 0;
    std::filesystem::path path_ = std::filesystem::temp_directory_path() /
                                  ("pw-attachments-" + std::to_string(::getpid()) + "-" + std::to_string(counter_++));
};

// Lowers the file-size limit of the process for the object's lifetime, so that writes past it fail.
class ScopedFileSizeLimit {
public:
    explicit ScopedFileSizeLimit(rlim_t bytes) {
        previousHandler_ = std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &previous_);
        rlimit lowered = previous_;
        lowered.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &lowered);
    }
    ~ScopedFileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &previous_);
        std::signal(SIGXFSZ, previousHandler_);
    }

private:
    rlimit previous_{};
    void (*previousHandler_)(int) = nullptr;
};
}  // namespace

TEST(AttachmentNames, MadeUpTrimmedAndTranslated) {
    auto unnamed = attachment("Content-Type: application/pdf\r\n\r\n%PDF");
    EXPECT_EQ(unnamed->unknownFileName(), u"UNTITLED_ATTACHMENT.pdf");
    EXPECT_EQ(unnamed->filename(), u"UNTITLED_ATTACHMENT.pdf") << "the made-up name is its file name";
    {
        test::ScopedStrings strings{{u"UNTITLED_ATTACHMENT", u"Unbenannt"}};
        EXPECT_EQ(unnamed->unknownFileName(), u"Unbenannt.pdf");
    }
    EXPECT_EQ(attachment("Content-Type: image/png; name=\"\\\"a.png\\\"\"\r\nContent-Disposition: attachment; "
                         "filename=b.png\r\n\r\nx")
                  ->attachmentFilename(),
              u"a.png")
        << "the Content-Type name first, double quotes trimmed";
    EXPECT_EQ(attachment("Content-Type: image/png; name=\"\"\r\nContent-Disposition: attachment; filename=b.png\r\n\r\nx")
                  ->attachmentFilename(),
              u"b.png");
}

TEST(AttachmentNames, ExportPathFromTheHostDirectoryOfTheRootPart) {
    test::ScopedAttachmentDirectory directory("/attachments");
    PWMimePartRef root = parsePart("Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n"
                                   "Content-Type: application/pdf; name=\"../a:b/c.pdf\"\r\n\r\n%PDF\r\n--b--",
                                   u"ACCOUNT/42");
    auto pdf = std::static_pointer_cast<PWMimeAttachment>(partAt(root, {0}));
    EXPECT_EQ(pdf->attachmentExportPath(), "/attachments/ACCOUNT/42/_a_b_c.pdf") << "asked for the root's identifier";
}

TEST(AttachmentContent, ImagesAreRecognisedByTheirBytes) {
    // A PNG signature in base64, declared as something else.
    EXPECT_TRUE(attachment("Content-Type: application/octet-stream\r\nContent-Transfer-Encoding: base64\r\n\r\n"
                           "iVBORw0KGgoAAAANSUhEUgAA")
                    ->isImage());
    EXPECT_FALSE(attachment("Content-Type: image/png\r\nContent-Transfer-Encoding: binary\r\n\r\n\x89PNG\r\n\x1a\n")
                     ->isImage())
        << "only base64 bodies are looked at";
    EXPECT_FALSE(attachment("Content-Type: image/png\r\nContent-Transfer-Encoding: base64\r\n\r\nJVBERi0xLjQ=")->isImage());
}

TEST(AttachmentContent, DecodesByTransferEncoding) {
    auto decoded = [](std::string_view entity) { return attachment(entity)->decodedAttachmentData(); };
    EXPECT_EQ(decoded("Content-Type: application/zip\r\nContent-Transfer-Encoding: BASE64\r\n\r\nUEsD\r\nBA==\r\n"),
              "PK\x03\x04");
    EXPECT_EQ(decoded("Content-Type: application/zip\r\nContent-Transfer-Encoding: 8bit\r\n\r\nas it stands"),
              "as it stands");
    EXPECT_EQ(decoded("Content-Type: application/zip\r\nContent-Transfer-Encoding: x-uuencode\r\n\r\nbegin"),
              std::nullopt);
    EXPECT_EQ(decoded("Content-Type: application/zip\r\nContent-Transfer-Encoding: base64\r\n\r\n"), std::nullopt);
    // Quoted-printable: text of the part's charset, written as UTF-8; a PDF's bytes as they are.
    EXPECT_EQ(decoded("Content-Type: text/x-note; charset=iso-8859-1\r\nContent-Transfer-Encoding: quoted-printable"
                      "\r\n\r\ncaf=E9"),
              "caf\xC3\xA9");
    EXPECT_EQ(decoded("Content-Type: application/pdf\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n%PDF=FF=00"),
              std::string("%PDF\xFF\0", 6));
    {
        test::ScopedRecordingLogger log;
        EXPECT_EQ(decoded("Content-Type: application/pdf\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n=ZZ"),
                  std::nullopt);
        ASSERT_EQ(log->messages().size(), 1u);
        EXPECT_TRUE(log->messages()[0].starts_with("Error creating the dispatch data from PDF content: "));
    }
    // No transfer encoding: only a charset can vouch for the bytes, which are not converted.
    EXPECT_EQ(decoded("Content-Type: text/x-note; charset=utf-8\r\n\r\ncaf\xC3\xA9"), "caf\xC3\xA9");
    EXPECT_EQ(decoded("Content-Type: text/x-note; charset=utf-8\r\n\r\ncaf\xE9"), std::nullopt);
    EXPECT_EQ(decoded("Content-Type: application/zip\r\n\r\nPK"), std::nullopt);

    Data message = Data::withString("Content-Type: message/rfc822\r\n\r\nSubject: inner\r\n\r\nbody");
    auto embedded = std::dynamic_pointer_cast<PWMessageRFC822MimePart>(PWMimePart::newMimePartWithRFC2822Data(message, u"0"));
    ASSERT_TRUE(embedded);
    EXPECT_EQ(embedded->embeddedMessageData(), "Subject: inner\r\n\r\nbody");
    EXPECT_TRUE(embedded->embeddedMessageData().sharesStorageWith(message));
}

TEST(AttachmentPresentation, PlaceholdersInTheComposersVocabulary) {
    auto pdf = attachment("Content-Type: application/pdf; name=\"a&b <1>.pdf\"\r\nContent-Id: <x y@host>\r\n\r\n%PDF");
    EXPECT_EQ(pdf->resourceURL(), u"x-postwright-cid:x%20y@host");
    EXPECT_EQ(pdf->htmlFragmentForContext(kMimeDisplayContextRich, kMimeFragmentOptionInlineAttachment, nullptr),
              u"<span orw-mime-type=\"application/pdf\" orw-name=\"a&amp;b &lt;1&gt;.pdf\" "
              u"orw-src=\"x-postwright-cid:x%20y@host\">a&amp;b &lt;1&gt;.pdf</span>");
    auto image = attachment("Content-Type: image/png; name=i.png\r\n\r\nx");
    EXPECT_EQ(image->htmlFragmentForContext(0, 0, nullptr),
              u"<span orw-mime-type=\"image/png\" orw-name=\"i.png\" orw-src=\"x-postwright-cid:0\">"
              u"<img src=\"x-postwright-cid:0\" alt=\"i.png\"></span>");
    image->setAlternativeTitle(u"shown.png");
    EXPECT_NE(image->htmlFragmentForContext(0, 0, nullptr).find(u"orw-name=\"shown.png\""), std::u16string::npos);
    EXPECT_EQ(image->mimePartByRemovingAttachments(), nullptr);
}

TEST(AttachmentExport, WritesTheBytesPrivatelyAndMakesRoomForItsDirectory) {
    TemporaryDirectory directory;
    std::filesystem::path target = directory.path() / "deeper" / "a.pdf";
    test::ScopedRecordingLogger log;
    ErrorRef error = makeError("x", 1, u"stale");
    ASSERT_TRUE(PWMimeAttachment::_exportData(Data::withString("%PDF-1.7"), target.string(), &error));
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(slurp(target), "%PDF-1.7");
    struct stat info {};
    ASSERT_EQ(::stat(target.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
    EXPECT_EQ(log->messages(), std::vector<std::string>{"[MIME:export] exported 8 bytes 0 bytes remain file a.pdf "});

    EXPECT_FALSE(PWMimeAttachment::_exportData(std::nullopt, (directory.path() / "none").string(), &error));
    EXPECT_EQ(error, nullptr);
    EXPECT_FALSE(std::filesystem::exists(directory.path() / "none")) << "no data writes nothing";

    std::ofstream(directory.path() / "folder") << "a file where the folder goes";
    target = directory.path() / "folder" / "x.bin";
    ASSERT_TRUE(PWMimeAttachment::_exportData(Data::withString("x"), target.string()));
    EXPECT_EQ(slurp(target), "x");

    // A directory that cannot be made is reported as the system reports it.
    EXPECT_FALSE(PWMimeAttachment::_exportData(Data::withString("x"), "/proc/self/no/such/x.bin", &error));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->domain, kPOSIXErrorDomain);
    EXPECT_NE(error->code, 0);
}

TEST(AttachmentExport, ReplacesAnExistingFileAndRestoresItWhenTheWriteFails) {
    TemporaryDirectory directory;
    std::filesystem::create_directories(directory.path());
    std::filesystem::path target = directory.path() / "report.pdf";
    std::ofstream(target) << "old contents";
    test::ScopedRecordingLogger log;

    ASSERT_TRUE(PWMimeAttachment::_exportData(Data::withString("new"), target.string()));
    EXPECT_EQ(slurp(target), "new");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory.path()), {}), 1)
        << "the file moved aside is removed once the new one is written";

    ErrorRef error;
    {
        ScopedFileSizeLimit limit(16);
        EXPECT_FALSE(PWMimeAttachment::_exportData(Data::withString(std::string(4096, 'x')), target.string(), &error));
    }
    ASSERT_TRUE(error);
    EXPECT_EQ(error->domain, kPOSIXErrorDomain);
    EXPECT_EQ(error->code, EFBIG);
    EXPECT_EQ(error->localizedDescription, u"Count not write attachment to path:" + fromUTF8(target.string()));
    EXPECT_EQ(slurp(target), "new") << "a failed export leaves the old file in place";
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory.path()), {}), 1);
}
