#include <gtest/gtest.h>

#include <concepts>

#include "postwright/Lexical/ContentParameters.hpp"
#include "postwright/Lexical/Scanner.hpp"
#include "postwright/Mime/PWContentDisposition.hpp"

using namespace postwright;

static_assert(std::regular<PWContentDisposition>, "a plain value record");

TEST(PWContentDisposition, TakesTheTypeOutOfTheParameters) {
    Scanner scanner = Scanner::emailAddressScannerWithString(u"attachment; filename=\"a.pdf\"; size=10");
    ParameterDictionary info;
    ASSERT_TRUE(scanner.scanRFC2183ContentDispositionHeaderIntoDictionary(&info, nullptr));
    PWContentDisposition disposition = PWContentDisposition::newWithDispositionInfo(info);
    EXPECT_EQ(disposition.dispositionType, u"attachment");
    EXPECT_EQ(disposition.parameters, (ParameterDictionary{{u"filename", u"a.pdf"}, {u"size", 10LL}}));

    PWContentDisposition untyped = PWContentDisposition::newWithDispositionInfo({{u"filename", u"b"}});
    EXPECT_EQ(untyped.dispositionType, std::nullopt);
    EXPECT_EQ(untyped.parameters.size(), 1u);
}
