// postwright --version: the release, and the platform libraries the library was compiled against.
#include <gtest/gtest.h>
#include <openssl/opensslv.h>
#include <unicode/uvernum.h>

#include <string>

#include "postwright/Version.hpp"
#include "support/ToolRunner.hpp"

using postwright::test::runTool;
using postwright::test::ToolRun;

TEST(Tool, VersionNamesTheReleaseAndThePlatformItWasBuiltWith) {
    const std::string release = std::to_string(postwright::kVersionMajor) + "." +
                                std::to_string(postwright::kVersionMinor) + "." +
                                std::to_string(postwright::kVersionPatch);
    EXPECT_EQ(postwright::kVersionString, release);
    EXPECT_EQ(postwright::libraryVersion(), release);

    ToolRun run = runTool({"--version"});
    EXPECT_EQ(run.status, 0);
    const std::string expected =
        "postwright " + release + "\nbuilt with ICU " U_ICU_VERSION ", OpenSSL " OPENSSL_VERSION_STR ", gumbo ";
    ASSERT_EQ(run.out.substr(0, expected.size()), expected);
    // gumbo's headers carry no version: the build passes the one its package gives.
    EXPECT_NE(run.out.substr(expected.size()), "unknown\n");
}
