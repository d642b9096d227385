#include <gtest/gtest.h>

#include "postwright/Base/Text.hpp"

using namespace postwright;

TEST(PathSafeBaseFileName, OneHarmlessPathComponent) {
    EXPECT_EQ(pathSafeBaseFileName(u"report.pdf"), u"report.pdf");
    EXPECT_EQ(pathSafeBaseFileName(u"../../etc/passwd"), u"_.._etc_passwd");
    EXPECT_EQ(pathSafeBaseFileName(u"a\\b:c\u0001d\u007f"), u"a_b_c_d_");
    EXPECT_EQ(pathSafeBaseFileName(u"  .hidden "), u"hidden");
    EXPECT_EQ(pathSafeBaseFileName(u".."), u"_");
    EXPECT_EQ(pathSafeBaseFileName(u""), u"_");
    EXPECT_EQ(pathSafeBaseFileName(u"caf\u00e9 \U0001F600.txt"), u"caf\u00e9 \U0001F600.txt");
}

TEST(PathSafeBaseFileName, LongNamesKeepTheirExtensionWithin255Bytes) {
    std::u16string stem;
    for (int i = 0; i < 200; ++i) stem += u"\u00e9";  // two UTF-8 bytes each
    std::u16string safe = pathSafeBaseFileName(stem + u".pdf");
    EXPECT_TRUE(safe.ends_with(u".pdf"));
    EXPECT_LE(toUTF8(safe).size(), 255u);
    EXPECT_EQ(toUTF8(safe).size(), 254u) << "cut at whole characters";

    std::u16string emoji;
    for (int i = 0; i < 100; ++i) emoji += u"\U0001F600";  // four bytes, two code units each
    safe = pathSafeBaseFileName(emoji);
    EXPECT_EQ(toUTF8(safe).size(), 252u);
    EXPECT_EQ(safe.size() % 2, 0u) << "no surrogate pair is cut in two";
}
