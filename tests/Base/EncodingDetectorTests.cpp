// The charset detector's rules: which stage decides, what it never answers, and how hints weigh.
#include <gtest/gtest.h>

#include <random>

#include "postwright/Base/EncodingDetector.hpp"
#include "postwright/Base/Host.hpp"
#include "postwright/Base/TextEncoding.hpp"

using namespace postwright;

namespace {

Data encoded(std::u16string_view text, const char16_t* charset) {
    std::optional<Data> bytes = dataFromString(text, encodingForCharSetName(charset));
    if (!bytes) ADD_FAILURE() << "not representable in the charset";
    return bytes.value_or(Data());
}

bool isUnicodeForm(TextEncoding encoding) {
    return encoding == kUTF16StringEncoding || encoding == kUTF16BigEndianStringEncoding ||
           encoding == kUTF16LittleEndianStringEncoding || encoding == kUTF32StringEncoding ||
           encoding == kUTF32BigEndianStringEncoding || encoding == kUTF32LittleEndianStringEncoding;
}

std::string randomBytes(std::mt19937& random, size_t length, uint8_t lowest) {
    std::uniform_int_distribution<int> byte(lowest, 255);
    std::string bytes(length, '\0');
    for (char& c : bytes) c = static_cast<char>(byte(random));
    return bytes;
}

}  // namespace

TEST(EncodingDetector, StructuralStagesDecideBeforeTheStatistics) {
    struct Case {
        std::string bytes;
        TextEncoding encoding;
        DetectionStage stage;
    };
    const Case cases[] = {
        {"", kASCIIStringEncoding, DetectionStage::Empty},
        {"plain text", kASCIIStringEncoding, DetectionStage::ASCII},
        {"\xEF\xBB\xBFtext", kUTF8StringEncoding, DetectionStage::ByteOrderMark},
        {std::string("\xFF\xFEh\0i\0", 6), kUTF16StringEncoding, DetectionStage::ByteOrderMark},
        {std::string("\xFE\xFF\0h\0i", 6), kUTF16StringEncoding, DetectionStage::ByteOrderMark},
        {std::string("\xFF\xFE\0\0h\0\0\0", 8), kUTF32StringEncoding, DetectionStage::ByteOrderMark},
        {std::string("h\0e\0l\0l\0o\0", 10), kUTF16LittleEndianStringEncoding, DetectionStage::NulLayout},
        {std::string("\0h\0e\0l\0l\0o", 10), kUTF16BigEndianStringEncoding, DetectionStage::NulLayout},
        {std::string("h\0\0\0i\0\0\0", 8), kUTF32LittleEndianStringEncoding, DetectionStage::NulLayout},
        {std::string("a\0b", 3), kASCIIStringEncoding, DetectionStage::ASCII},
        {"Gr\xC3\xBC\xC3\x9F" "e", kUTF8StringEncoding, DetectionStage::UTF8},
        {"\x1b$B$3$s$K$A$O\x1b(B", encodingForCharSetName(u"iso-2022-jp"), DetectionStage::EscapeForm},
        {"\x1b$)C\x0e\x3e\x48\x0f", encodingForCharSetName(u"iso-2022-kr"), DetectionStage::EscapeForm},
        {"ESC \x1b[1m bold", kASCIIStringEncoding, DetectionStage::ASCII},
        {"\x1b$B\x1b(B \x1b$B\x7f\x7f", kASCIIStringEncoding, DetectionStage::ASCII},
    };
    for (const Case& c : cases) {
        EncodingDetection found = detectEncoding(Data::withString(c.bytes));
        EXPECT_EQ(found.encoding, c.encoding) << c.bytes;
        EXPECT_EQ(found.stage, c.stage) << c.bytes;
    }
    TextEncoding used = kNoEncoding;
    EXPECT_EQ(newByDecodingData(Data::withString(std::string("\xFE\xFF\0h\0i", 6)), &used), u"hi")
        << "the mark gives the byte order and is not part of the text";
}

TEST(EncodingDetector, NeverUTF16OrUTF32WithoutAMarkOrNulBytes) {
    std::mt19937 random(21);
    for (int round = 0; round < 2000; ++round) {
        std::string bytes = randomBytes(random, 1 + round % 64, 1);
        EncodingDetection found = detectEncoding(Data::withString(bytes));
        ASSERT_FALSE(isUnicodeForm(found.encoding)) << "round " << round;
        for (const EncodingCandidate& candidate : found.candidates) ASSERT_FALSE(isUnicodeForm(candidate.encoding));
    }
    // Even-length words of two-byte letters, the shape that once read as UTF-16.
    for (const char16_t* word : {u"\u0421\u043f\u0430\u0441\u0438\u0431\u043e", u"\u03b1\u03b2", u"\u00e9\u00e8"}) {
        for (const char16_t* charset : {u"windows-1251", u"koi8-r", u"iso-8859-7", u"windows-1252", u"utf-16le"}) {
            std::optional<Data> bytes = dataFromString(word, encodingForCharSetName(charset));
            if (!bytes) continue;
            bool hasNul = bytes->findByte(0) != Data::npos;
            EXPECT_EQ(isUnicodeForm(detectEncoding(*bytes).encoding), hasNul) << toUTF8(word);
        }
    }
}

TEST(EncodingDetector, ValidUTF8StaysUTF8AndTheCheckMatchesTheDecoder) {
    std::mt19937 random(8);
    for (const char16_t* text : {u"\u00e9", u"\u4f1a\u8b70", u"\U0001F44D ok", u"\u0421\u043f\u0430\u0441\u0438\u0431\u043e"}) {
        EXPECT_EQ(detectEncoding(encoded(text, u"utf-8")).encoding, kUTF8StringEncoding);
    }
    // The validity check against the strict decoder, on the sequences where UTF-8 is subtle: overlong
    // forms, surrogates, code points above U+10FFFF, truncation, and random bytes around ASCII runs.
    std::vector<std::string> inputs = {"\xC0\xAF", "\xC1\xBF", "\xE0\x80\xAF", "\xE0\xA0\x80", "\xED\xA0\x80",
                                       "\xED\x9F\xBF", "\xF0\x8F\xBF\xBF", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF",
                                       "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xE2\x82", "\xC3", "\x80"};
    for (int round = 0; round < 3000; ++round) {
        std::string bytes = std::string(static_cast<size_t>(round % 40), 'a') + randomBytes(random, 1 + round % 5, 0x80);
        inputs.push_back(bytes);
    }
    for (int first = 0x80; first < 0x100; ++first) {
        for (int second = 0; second < 0x100; ++second) {
            inputs.push_back({static_cast<char>(first), static_cast<char>(second)});
        }
    }
    for (const std::string& bytes : inputs) {
        const uint8_t* raw = reinterpret_cast<const uint8_t*>(bytes.data());
        bool decodes = stringFromBytes(raw, bytes.size(), kUTF8StringEncoding).has_value();
        ASSERT_EQ(isValidUTF8(raw, bytes.size()), decodes) << "bytes of length " << bytes.size();
    }
}

TEST(EncodingDetector, AMultiByteReadingOnlyWhenTheBytesAreValidInIt) {
    // Latin words whose 8-bit letters are followed by ASCII that a double-byte charset would take as a
    // trail byte, and lone lead bytes at the end.
    for (const char16_t* text : {u"D\u011bkuji", u"\u0130stanbul", u"c\u0153ur", u"Stra\u00dfe", u"caf\u00e9"}) {
        for (const char16_t* charset : {u"windows-1250", u"windows-1254", u"iso-8859-15", u"windows-1252"}) {
            std::optional<Data> bytes = dataFromString(text, encodingForCharSetName(charset));
            if (!bytes) continue;
            EncodingDetection found = detectEncoding(*bytes);
            EXPECT_TRUE(stringFromData(*bytes, found.encoding)) << toUTF8(text) << " in " << toUTF8(charset);
            for (const EncodingCandidate& candidate : found.candidates) {
                EXPECT_TRUE(stringFromData(*bytes, candidate.encoding))
                    << toUTF8(*charSetNameForEncoding(candidate.encoding)) << " proposed for " << toUTF8(text);
            }
        }
    }
    Data shiftJIS = encoded(u"\u660e\u65e5\u306e\u4f1a\u8b70\u306b\u3064\u3044\u3066", u"shift_jis");
    EXPECT_EQ(detectEncoding(shiftJIS).encoding, kShiftJISStringEncoding);
    Data cut = Data::withString(shiftJIS.view().substr(0, shiftJIS.length() - 1));
    EXPECT_NE(detectEncoding(cut).encoding, kShiftJISStringEncoding) << "a lead byte without its trail";
}

TEST(EncodingDetector, AHintDecidesBetweenPlausibleReadingsAndNeverRescuesAnImplausibleOne) {
    const TextEncoding turkish = encodingForCharSetName(u"windows-1254");
    Data toplanti = encoded(u"toplant\u0131", u"windows-1254");  // "toplantı" reads as Czech "toplantý" too
    EncodingHints hints;
    hints.message = {turkish};
    EncodingDetection hinted = detectEncoding(toplanti, hints);
    EXPECT_EQ(hinted.encoding, turkish);
    EXPECT_TRUE(hinted.candidates.front().hinted);
    hints.message = {encodingForCharSetName(u"iso-8859-9")};
    EXPECT_EQ(*stringFromData(toplanti, detectEncoding(toplanti, hints).encoding), u"toplant\u0131")
        << "a hint for a sibling of the same language counts too";

    // KOI8-R read as windows-1251 gives a word that turns from lower to upper case: the hint loses.
    Data russian = encoded(u"\u0421\u043f\u0430\u0441\u0438\u0431\u043e \u0437\u0430 \u043f\u043e\u043c\u043e\u0449\u044c", u"koi8-r");
    hints.message = {kWindowsCP1251StringEncoding};
    EXPECT_EQ(detectEncoding(russian, hints).encoding, encodingForCharSetName(u"koi8-r"));
    // A hint whose decoding fails is not a candidate at all.
    Data latin = encoded(u"Gr\u00fc\u00dfe aus M\u00fcnchen", u"iso-8859-1");
    hints.message = {kShiftJISStringEncoding};
    hints.declared = kUTF8StringEncoding;
    EXPECT_EQ(*stringFromData(latin, detectEncoding(latin, hints).encoding), u"Gr\u00fc\u00dfe aus M\u00fcnchen");
    // The host's hints count, through the decoding the library does.
    TextEncoding used = kNoEncoding;
    EXPECT_EQ(newByDecodingData(toplanti, &used), u"toplant\u00fd") << "without hints the Czech reading wins";
    Application::shared().setPreferredEncodings({turkish});
    EXPECT_EQ(newByDecodingData(toplanti, &used), u"toplant\u0131");
    EXPECT_EQ(used, turkish);
    Application::shared().setPreferredEncodings({});
}

TEST(EncodingDetector, BytesThatReadAsNoTextFallBackToWindows1252) {
    std::mt19937 random(1252);
    std::string binary = randomBytes(random, 3000, 0x80);
    TextEncoding used = kNoEncoding;
    EXPECT_TRUE(newByDecodingData(Data::withString(binary), &used).has_value()) << "decoding never fails";
    EncodingDetection found = detectEncoding(Data::withString(binary));
    EXPECT_EQ(found.encoding, kWindowsCP1252StringEncoding);
    EXPECT_EQ(found.stage, DetectionStage::Fallback);
    EXPECT_EQ(detectEncoding(Data::withString("Copyright \xA9 1996")).encoding, kWindowsCP1252StringEncoding)
        << "a lone symbol is no evidence for another alphabet";
}

TEST(EncodingDetector, LongTextIsJudgedBySampleButValidatedWhole) {
    std::u16string paragraph = u"\u660e\u65e5\u306e\u4f1a\u8b70\u306f\u5341\u6642\u304b\u3089\u3067\u3059\u3002";
    std::u16string text;
    while (text.size() < 32 * 1024) text += paragraph;
    Data bytes = encoded(text, u"shift_jis");
    EXPECT_EQ(detectEncoding(bytes).encoding, kShiftJISStringEncoding);
    // A code past the sample that has the shape of Shift_JIS but no character: the decoding moves on to
    // the next candidate, or to Windows-1252, and still gives text.
    std::string tail(bytes.view());
    tail += "\x85\x40";
    TextEncoding used = kNoEncoding;
    ASSERT_TRUE(newByDecodingData(Data::withString(tail), &used));
    EXPECT_TRUE(stringFromData(Data::withString(tail), used));
}
