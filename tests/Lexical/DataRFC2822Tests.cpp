#include <gtest/gtest.h>

#include "postwright/Lexical/CharacterSetRFC2822.hpp"
#include "postwright/Lexical/DataRFC2822.hpp"

using namespace postwright;

namespace {
Data d(std::string_view text) { return Data::withString(text); }

struct Partition {
    std::optional<Data> header, body, delimiter;
};

Partition partition(const Data& data, unsigned options = 0) {
    Partition p;
    partitionIntoHeaderData(data, &p.header, &p.body, options, &p.delimiter);
    return p;
}
}  // namespace

TEST(DataRFC2822, LineDelimiterIsChosenByPrecedenceNotPosition) {
    EXPECT_EQ(lineDelimiterwithOptions(d("a\nb\nc\r\n"), 0), CRLFData()) << "one CRLF anywhere wins";
    EXPECT_EQ(lineDelimiterwithOptions(d("a\rb\nc"), 0), LFData());
    EXPECT_EQ(lineDelimiterwithOptions(d("a\rb"), 0), CRData());
    EXPECT_FALSE(lineDelimiterwithOptions(d("abc"), 0));
    EXPECT_EQ(lineDelimiterwithOptions(d("a\r\nb\n"), kDelimiterLF), LFData());
    EXPECT_EQ(lineDelimiterwithOptions(d("a\r\nb"), kDelimiterCR), CRData()) << "the CR of a CRLF counts";
    EXPECT_EQ(lineDelimiterwithOptions(d("a\r\nb"), kDelimiterLF | 8), LFData()) << "unknown bits allow nothing more";
}

TEST(DataRFC2822, PartitionFindsTheBlankLineByPrecedence) {
    Data message = d("A: b\n\ntext\r\n\r\nmore");
    Partition p = partition(message);
    EXPECT_EQ(*p.header, "A: b\n\ntext") << "CRLFCRLF anywhere wins over an earlier LFLF";
    EXPECT_EQ(*p.body, "more");
    EXPECT_EQ(*p.delimiter, CRLFData());
    EXPECT_TRUE(p.header->sharesStorageWith(message));

    Partition lf = partition(d("A: b\nC: d\n\nbody\n"));
    EXPECT_EQ(*lf.header, "A: b\nC: d");
    EXPECT_EQ(*lf.body, "body\n");
    EXPECT_EQ(*lf.delimiter, LFData());

    Partition cr = partition(d("A: b\r\rbody"));
    EXPECT_EQ(*cr.header, "A: b");
    EXPECT_EQ(*cr.delimiter, CRData());

    Partition onlyLF = partition(d("A: b\n\nbody\r\n\r\nx"), kDelimiterLF);
    EXPECT_EQ(*onlyLF.header, "A: b") << "options restrict the kinds tried";
}

TEST(DataRFC2822, PartitionWithoutHeaderLengthIsAllHeaderOrAllBody) {
    Partition leading = partition(d("\r\n\r\nbody"));
    EXPECT_EQ(*leading.header, "\r\n\r\nbody") << "a buffer that begins with its blank line";
    EXPECT_FALSE(leading.body);

    Data noBlank = d("A: b\r\nC: d");
    EXPECT_EQ(*headerSubdata(noBlank), "A: b\r\nC: d");
    EXPECT_EQ(*bodySubdata(noBlank), "A: b\r\nC: d");
    Partition p = partition(noBlank);
    EXPECT_EQ(*p.delimiter, CRLFData());
    EXPECT_FALSE(p.body);
    EXPECT_FALSE(partition(d("no line break")).delimiter);

    Partition endsBlank = partition(d("A: b\r\n\r\n"));
    EXPECT_EQ(*endsBlank.header, "A: b");
    EXPECT_FALSE(endsBlank.body) << "an empty body leaves the slot as the caller set it";

    std::optional<Data> preset = d("kept");
    partitionIntoHeaderData(d("A: b\r\n\r\n"), nullptr, &preset, 0, nullptr);
    EXPECT_EQ(*preset, "kept");
    EXPECT_EQ(*headerSubdata(Data()), "") << "empty data is an empty header";
}

TEST(DataRFC2822, HeaderRangeIncludesTheBlankLine) {
    EXPECT_EQ(rangeOfRFC2822HeaderData(d("A: b\r\n\r\nX")), (Range{0, 8}));
    EXPECT_EQ(*headerSubdata(d("A: b\r\n\r\nX")), "A: b");
    EXPECT_EQ(rangeOfRFC2822HeaderData(d("A: b\n\nX")), (Range{0, 6}));
    EXPECT_EQ(rangeOfRFC2822HeaderData(d("A: b")), (Range{0, 0}));
}

TEST(DataRFC2822, TrimmingKeepsItsQuirks) {
    EXPECT_EQ(*dataByTrimmingReturnsAndLineFeeds(d("AB\r\n")), "AB");
    EXPECT_FALSE(dataByTrimmingReturnsAndLineFeeds(d("A\r\n"))) << "a one-byte result is null";
    EXPECT_FALSE(dataByTrimmingReturnsAndLineFeeds(d("A")));
    EXPECT_EQ(*dataByTrimmingReturnsAndLineFeeds(Data()), "") << "an empty buffer returns itself";
    EXPECT_EQ(*dataByTrimmingReturnsAndLineFeeds(d("\r\nAB\r\n")), "AB");
    EXPECT_FALSE(dataByTrimmingReturnsAndLineFeeds(d("\r\n\r\n")));

    CharacterSet space = CharacterSet::withCharacters(u" \r\n");
    EXPECT_EQ(*dataByTrimmingBytesInCharacterSet(d("  AB  "), space, 1), "AB  ") << "leading only";
    EXPECT_EQ(*dataByTrimmingBytesInCharacterSet(d("  AB  "), space, 2), "  AB") << "trailing only";
    EXPECT_FALSE(dataByTrimmingBytesInCharacterSet(d("A\r\n"), space, 2))
        << "every byte after index 0 in the class gives null";
    EXPECT_EQ(*dataByTrimmingBytesInCharacterSet(d(" A"), space, 2), " A") << "index 0 is never tested from the end";
}

TEST(DataRFC2822, SplitsAndJoinsByteBuffers) {
    std::vector<Data> parts = componentsSeparatedByData(d("a,b,,c,"), d(","));
    ASSERT_EQ(parts.size(), 4u);
    EXPECT_EQ(parts[0], "a");
    EXPECT_EQ(parts[2], "");
    EXPECT_EQ(parts[3], "c");
    EXPECT_EQ(componentsSeparatedByData(d(",a"), d(","))[0], "") << "a leading empty component is kept";
    EXPECT_TRUE(componentsSeparatedByData(Data(), d(",")).empty());

    Data a = d("a"), b = d("b"), c = d("c");
    EXPECT_EQ(componentsJoinedByData({&a, &b, &c}, d("--")), "a--b--c");
    EXPECT_EQ(componentsJoinedByData({&a, nullptr, &b}, d("-")), "a-b") << "non-buffers add nothing";
    EXPECT_EQ(componentsJoinedByData({&a, &b, nullptr}, d("-")), "a-b-") << "a non-buffer last leaves a separator";
    EXPECT_EQ(componentsJoinedByData({&c, &a, &c}, d("-")), "ca-c") << "the last element, found earlier, gets none";
    EXPECT_EQ(componentsJoinedByData({}, d("-")), "");
}

TEST(DataRFC2822, LineEndsAreNormalisedToCRLFWithoutCopyingWhatIsAlready) {
    Data canonical = Data::withString("a\r\nb\r\n");
    Data same = dataByNormalizingLineEndsToCRLF(canonical);
    EXPECT_EQ(same.bytes(), canonical.bytes()) << "nothing to change, nothing copied";
    const std::pair<std::string, std::string> cases[] = {
        {"a\nb\n", "a\r\nb\r\n"}, {"a\rb", "a\r\nb"}, {"\r\r\n\n", "\r\n\r\n\r\n"}, {"", ""}, {"\n", "\r\n"}};
    for (const auto& [input, expected] : cases) {
        EXPECT_TRUE(dataByNormalizingLineEndsToCRLF(Data::withString(input)) == Data::withString(expected)) << input;
    }
}
