#include <gtest/gtest.h>

#include "postwright/Base/Text.hpp"
#include "postwright/Base/TextEncoding.hpp"

using namespace postwright;

namespace {
std::optional<std::u16string> decode(std::string_view bytes, TextEncoding encoding) {
    return stringFromBytes(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(), encoding);
}

// A text that every numbered encoding can hold, written in the encoding's own repertoire.
std::u16string sampleFor(TextEncoding encoding) {
    switch (encoding) {
        case kASCIIStringEncoding: return u"Plain text 123 !~";
        case kNEXTSTEPStringEncoding: return u"Caf\u00e9 \ufb01n \u00a9";
        case kJapaneseEUCStringEncoding:
        case kShiftJISStringEncoding:
        case kISO2022JPStringEncoding: return u"\u65e5\u672c\u8a9e\u30c6\u30ad\u30b9\u30c8 abc";
        case kISOLatin1StringEncoding: return u"Gr\u00fc\u00dfe \u00e0 \u00ff";
        case kSymbolStringEncoding: return u"\u03b1\u03b2\u03b3 \u2200\u03be \u2203\u03c8 1+2";
        case kISOLatin2StringEncoding:
        case kWindowsCP1250StringEncoding: return u"Za\u017c\u00f3\u0142\u0107 g\u0119\u015bl\u0105";
        case kWindowsCP1251StringEncoding: return u"\u041f\u0440\u0438\u0432\u0435\u0442";
        case kWindowsCP1252StringEncoding: return u"\u20ac \u201cquoted\u201d caf\u00e9";
        case kWindowsCP1253StringEncoding: return u"\u039a\u03b1\u03bb\u03b7\u03bc\u03ad\u03c1\u03b1";
        case kWindowsCP1254StringEncoding: return u"\u0130stanbul \u015f\u011f";
        case kMacOSRomanStringEncoding: return u"Caf\u00e9 \u2211 \u2022";
        case kUTF8StringEncoding:
        case kUTF16StringEncoding:
        case kUTF16BigEndianStringEncoding:
        case kUTF16LittleEndianStringEncoding:
        case kUTF32StringEncoding:
        case kUTF32BigEndianStringEncoding:
        case kUTF32LittleEndianStringEncoding: return u"Gr\u00fc\u00dfe \u65e5\U0001F600";
        default: return u"Plain ASCII text, 123.";
    }
}
}  // namespace

TEST(TextEncoding, EveryNumberedEncodingRoundTripsAndNamesMapBothWays) {
    for (TextEncoding encoding : supportedEncodings()) {
        std::u16string text = sampleFor(encoding);
        std::optional<std::string> bytes = bytesFromString(text, encoding);
        ASSERT_TRUE(bytes) << "encoding " << std::hex << encoding;
        EXPECT_EQ(decode(*bytes, encoding), text) << "encoding " << std::hex << encoding;
        std::optional<std::u16string> name = charSetNameForEncoding(encoding);
        ASSERT_TRUE(name) << std::hex << encoding;
        EXPECT_EQ(lowercase(*name), *name) << "names are produced in lower case";
        EXPECT_EQ(encodingForCharSetName(*name), encoding) << toUTF8(*name);
    }
    EXPECT_EQ(encodingForCharSetName(u"ISO_8859-2"), kISOLatin2StringEncoding);
    EXPECT_EQ(encodingForCharSetName(u"LATIN1"), kISOLatin1StringEncoding);
    EXPECT_EQ(encodingForCharSetName(u"utf8"), kUTF8StringEncoding);
    EXPECT_EQ(encodingForCharSetName(u"cp1252"), kWindowsCP1252StringEncoding);
    EXPECT_EQ(encodingForCharSetName(u"US-ASCII"), kASCIIStringEncoding);
    EXPECT_EQ(encodingForCharSetName(u" Shift_JIS "), kShiftJISStringEncoding);
    EXPECT_EQ(encodingForCharSetName(u"ks_c_5601-1987"), encodingForCharSetName(u"euc-kr"));
    EXPECT_EQ(encodingForCharSetName(u"x-unknown-charset"), kInvalidEncoding);
    EXPECT_EQ(encodingForCharSetName(u""), kInvalidEncoding);
    EXPECT_EQ(charSetNameForEncoding(kISOLatin1StringEncoding), u"iso-8859-1");
    EXPECT_EQ(charSetNameForEncoding(kWindowsCP1252StringEncoding), u"windows-1252");
    EXPECT_EQ(charSetNameForEncoding(encodingForCharSetName(u"KOI8-R")), u"koi8-r");
    EXPECT_FALSE(charSetNameForEncoding(kNoEncoding));
    EXPECT_FALSE(charSetNameForEncoding(kInvalidEncoding));
    EXPECT_GE(encodingForCharSetName(u"koi8-r"), 0x80000000u);
}

TEST(TextEncoding, ConversionIsStrict) {
    EXPECT_FALSE(decode("a\xFF", kUTF8StringEncoding));
    EXPECT_FALSE(decode("\xC0\xAF", kUTF8StringEncoding)) << "overlong forms are invalid";
    EXPECT_FALSE(decode("\xED\xA0\x80", kUTF8StringEncoding)) << "encoded surrogates are invalid";
    EXPECT_FALSE(decode("\xE2\x82", kUTF8StringEncoding)) << "a truncated sequence is invalid";
    EXPECT_FALSE(decode("caf\x80", kASCIIStringEncoding));
    EXPECT_FALSE(decode("\x9F\xFF", kSymbolStringEncoding));
    EXPECT_EQ(decode("\xEF\xBB\xBFhi", kUTF8StringEncoding), u"hi") << "a UTF-8 byte-order mark is dropped";
    EXPECT_EQ(decode("\x81\x8D", kWindowsCP1252StringEncoding), u"\u0081\u008D") << "Windows-1252 accepts any byte";
    EXPECT_FALSE(bytesFromString(u"\u65e5", kISOLatin1StringEncoding));
    EXPECT_FALSE(bytesFromString(u"caf\u00e9", kASCIIStringEncoding));
    EXPECT_FALSE(bytesFromString(u"a\xD800", kUTF8StringEncoding)) << "an unpaired surrogate is not representable";
    EXPECT_FALSE(bytesFromString(u"\u0394\u20ac", kISOLatin2StringEncoding));
    EXPECT_FALSE(bytesFromString(u"x", kInvalidEncoding));
    EXPECT_FALSE(decode("x", 0x80001234u));
    EXPECT_TRUE(canBeConvertedToEncoding(u"\u017c", kISOLatin2StringEncoding));
    EXPECT_FALSE(canBeConvertedToEncoding(u"\u017c", kISOLatin1StringEncoding));
    EXPECT_EQ(smallestEncoding(u"abc"), kASCIIStringEncoding);
    EXPECT_EQ(smallestEncoding(u"\u00e9t\u00e9"), kISOLatin1StringEncoding);
    EXPECT_EQ(smallestEncoding(u"\u65e5"), kUTF16StringEncoding);
}

TEST(TextEncoding, DetectionAlwaysGivesTextAndPrefersWhatFits) {
    TextEncoding used = kNoEncoding;
    Data ascii = Data::withString("plain text");
    EXPECT_EQ(newByDecodingData(ascii, &used), u"plain text");
    EXPECT_EQ(used, kASCIIStringEncoding);

    Data utf8 = Data::withString("Gr\xC3\xBC\xC3\x9F" "e aus M\xC3\xBCnchen, sch\xC3\xB6ne Gr\xC3\xBC\xC3\x9F" "e");
    EXPECT_EQ(newByDecodingData(utf8, &used), u"Gr\u00fc\u00dfe aus M\u00fcnchen, sch\u00f6ne Gr\u00fc\u00dfe");
    EXPECT_EQ(used, kUTF8StringEncoding);

    std::u16string english =
        u"\u201cWe\u2019ll meet at the caf\u00e9 on Friday,\u201d she said. \u201cDon\u2019t be late \u2013 "
        u"the table is booked for noon and the owner won\u2019t wait.\u201d He agreed, of course.";
    Data windows1252 = *dataFromString(english, kWindowsCP1252StringEncoding);
    EXPECT_EQ(newByDecodingData(windows1252, &used), english);
    EXPECT_EQ(used, kWindowsCP1252StringEncoding);

    std::u16string polish =
        u"Za\u017c\u00f3\u0142\u0107 g\u0119\u015bl\u0105 ja\u017a\u0144. W Szczebrzeszynie chrz\u0105szcz "
        u"brzmi w trzcinie i Szczebrzeszyn z tego s\u0142ynie. Pchn\u0105\u0107 w t\u0119 \u0142\u00f3d\u017a "
        u"je\u017ca lub o\u015bm skrzy\u0144 fig. Ch\u0142opi\u0119ta z wioski nie wiedzieli, co si\u0119 sta\u0142o.";
    Data latin2 = *dataFromString(polish, kISOLatin2StringEncoding);
    EXPECT_EQ(newByDecodingData(latin2, &used), polish);
    EXPECT_EQ(used, kISOLatin2StringEncoding);

    Data noise = Data::withString("\x81\xFE\x00\x9D\xC0");
    ASSERT_TRUE(newByDecodingData(noise, &used)) << "detection never fails on bytes";

    used = kNoEncoding;
    EXPECT_EQ(newByDecodingData(latin2, kISOLatin2StringEncoding, &used), polish);
    EXPECT_EQ(used, kISOLatin2StringEncoding);
    EXPECT_EQ(newByDecodingData(utf8, kASCIIStringEncoding, &used), u"Gr\u00fc\u00dfe aus M\u00fcnchen, sch\u00f6ne Gr\u00fc\u00dfe");
    EXPECT_EQ(used, kUTF8StringEncoding) << "a preferred encoding that rejects the bytes falls through";
    EXPECT_EQ(newByDecodingData(Data(), &used), u"");
}
