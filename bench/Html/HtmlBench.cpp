#include <benchmark/benchmark.h>

#include "postwright/Amendments/FGContentReplacement.hpp"
#include "postwright/Amendments/PrepareDeliveryReplacements.hpp"
#include "postwright/Base/Text.hpp"
#include "postwright/Html/HTMLDocument.hpp"

using namespace postwright;

namespace {

// About 1 MB (of UTF-8) of HTML shaped like a newsletter: nested tables with inline styles, paragraphs,
// links, images, entities, a style sheet and a few unclosed paragraphs.
const std::u16string& newsletter() {
    static const std::u16string text = [] {
        std::u16string html =
            u"<!DOCTYPE html><html><head><meta charset=utf-8><title>Weekly &amp; more</title>"
            u"<style>td { font-family: Helvetica, sans-serif; } .btn > a { color: #fff; }</style></head><body>";
        size_t bytes = toUTF8(html).size();
        for (unsigned i = 0; bytes < 1000000; ++i) {
            std::u16string n = decimalString(i);
            std::u16string story = u"<table width=\"100%\" cellpadding=0 cellspacing=0 border=0 style=\"max-width:600px\"><tr>"
                    u"<td class=\"story\" style=\"padding:12px 24px;background:#f4f4f4\"><h2 id=s" + n +
                    u">Story " + n + u": caf\u00e9 &amp; cr\u00e8me &mdash; \u201cquoted\u201d</h2>"
                    u"<p>Lorem ipsum dolor sit amet, <b>consectetur</b> adipiscing elit, sed do <i>eiusmod</i> "
                    u"tempor incididunt ut labore et dolore magna aliqua.&nbsp;Ut enim ad minim veniam."
                    u"<p>Quis nostrud <a href=\"https://example.com/track?id=" + n +
                    u"&amp;utm_source=mail\" target=_blank>exercitation</a> ullamco laboris.<br>"
                    u"<img src=\"cid:image" + n + u"@example.com\" width=120 height=80 alt=\"\"></td>"
                    u"<td class=btn><a href=\"https://example.com/" + n + u"\">Read</a></td></tr></table>\n";
            bytes += toUTF8(story).size();
            html += story;
        }
        return html + u"</body></html>";
    }();
    return text;
}

}  // namespace

// Parse a 1 MB document and serialise it again: the HTML layer's throughput, in MB/s of UTF-8 input.
static void BM_HtmlParseAndSerialize(benchmark::State& state) {
    const std::u16string& html = newsletter();
    size_t bytes = toUTF8(html).size();
    for (auto _ : state) {
        auto document = HTMLDocument::documentWithString(html);
        std::u16string out = document->documentElement()->outerHTML();
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}
BENCHMARK(BM_HtmlParseAndSerialize)->Unit(benchmark::kMillisecond);

static void BM_HtmlParse(benchmark::State& state) {
    const std::u16string& html = newsletter();
    size_t bytes = toUTF8(html).size();
    for (auto _ : state) benchmark::DoNotOptimize(HTMLDocument::documentWithString(html).get());
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}
BENCHMARK(BM_HtmlParse)->Unit(benchmark::kMillisecond);

// The delivery clean-up list (37 rules, each a query over the whole body) on the same document.
static void BM_HtmlDeliveryCleanup(benchmark::State& state) {
    auto document = HTMLDocument::documentWithString(newsletter());
    for (auto _ : state) {
        auto body = document->body()->cloneNodeDeep();
        FGContentReplacement::updateElementOrFragment(*body, prepareDeliveryReplacements());
        benchmark::DoNotOptimize(body.get());
    }
}
BENCHMARK(BM_HtmlDeliveryCleanup)->Unit(benchmark::kMillisecond);
