// The MIME tree over the corpus: parsing every message into its tree, and parsing plus decoding every leaf
// (text parts to text, attachments to bytes, anything else by its transfer encoding), in MB/s of message.
#include <benchmark/benchmark.h>

#include "BenchSupport.hpp"
#include "postwright/Mime/PWMimeAttachment.hpp"
#include "postwright/Mime/PWTextHtmlMimePart.hpp"

using namespace postwright;

namespace {
// Decodes one leaf the way a reader of the message needs it; returns a size so nothing is optimised away.
size_t decodeLeaf(const PWMimePart& part) {
    if (part.isKindOfClass(PWTextHtmlMimePart::mimeClass())) return part.htmlContent().value_or(u"").size();
    if (part.isKindOfClass(PWTextMimePart::mimeClass())) return part.plainContent().value_or(u"").size();
    if (auto attachment = dynamic_cast<const PWMimeAttachment*>(&part)) {
        return attachment->decodedAttachmentData().value_or(Data()).length();
    }
    return part.transferDecodedData().length();
}

size_t decodeTree(const PWMimePartRef& root) {
    size_t total = 0;
    for (const PWMimePartRef& leaf : root->mimePartsPassingTest([](const PWMimePart& part) { return !part.hasSubParts(); })) {
        total += decodeLeaf(*leaf);
    }
    return total;
}
}  // namespace

static void BM_ParseCorpusTrees(benchmark::State& state) {
    const auto& messages = bench::corpusMessages();
    size_t parts = 0;
    for (auto _ : state) {
        for (const Data& message : messages) {
            PWMimePartRef root = PWMimePart::newMimePartWithRFC2822Data(message, u"0");
            if (root) parts += root->subParts().size() + 1;
        }
    }
    benchmark::DoNotOptimize(parts);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bench::totalBytes(messages)));
}
BENCHMARK(BM_ParseCorpusTrees)->Unit(benchmark::kMillisecond);

static void BM_ParseAndDecodeCorpus(benchmark::State& state) {
    const auto& messages = bench::corpusMessages();
    size_t decoded = 0;
    for (auto _ : state) {
        for (const Data& message : messages) {
            if (PWMimePartRef root = PWMimePart::newMimePartWithRFC2822Data(message, u"0")) decoded += decodeTree(root);
        }
    }
    benchmark::DoNotOptimize(decoded);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bench::totalBytes(messages)));
}
BENCHMARK(BM_ParseAndDecodeCorpus)->Unit(benchmark::kMillisecond);

static void BM_RebuildChangedCorpusTrees(benchmark::State& state) {
    std::vector<PWMimePartRef> roots;
    for (const Data& message : bench::corpusMessages()) {
        if (PWMimePartRef root = PWMimePart::newMimePartWithRFC2822Data(message, u"0")) roots.push_back(root);
    }
    size_t bytes = 0;
    for (auto _ : state) {
        for (const PWMimePartRef& root : roots) {
            PWMimePartRef copy = root->mutableCopy();
            std::vector<PWMimePartRef> leaves =
                copy->mimePartsPassingTest([](const PWMimePart& part) { return !part.hasSubParts(); });
            leaves.front()->setCharset(u"utf-8");
            leaves.front()->setCharset(u"iso-8859-1");
            bytes += copy->mimeNSData().length();
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(bytes));
}
BENCHMARK(BM_RebuildChangedCorpusTrees)->Unit(benchmark::kMillisecond);
