// Files a user attaches: their type, content id and URL, and the part they become.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <unistd.h>

#include "Message/MessageBuildingSupport.hpp"
#include "postwright/Message/FGFileAttachment.hpp"
#include "postwright/Mime/PWMimeAttachment.hpp"

using namespace postwright;

TEST(FGFileAttachment, TypeContentIdAndURLHaveSensibleDefaults) {
    auto report = FGFileAttachment::attachmentWithData(Data::withString("%PDF"), u"Report.PDF");
    EXPECT_EQ(report->mimeType(), u"application/pdf") << "from the extension, any case";
    std::string contentId = toUTF8(report->contentId());
    EXPECT_TRUE(test::isUUIDText(contentId.substr(0, 36)) && contentId.substr(36) == "@postwright.invalid") << contentId;
    EXPECT_EQ(report->resourceURL(), u"x-postwright-cid:" + report->contentId());

    auto unknown = FGFileAttachment::attachmentWithData(Data::withString("x"), u"notes.unknown-extension");
    EXPECT_EQ(unknown->mimeType(), u"application/octet-stream");
    auto given = FGFileAttachment::attachmentWithData(Data::withString("x"), u"a.bin", u"Text/Calendar",
                                                      u"<id 1@example.com>", u"https://example.com/a");
    EXPECT_EQ(given->mimeType(), u"text/calendar");
    EXPECT_EQ(given->contentId(), u"id 1@example.com");
    EXPECT_EQ(given->resourceURL(), u"https://example.com/a");
    auto spaced = FGFileAttachment::attachmentWithData(Data::withString("x"), u"a.png", std::nullopt, u"id 1@x");
    EXPECT_EQ(spaced->resourceURL(), u"x-postwright-cid:id%201@x") << "as rendered messages write it";
}

TEST(FGFileAttachment, ThePartIsABase64AttachmentThatDecodesToTheFile) {
    std::string bytes;
    for (int i = 0; i < 1000; ++i) bytes.push_back(static_cast<char>(i * 7));
    auto attachment = FGFileAttachment::attachmentWithData(Data::withString(bytes), u"r\u00e9sum\u00e9.pdf");
    PWMimePartRef part = attachment->mimePart();
    ASSERT_TRUE(part->isKindOfClass(PWMimeAttachment::mimeClass()));
    EXPECT_EQ(part->MIMEtype(), u"application/pdf");
    EXPECT_EQ(part->contentDisposition()->text(u"@type"), u"attachment");
    EXPECT_EQ(part->contentId(), attachment->contentId());
    EXPECT_NE(attachment->mimePart(), part) << "a new part each time: each goes into one tree";

    // Written and read back: the name survives in its RFC 2231 form, the bytes in lines of 76.
    PWMimePartRef reread = PWMimePart::newMimePartWithRFC2822Data(part->mimeNSData(), u"1");
    EXPECT_EQ(reread->filename(), u"r\u00e9sum\u00e9.pdf");
    EXPECT_TRUE(reread->transferDecodedData() == Data::withString(bytes));
    Data body = reread->contentData();
    std::string text(reinterpret_cast<const char*>(body.bytes()), body.length());
    for (size_t start = 0, end; start < text.size(); start = end + 2) {
        end = text.find("\r\n", start);
        if (end == std::string::npos) end = text.size();
        EXPECT_LE(end - start, 76u);
    }
}

TEST(FGFileAttachment, FilesAreMappedAndOnlyRegularFilesAttach) {
    namespace fs = std::filesystem;
    fs::path folder = fs::temp_directory_path() / ("pw-attachment-" + std::to_string(::getpid()));
    fs::create_directories(folder);
    std::ofstream(folder / "chart.png", std::ios::binary) << "\x89PNG\r\n\x1a\n";
    ErrorRef error;
    auto chart = FGFileAttachment::attachmentWithContentsOfFile((folder / "chart.png").string(), &error);
    ASSERT_NE(chart, nullptr);
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(chart->filename(), u"chart.png");
    EXPECT_EQ(chart->mimeType(), u"image/png");
    EXPECT_EQ(chart->data().length(), 8u);

    EXPECT_EQ(FGFileAttachment::attachmentWithContentsOfFile(folder.string(), &error), nullptr);
    ASSERT_NE(error, nullptr) << "a folder is not a file";
    EXPECT_EQ(FGFileAttachment::attachmentWithContentsOfFile((folder / "missing").string(), &error), nullptr);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->domain, kPOSIXErrorDomain);
    fs::remove_all(folder);
}
