// Regular expressions, MIME types, character and byte sets, the byte scanner and the host services.
#include <gtest/gtest.h>

#include "postwright/Base/CharacterSet.hpp"
#include "postwright/Base/DataScanner.hpp"
#include "postwright/Base/Error.hpp"
#include "postwright/Base/Host.hpp"
#include "postwright/Base/MimeTypes.hpp"
#include "postwright/Base/Regex.hpp"
#include "support/TestSupport.hpp"

using namespace postwright;

TEST(Regex, UsesICUSyntaxWithPOSIXClasses) {
    Regex numeric(u"([:punct:]|\\s)(\\d?\\d)([:punct:]|\\s)", Regex::CaseInsensitive);
    auto match = numeric.firstMatch(u"3/4/2020 at 10:00");
    ASSERT_TRUE(match);
    EXPECT_EQ(match->group(u"3/4/2020 at 10:00", 2), u"4");
    Regex time(u"(\\d?\\d):(\\d\\d)(:(\\d\\d))?\\s?(am|pm)?", Regex::CaseInsensitive);
    std::u16string text = u"at 9:05 PM";
    auto clock = time.firstMatch(text);
    ASSERT_TRUE(clock);
    EXPECT_EQ(clock->group(text, 1), u"9");
    EXPECT_FALSE(clock->group(text, 4)) << "an unmatched group is absent";
    EXPECT_EQ(clock->group(text, 5), u"PM");
    EXPECT_EQ(Regex(u"\\s").replaceAll(u"a b\tc\r\n", u""), u"abc");
    EXPECT_EQ(Regex(u"\\d").numberOfMatches(u"ab12cd3"), 3u);
    EXPECT_TRUE(Regex(u"^(?:[A-Za-z0-9-]+\\.)+[A-Za-z]{2,}$", Regex::CaseInsensitive).matchesEntirely(u"mail.example.org"));
    EXPECT_THROW(Regex(u"(unclosed"), ProgrammingError);
}

TEST(MimeTypes, MapsExtensionsAndSniffsImages) {
    EXPECT_EQ(mimeTypeForFilenameExtension(u"PDF"), u"application/pdf");
    EXPECT_EQ(mimeTypeForFilenameExtension(u"txt"), u"text/plain");
    EXPECT_FALSE(mimeTypeForFilenameExtension(u"no-such-extension"));
    EXPECT_FALSE(mimeTypeForFilenameExtension(u""));
    EXPECT_EQ(preferredFilenameExtensionForMimeType(u"image/png"), u"png");

    auto sniff = [](std::string_view bytes) {
        return imageMimeType(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    };
    EXPECT_EQ(sniff("\x89PNG\r\n\x1a\n\0\0\0\rIHDR"), u"image/png");
    EXPECT_EQ(sniff("\xFF\xD8\xFF\xE0"), u"image/jpeg");
    EXPECT_EQ(sniff("GIF89a.."), u"image/gif");
    EXPECT_EQ(sniff(std::string_view("BM6\x0c\0\0", 6)), u"image/bmp");
    EXPECT_EQ(sniff(std::string_view("II*\0", 4)), u"image/tiff");
    EXPECT_EQ(sniff(std::string_view("RIFF\x10\0\0\0WEBP", 12)), u"image/webp");
    EXPECT_EQ(sniff(std::string_view("\0\0\0\x18" "ftypheic", 12)), u"image/heic");
    EXPECT_FALSE(sniff("%PDF-1.7"));
    EXPECT_FALSE(sniff("\x89PN"));
}

TEST(CharacterSet, BuildsFromRangesCharactersAndPredicates) {
    CharacterSet set = CharacterSet::withRanges({{u'a', 3}});
    set.addCharacters(u"xyz");
    set.removeCharacters(u"b");
    EXPECT_TRUE(set.contains(u'a'));
    EXPECT_FALSE(set.contains(u'b'));
    EXPECT_TRUE(set.contains(u'y'));
    EXPECT_FALSE(set.contains(u'd'));
    CharacterSet high = CharacterSet::withPredicate([](char16_t c) { return c == 0xFFFF; });
    EXPECT_TRUE(high.contains(0xFFFF));
    EXPECT_FALSE(high.contains(0));
    high.invert();
    EXPECT_TRUE(high.contains(0));
}

TEST(FGDataScanner, ScansByBytesAndSetsWithoutCopying) {
    Data data = Data::withString("X-Key: value\r\n\r\nbody");
    FGDataScanner scanner(data);
    FGByteSet fieldName;
    fieldName.addBytesInRange({33, 95});
    fieldName.removeByte(':');
    Data name;
    ASSERT_TRUE(scanner.scanBytesInSet(fieldName, &name));
    EXPECT_EQ(name, "X-Key");
    EXPECT_TRUE(name.sharesStorageWith(data));
    EXPECT_TRUE(scanner.scanByte(':'));
    EXPECT_FALSE(scanner.scanByte(':'));
    Data value;
    EXPECT_TRUE(scanner.scanUpToBytesInSet(FGByteSet::crlfByteSet(), &value));
    EXPECT_EQ(value, " value");
    EXPECT_TRUE(scanner.scanData("\r\n\r\n"));
    EXPECT_FALSE(scanner.scanUpToData("body")) << "nothing passed over";
    EXPECT_TRUE(scanner.scanUpToData("missing", &value));
    EXPECT_EQ(value, "body");
    EXPECT_TRUE(scanner.isAtEnd());
    scanner.setLocation(1000);
    EXPECT_EQ(scanner.location(), data.length());
    FGByteSet listed = FGByteSet::newWithBytes({' ', '\t', 0, 'x'});
    EXPECT_TRUE(listed.contains('\t'));
    EXPECT_FALSE(listed.contains('x')) << "the list ends at its first 0";
}

namespace {
class FrenchStrings : public StringTable {
public:
    OptString localizedString(std::u16string_view key, std::u16string_view) override {
        if (key == u"UNTITLED_ATTACHMENT") return u"SANS_TITRE";
        return std::nullopt;
    }
};
}  // namespace

TEST(Host, LooksUpTextsAndLogsThroughTheInstalledServices) {
    EXPECT_EQ(localizedString(u"UNTITLED_ATTACHMENT", u"UNTITLED_ATTACHMENT"), u"UNTITLED_ATTACHMENT");
    Application::shared().setStrings(std::make_shared<FrenchStrings>());
    EXPECT_EQ(localizedString(u"UNTITLED_ATTACHMENT", u"UNTITLED_ATTACHMENT"), u"SANS_TITRE");
    EXPECT_EQ(localizedString(u"OTHER", u"fallback"), u"fallback") << "per-key fallback";
    Application::shared().setStrings(nullptr);

    test::ScopedRecordingLogger logger;
    logForCategory("4904-trimming", u"Trimming node at start");
    logMessage(u"general line");
    auto lines = logger->lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].first, "4904-trimming");
    EXPECT_EQ(lines[1].second, "general line");

    std::string directory =
        Application::shared().attachmentDirectoryDelegate()->pathToAttachmentDirectoryForIdentifier(u"abc/0");
    EXPECT_NE(directory.find("abc_0"), std::string::npos);
}
