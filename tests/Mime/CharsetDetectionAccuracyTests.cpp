// The charset detector on the labelled set (tests/data/charset-detection.tsv), read as a reader of the
// message reads it: every sample is the body of a text part that names no charset, alone and with a hint
// from the rest of its message (an encoded-word Subject, another part's charset, the host's preference).
// A reading is right when it gives the text back. Holds the accuracy floor of the detector.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>

#include "postwright/Base/Base64.hpp"
#include "postwright/Base/EncodingDetector.hpp"
#include "postwright/Base/Host.hpp"
#include "postwright/Mime/PWMimePart.hpp"

using namespace postwright;

namespace {

struct Sample {
    std::string charset;
    std::string length;  // word, phrase, sentence, paragraph
    std::u16string text;
    std::string bytes;   // the text in the charset
};

std::vector<Sample> labelledSet() {
    std::ifstream file(std::string(PW_SOURCE_DIR) + "/tests/data/charset-detection.tsv");
    std::vector<Sample> samples;
    std::string line;
    while (std::getline(file, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream fields(line);
        std::string charsets, length, text;
        std::getline(fields, charsets, '\t');
        std::getline(fields, length, '\t');
        std::getline(fields, text);
        std::istringstream names(charsets);
        std::string charset;
        while (std::getline(names, charset, ',')) {
            std::optional<std::string> bytes = bytesFromString(fromUTF8(text), encodingForCharSetName(fromUTF8(charset)));
            if (!bytes) ADD_FAILURE() << "not representable in " << charset << ": " << text;
            samples.push_back({charset, length, fromUTF8(text), bytes.value_or("")});
        }
    }
    return samples;
}

// The plain text of the message's last leaf: the part that names no charset.
OptString readerText(const std::string& message) {
    PWMimePartRef part = PWMimePart::newMimePartWithRFC2822Data(Data::withString(message), u"0");
    while (part && !part->subParts().empty()) part = part->subParts().back();
    return part ? part->plainContent() : std::nullopt;
}

std::string alone(const Sample& sample) { return "Content-Type: text/plain\r\n\r\n" + sample.bytes; }

std::string withSubjectHint(const Sample& sample) {
    return "Subject: =?" + sample.charset + "?B?" + base64EncodedString(Data::withString(sample.bytes)) +
           "?=\r\n" + alone(sample);
}

std::string withPartHint(const Sample& sample) {
    return "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nContent-Type: text/plain; charset=" +
           sample.charset + "\r\n\r\n" + sample.bytes + "\r\n--b\r\n" + alone(sample) + "\r\n--b--\r\n";
}

struct Tally {
    int right = 0;
    int total = 0;
    void add(bool ok) {
        right += ok;
        ++total;
    }
    double share() const { return total ? static_cast<double>(right) / total : 1; }
};

}  // namespace

TEST(CharsetDetectionAccuracy, TheLabelledSetReadsRightAboveTheFloor) {
    std::vector<Sample> samples = labelledSet();
    ASSERT_GT(samples.size(), 300u) << "the labelled set is missing";
    Tally overall, hinted;
    std::map<std::string, Tally> byLength, byCharset;
    std::string wrong;
    for (const Sample& sample : samples) {
        std::u16string expected = fgTrim(sample.text);
        bool ok = readerText(alone(sample)) == expected;
        overall.add(ok);
        byLength[sample.length].add(ok);
        byCharset[sample.charset].add(ok);
        if (!ok) wrong += "\n  " + sample.charset + " " + sample.length + ": " + toUTF8(sample.text.substr(0, 40));

        hinted.add(readerText(withSubjectHint(sample)) == expected);
        hinted.add(readerText(withPartHint(sample)) == expected);
        Application::shared().setPreferredEncodings({encodingForCharSetName(fromUTF8(sample.charset))});
        hinted.add(readerText(alone(sample)) == expected);
        Application::shared().setPreferredEncodings({});

        TextEncoding found = detectEncoding(Data::withString(sample.bytes)).encoding;
        EXPECT_TRUE(found != kUTF16StringEncoding && found != kUTF16LittleEndianStringEncoding &&
                    found != kUTF16BigEndianStringEncoding && found != kUTF32LittleEndianStringEncoding &&
                    found != kUTF32BigEndianStringEncoding)
            << sample.charset << " " << toUTF8(sample.text);
    }
    std::string table;
    for (const auto& [length, tally] : byLength) {
        table += "\n  " + length + ": " + std::to_string(tally.right) + "/" + std::to_string(tally.total);
    }
    // The figures, for --gtest_output=xml.
    RecordProperty("overall", std::to_string(overall.right) + "/" + std::to_string(overall.total));
    RecordProperty("words", std::to_string(byLength["word"].right) + "/" + std::to_string(byLength["word"].total));
    RecordProperty("hinted", std::to_string(hinted.right) + "/" + std::to_string(hinted.total));
    EXPECT_GE(overall.share(), 0.95) << overall.right << "/" << overall.total << table << "\nread wrong:" << wrong;
    EXPECT_GE(byLength["word"].share(), 0.90) << table << "\nread wrong:" << wrong;
    EXPECT_GE(hinted.share(), 0.95) << hinted.right << "/" << hinted.total;
    EXPECT_EQ(byCharset["utf-8"].share(), 1.0) << "valid UTF-8 is always read as UTF-8";
    EXPECT_EQ(byCharset["us-ascii"].share(), 1.0);
}
