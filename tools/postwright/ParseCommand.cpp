// postwright parse KIND TEXT: one scanner operation over a text.
#include <cstdio>

#include "Commands.hpp"
#include "MessageJson.hpp"
#include "ParseKinds.hpp"
#include "postwright/Base/DateEnvironment.hpp"

namespace postwright::tool {

const std::vector<ParseKind>& parseKinds() {
    static const std::vector<ParseKind> kinds = [] {
        std::vector<ParseKind> list;
        addScannerParseKinds(list);
        addCodecParseKinds(list);
        addAddressParseKinds(list);
        addDateParseKinds(list);
        return list;
    }();
    return kinds;
}

std::string parseHelp() {
    std::string help =
        "Usage: postwright parse KIND TEXT [--options N] [--no-error-slot] [--escapes]\n"
        "                        [--now DATE] [--tz ZONE] [--locale LOCALE]\n"
        "\n"
        "Runs one scanner operation of KIND over TEXT, starting at location 0, and prints\n"
        "  {\"ok\": bool, \"value\": ..., \"location\": n, \"error\": null or {\"domain\", \"code\",\n"
        "   \"description\", \"debugDescription\"}}\n"
        "where location is the scan location afterwards, in UTF-16 code units. The scanner is\n"
        "case-insensitive and skips nothing, as for header values.\n"
        "\n"
        "Options:\n"
        "  --options N       the operation's option bits (decimal or 0x hex), where it takes any\n"
        "  --no-error-slot   run without an error slot (some operations behave differently)\n"
        "  --escapes         read \\r \\n \\t \\\\ and \\xHH in TEXT as the characters they name\n"
        "  --now DATE        the moment date readers take as now: milliseconds since 1970 or ISO 8601\n"
        "                    (2024-03-05T09:04:00Z); default the system clock\n"
        "  --tz ZONE         the current time zone (Europe/Berlin, UTC, GMT+01:00); default the system's\n"
        "  --locale LOCALE   the user's locale for the tolerant date reader (de_DE); default en_US\n"
        "Addresses print as {displayName, localPart, domain, userAtDomain, valid, invalidRawAddress,\n"
        "mailSploited, rfc2822, digest}; dates as ISO 8601 UTC with milliseconds.\n"
        "TEXT \"-\" reads the text from standard input (UTF-8).\n"
        "\n"
        "Kinds:\n";
    for (const ParseKind& kind : parseKinds()) {
        char line[256];
        std::snprintf(line, sizeof line, "  %-20s %s\n", kind.name, kind.summary);
        help += line;
    }
    help +=
        "\n"
        "Examples:\n"
        "  postwright parse comment '(a (b) c) rest'\n"
        "  postwright parse phrase --options 1 'Joe \"Q.\" Public <jqp@example.com>'\n"
        "  postwright parse --escapes fws ' \\r\\n x'\n"
        "  postwright parse address-list --options 4 'Ann <ann@example.com>, Team: bo@example.org;'\n"
        "  postwright parse date 'Tue, 5 Mar 2024 10:04:00 +0100'\n"
        "  postwright parse date-tolerant --now 2024-06-01 --tz UTC --locale de_DE '4.3.2024'\n";
    return help;
}

int runParse(const std::vector<std::string>& argumentList) {
    Arguments arguments(argumentList, {"options", "now", "tz", "locale"}, {"no-error-slot", "escapes"});
    if (!arguments.ok()) return usageError("parse", arguments.error());
    const auto& positionals = arguments.positionals();
    if (positionals.size() < 2) return usageError("parse", "expects KIND and TEXT");
    const ParseKind* kind = nullptr;
    for (const ParseKind& candidate : parseKinds()) {
        if (positionals[0] == candidate.name) kind = &candidate;
    }
    if (!kind) return usageError("parse", "unknown kind \"" + positionals[0] + "\"");
    std::optional<unsigned long long> options = arguments.number("options");
    if (!arguments.ok()) return usageError("parse", arguments.error());

    std::string text = positionals[1];
    if (text == "-") {
        std::optional<Data> input = readInput("-");
        text = input ? input->toString() : std::string();
    }
    if (arguments.flag("escapes")) text = unescapeArgument(text);

    std::optional<DateEnvironment::Override> pinned;
    if (int status = pinDateEnvironment("parse", arguments, pinned)) return status;

    Scanner scanner = Scanner::emailAddressScannerWithString(fromUTF8(text));
    ErrorRef error;
    std::vector<std::string> extra(positionals.begin() + 2, positionals.end());
    ParseRequest request{scanner, static_cast<unsigned>(options.value_or(0)), options.has_value(),
                         arguments.flag("no-error-slot") ? nullptr : &error, extra};
    ParseOutcome outcome = kind->run(request);

    Json result = Json::object();
    result["ok"] = outcome.ok;
    result["value"] = outcome.value;
    result["location"] = scanner.scanLocation();
    result["error"] = jsonError(error);
    for (auto& [key, value] : outcome.extra.items()) result[key] = value;
    printJSON(result);
    return 0;
}

}  // namespace postwright::tool
