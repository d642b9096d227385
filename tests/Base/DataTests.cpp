#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "postwright/Base/Data.hpp"
#include "postwright/Base/Error.hpp"

using namespace postwright;

TEST(Data, ViewsShareStorageAndClampToTheBuffer) {
    Data message = Data::withString("Subject: hi\r\n\r\nbody");
    Data body = message.subdata(15, 100);
    EXPECT_EQ(body, "body");
    EXPECT_TRUE(body.sharesStorageWith(message));
    EXPECT_TRUE(message.subdata(50, 3).empty());
    EXPECT_EQ(message.subdataFromLocation(9), "hi\r\n\r\nbody");
    EXPECT_TRUE(message.subdataFromLocation(19).empty());
}

TEST(Data, FindsBytesAndPrefixes) {
    Data data = Data::withString("a\r\nb\r\n\r\nc");  // other needles: the next test, against the standard search
    EXPECT_EQ(data.find(""), Data::npos) << "unlike std::string_view, an empty needle is never found";
    EXPECT_EQ(data.findByte('c'), 8u);
    EXPECT_EQ(data.findByte('c', 9), Data::npos);
    EXPECT_TRUE(data.hasPrefix("a\r"));
    EXPECT_FALSE(Data().hasPrefix("a"));
}

// The search starts with memchr, goes on in blocks of 16 positions after a few false starts, and finishes
// the tail after the blocks; matches that straddle a block, sit in the tail, start where the search starts
// or end at the last byte must all be found, and near misses (first and last byte right, a middle byte
// wrong) must not be. Checked against the standard library's search.
TEST(Data, FindAgreesWithAPlainSearchAtEveryOffset) {
    std::mt19937 random(7);
    const std::string alphabet = "From x\r\n";
    for (int round = 0; round < 3000; ++round) {
        std::string haystack(random() % 300, ' ');
        for (char& c : haystack) c = alphabet[random() % alphabet.size()];
        std::string needle = std::vector<std::string>{"From ", "\r\n\r\n", "\r\n", "Fx", "\r\n--x--"}[random() % 5];
        if (random() % 3 == 0 && haystack.size() >= needle.size()) {
            haystack.replace(random() % (haystack.size() - needle.size() + 1), needle.size(), needle);
        }
        size_t from = haystack.empty() ? 0 : random() % (haystack.size() + 1);
        size_t expected = std::string_view(haystack).find(needle, from);
        Data data = Data::withString(haystack);
        ASSERT_EQ(data.find(needle, from), expected == std::string_view::npos ? Data::npos : expected)
            << "needle " << needle.size() << " bytes, from " << from << " in " << haystack.size() << " bytes";
    }
}

TEST(Data, MapsFilesAndReportsWhatFails) {
    auto dir = std::filesystem::temp_directory_path() / "postwright-data-test";
    std::filesystem::create_directories(dir);
    {
        std::ofstream(dir / "message.eml") << "From: a@b\r\n\r\nhello";
        std::ofstream(dir / "empty.eml");
    }
    ErrorRef error;
    std::optional<Data> mapped = Data::mapFile((dir / "message.eml").string(), &error);
    ASSERT_TRUE(mapped);
    EXPECT_EQ(*mapped, "From: a@b\r\n\r\nhello");
    EXPECT_EQ(error, nullptr);
    Data view = mapped->subdata(13, 5);
    mapped.reset();
    EXPECT_EQ(view, "hello") << "a view keeps the mapping alive";

    std::optional<Data> empty = Data::mapFile((dir / "empty.eml").string(), &error);
    ASSERT_TRUE(empty);
    EXPECT_TRUE(empty->empty());

    EXPECT_FALSE(Data::mapFile((dir / "missing.eml").string(), &error));
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->domain, kPOSIXErrorDomain);
    EXPECT_EQ(error->code, ENOENT);
    EXPECT_FALSE(Data::mapFile(dir.string(), &error)) << "a directory is not a message file";
    std::filesystem::remove_all(dir);
}

TEST(ChainedData, FlattensOnceAndKeepsASingleRegionAsItIs) {
    Data source = Data::withString("header\r\n\r\nbody");
    ChainedData single(source.subdata(0, 6));
    EXPECT_TRUE(single.flatten().sharesStorageWith(source));

    ChainedData chain;
    chain.append(source.subdata(0, 6));
    chain.append(std::string_view("\r\n\r\n"));
    chain.append(Data());
    chain.append(source.subdataFromLocation(10));
    EXPECT_EQ(chain.regions().size(), 3u);
    EXPECT_EQ(chain.length(), 14u);
    EXPECT_EQ(chain.flatten(), "header\r\n\r\nbody");
}
