// postwright bench MBOX: how fast the library reads a mailbox, at four depths of reading.
#include <chrono>
#include <cstdio>

#include "Commands.hpp"
#include "MessageWalk.hpp"
#include "ToolSupport.hpp"
#include "postwright/Message/FGMessageAbstract.hpp"
#include "postwright/Message/PWMBoxMessageContents.hpp"

namespace postwright::tool {

std::string benchHelp() {
    return "Usage: postwright bench MBOX [--repeat N] [--only DEPTH] [--json] [--verbose]\n"
           "\n"
           "Measures how fast one mbox file is read, at four depths, each timed over the whole file\n"
           "(finding the messages included) and reported as the best of N runs (default 3):\n"
           "  headersOnly  every message's header block parsed\n"
           "  abstract     every message's summary (subject, addresses, dates, identifiers, digests)\n"
           "  tree         every message's MIME tree built\n"
           "  full         the tree built and every leaf decoded: text to strings, attachments to bytes\n"
           "Prints MB/s (10^6 bytes of the file per second) and messages per second for each; --json\n"
           "prints {\"headersOnly\": {\"MBps\", \"messagesPerSecond\"}, \"abstract\": {...}, \"tree\": {...},\n"
           "\"full\": {...}, \"messages\", \"bytes\"}. --only DEPTH measures one depth alone (for\n"
           "profiling); --verbose shows the library's log lines, which are kept quiet otherwise.\n"
           "\n"
           "The file is memory-mapped and every message is a view of it. To make a large test mailbox\n"
           "from the bundled corpus: ../shared/tools/make-bench-mbox --size-mb 200 --out bench.mbox\n"
           "\n"
           "Example:\n"
           "  postwright bench bench.mbox --repeat 5\n";
}

namespace {
struct Measurement {
    double seconds = 0;
    size_t messages = 0;
};

template <typename PerMessage>
Measurement measure(const Data& mbox, int repeat, PerMessage perMessage) {
    Measurement best{1e300, 0};
    for (int run = 0; run < repeat; ++run) {
        auto start = std::chrono::steady_clock::now();
        MboxReader reader(mbox);
        size_t messages = 0;
        while (std::optional<MboxReader::Message> message = reader.next()) {
            perMessage(*message);
            ++messages;
        }
        double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        if (seconds < best.seconds) best = {seconds, messages};
    }
    return best;
}
}  // namespace

int runBench(const std::vector<std::string>& argumentList) {
    Arguments arguments(argumentList, {"repeat", "only"}, {"json", "verbose"});
    if (!arguments.ok()) return usageError("bench", arguments.error());
    std::optional<unsigned long long> repeat = arguments.number("repeat");
    if (!arguments.ok()) return usageError("bench", arguments.error());
    if (arguments.positionals().size() != 1) return usageError("bench", "expects exactly one MBOX");
    std::optional<Data> mbox = readInput(arguments.positionals()[0]);
    if (!mbox) return 1;
    int runs = static_cast<int>(std::max<unsigned long long>(1, repeat.value_or(3)));
    std::optional<std::string> only = arguments.value("only");
    static const std::set<std::string> kDepths = {"headersOnly", "abstract", "tree", "full"};
    if (only && !kDepths.count(*only)) {
        return usageError("bench", "--only takes headersOnly, abstract, tree or full, not \"" + *only + "\"");
    }
    if (!arguments.flag("verbose")) quietLibraryLog();
    auto wanted = [&](const char* depth) { return !only || *only == depth; };

    size_t sink = 0;
    std::vector<std::pair<const char*, Measurement>> results;
    if (wanted("headersOnly"))
        results.emplace_back("headersOnly", measure(*mbox, runs, [&](const MboxReader::Message& message) {
                                 auto headers = PWMessageHeaders::headersFromData(message.data);
                                 sink += headers ? 1 : 0;
                             }));
    if (wanted("abstract"))
        results.emplace_back("abstract", measure(*mbox, runs, [&](const MboxReader::Message& message) {
                                 auto contents =
                                     PWMBoxMessageContents::newWithMessageData(message.data, message.fromLine);
                                 auto abstract = FGMessageAbstract::newWithMessageContents(contents);
                                 sink += abstract->messageSize();
                             }));
    if (wanted("tree"))
        results.emplace_back("tree", measure(*mbox, runs, [&](const MboxReader::Message& message) {
                                 auto contents =
                                     PWMBoxMessageContents::newWithMessageData(message.data, message.fromLine);
                                 PWMimePartRef root = contents ? contents->rootMimePart() : nullptr;
                                 sink += root ? 1 : 0;
                             }));
    if (wanted("full"))
        results.emplace_back(
            "full", measure(*mbox, runs, [&](const MboxReader::Message& message) {
                auto contents = PWMBoxMessageContents::newWithMessageData(message.data, message.fromLine);
                forEachPart(contents ? contents->rootMimePart() : nullptr, [&](const PWMimePartRef& part) {
                    if (!part->hasSubParts()) sink += decodeLeaf(part);
                });
            }));

    size_t messages = results.front().second.messages;
    double megabytes = static_cast<double>(mbox->length()) / 1e6;
    if (arguments.flag("json")) {
        Json output = Json::object();
        for (const auto& [name, measurement] : results) {
            output[name] = {{"MBps", megabytes / measurement.seconds},
                            {"messagesPerSecond", static_cast<double>(measurement.messages) / measurement.seconds}};
        }
        output["messages"] = messages;
        output["bytes"] = mbox->length();
        printJSON(output);
    } else {
        std::printf("%zu messages, %.1f MB, best of %d runs\n", messages, megabytes, runs);
        for (const auto& [name, measurement] : results) {
            std::printf("  %-12s %9.1f MB/s %12.0f messages/s\n", name, megabytes / measurement.seconds,
                        static_cast<double>(measurement.messages) / measurement.seconds);
        }
    }
    return sink == SIZE_MAX ? 1 : 0;
}

}  // namespace postwright::tool
