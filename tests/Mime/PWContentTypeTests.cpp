#include <gtest/gtest.h>

#include <concepts>

#include "postwright/Lexical/ContentParameters.hpp"
#include "postwright/Lexical/Scanner.hpp"
#include "postwright/Mime/PWContentType.hpp"

using namespace postwright;

static_assert(std::regular<PWContentType>, "a plain value record");

TEST(PWContentType, ReadsAParsedContentType) {
    Scanner scanner = Scanner::emailAddressScannerWithString(u"Multipart/Mixed; boundary=\"b1\"; name=x.txt");
    ParameterDictionary info;
    ASSERT_TRUE(scanner.scanRFC1341ContentTypeHeaderIntoDictionary(&info, nullptr));
    PWContentType type = PWContentType::newWithContentTypeInfo(info);
    EXPECT_EQ(type.baseType, u"multipart");
    EXPECT_EQ(type.subType, u"mixed");
    EXPECT_EQ(type.mimeType(), u"multipart/mixed");
    EXPECT_EQ(type.boundary(), u"b1");
    EXPECT_EQ(type.name(), u"x.txt");
    EXPECT_EQ(type.parameters, info) << "every key stays, the reserved ones included";
}

TEST(PWContentType, FallsBackWhenTypeOrSubtypeIsMissing) {
    PWContentType empty = PWContentType::newWithContentTypeInfo({});
    EXPECT_EQ(empty.mimeType(), u"application/unknown");

    PWContentType whole = PWContentType::newWithContentTypeInfo({{u"@type", u"text/plain"}});
    EXPECT_EQ(whole.baseType, u"text/plain") << "the base type is \"@type\" as it stands";
    EXPECT_EQ(whole.subType, u"plain");
    EXPECT_EQ(PWContentType::newWithContentTypeInfo({{u"@type", u"a/b/c"}}).subType, u"unknown");
    EXPECT_EQ(PWContentType::newWithContentTypeInfo({{u"@type", u"image"}, {u"boundary", 5LL}}).boundary(),
              std::nullopt)
        << "only text parameters are answered";
}
