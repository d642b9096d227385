// Base64, digests and UUIDs.
#include <gtest/gtest.h>

#include <random>
#include <set>

#include "postwright/Base/Base64.hpp"
#include "postwright/Base/Digest.hpp"
#include "postwright/Base/Text.hpp"

using namespace postwright;

TEST(Base64, DecodingSkipsCharactersOutsideTheAlphabet) {
    EXPECT_EQ(base64DecodedData(Data::withString("aGVs\r\nbG8=")), "hello");
    EXPECT_EQ(base64DecodedData(Data::withString("a G\tV*s bG8")), "hello") << "spaces, tabs, junk are skipped";
    EXPECT_EQ(base64DecodedData(Data::withString("aGVsbG8=trailing")), "hello") << "decoding stops at padding";
    EXPECT_EQ(base64DecodedData(Data::withString("aA")), "h") << "a partial group yields its whole bytes";
    EXPECT_EQ(base64DecodedData(Data::withString("a")), "");
    EXPECT_EQ(base64DecodedData(Data()), "");
    EXPECT_EQ(base64DecodedData(u"-_8", Base64Alphabet::URLSafe), Data::withString("\xfb\xff"));
    EXPECT_EQ(base64DecodedData(u"+/8"), Data::withString("\xfb\xff"));
    EXPECT_EQ(base64DecodedLength(reinterpret_cast<const uint8_t*>("aGVs\r\nbG8="), 10), 5u);
}

TEST(Base64, EncodingRoundTripsAndCutsLines) {
    std::mt19937 random(7);
    for (size_t length = 0; length < 300; ++length) {
        std::string bytes(length, '\0');
        for (char& c : bytes) c = static_cast<char>(random());
        Data data = Data::withString(bytes);
        for (Base64Alphabet alphabet : {Base64Alphabet::Standard, Base64Alphabet::URLSafe}) {
            std::string text = base64EncodedString(data, alphabet, {.lineBreaks = true});
            EXPECT_EQ(base64DecodedData(Data::withString(text), alphabet), data) << length;
            size_t lineStart = 0;
            while (true) {
                size_t end = text.find("\r\n", lineStart);
                size_t lineLength = (end == std::string::npos ? text.size() : end) - lineStart;
                EXPECT_LE(lineLength, 76u);
                if (end == std::string::npos) break;
                EXPECT_EQ(lineLength, 76u) << "only the last line is short";
                lineStart = end + 2;
            }
        }
    }
    // Any line length: the unbroken text with CR LF after every n characters but the last ones.
    for (size_t length = 0; length < 40; ++length) {
        Data data = Data::withString(std::string(length, 'x') + std::string(length % 5, '\xfe'));
        for (bool padding : {true, false}) {
            std::string plain = base64EncodedString(data, Base64Alphabet::Standard, {.padding = padding});
            for (size_t lineLength : {4u, 10u, 76u}) {
                std::string expected;
                for (size_t at = 0; at < plain.size(); at += lineLength) {
                    expected += (at ? "\r\n" : "") + plain.substr(at, lineLength);
                }
                EXPECT_EQ(base64EncodedString(data, Base64Alphabet::Standard,
                                              {.lineBreaks = true, .lineLength = lineLength, .padding = padding}),
                          expected)
                    << length << " " << lineLength;
            }
        }
    }
    EXPECT_EQ(base64EncodedString(Data::withString("\xfb\xff"), Base64Alphabet::URLSafe), "-_8=");
    EXPECT_EQ(base64EncodedString(Data::withString("ab"), Base64Alphabet::Standard, {.padding = false}), "YWI");
}

TEST(Digest, ComputesTheStandardDigests) {
    MD5Digest md5 = md5Digest(Data::withString("abc"));
    EXPECT_EQ(base64EncodedString(md5.data(), md5.size()), "kAFQmDzST7DWlj99KOF/cg==");
    SHA256Digest sha = sha256Digest(Data::withString("\xC3\xA9"));
    EXPECT_EQ(pathSafeBase64String(sha.data(), sha.size()), u"SplVfkAzw1Od4utlRyAXytX5VX96BiWgnxw_biumnEw=");
    EXPECT_EQ(md5Digest(u"abc"), md5) << "text digests hash the UTF-8 bytes";
}

TEST(Digest, ShortHashIsTheFirstSixteenBase64URLCharactersOfSHA256) {
    EXPECT_EQ(shortSHAHashString(u"Alice <alice@example.com>"), u"zwO36KfnJlJRMAkS");
    EXPECT_EQ(shortSHAHashString(u"\u00e9"), u"SplVfkAzw1Od4utl");
}

TEST(Digest, UUIDStringsAreUpperCaseAndFresh) {
    std::set<std::u16string> seen;
    for (int i = 0; i < 100; ++i) {
        std::u16string uuid = uuidString();
        ASSERT_EQ(uuid.size(), 36u);
        EXPECT_EQ(uppercase(uuid), uuid);
        EXPECT_EQ(uuid[8], u'-');
        EXPECT_TRUE(seen.insert(uuid).second);
    }
}
