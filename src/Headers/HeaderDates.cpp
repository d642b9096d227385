// The sent and received dates of a header block, read from "Date" and "Received" (RFC 2822 section 3.6.1,
// 3.6.7), tolerating the dates that mailers write wrongly.
#include "postwright/Base/DateEnvironment.hpp"
#include "postwright/Headers/PWMessageHeaders.hpp"
#include "postwright/Lexical/Scanner.hpp"

namespace postwright {

namespace {
// A conformant date when the strict scanner reads one, else the tolerant reader's dates not later than now.
void appendDates(std::u16string_view text, std::vector<double>& dates) {
    Scanner scanner = Scanner::emailAddressScannerWithString(text);
    std::optional<double> strict;
    if (scanner.scanRFC2822DateTimeIntoDate(&strict, 0) && strict) {
        dates.push_back(*strict);
        return;
    }
    std::optional<std::vector<double>> guesses;
    if (!Scanner::scanNonConformantDateString(text, &guesses) || !guesses) return;
    double now = DateEnvironment::now();
    for (double date : *guesses) {
        if (date <= now) dates.push_back(date);
    }
}
}  // namespace

std::vector<double> PWMessageHeaders::candidateSentDates() const {
    {
        std::lock_guard lock(mutex_);
        if (candidateSentDates_) return *candidateSentDates_;
    }
    std::vector<double> dates;
    OptString value = firstHeaderForKey(PWMessageHeaderDateKey);
    if (value && !value->empty()) appendDates(*value, dates);
    std::lock_guard lock(mutex_);
    candidateSentDates_ = dates;
    return dates;
}

std::vector<double> PWMessageHeaders::possibleReceivedDates() const {
    {
        std::lock_guard lock(mutex_);
        if (possibleReceivedDates_) return *possibleReceivedDates_;
    }
    std::vector<double> dates;
    for (const std::u16string& value : headersForKey(PWMessageHeaderReceivedKey)) {
        std::u16string unfolded = replaceAll(replaceAll(value, u"\r\n\t", u" "), u"\r\n ", u" ");
        size_t semicolon = unfolded.rfind(u';');
        if (semicolon == std::u16string::npos) continue;
        std::u16string date = fgTrim(std::u16string_view(unfolded).substr(semicolon + 1));
        if (!date.empty()) appendDates(date, dates);
    }
    std::lock_guard lock(mutex_);
    possibleReceivedDates_ = dates;
    return dates;
}

std::optional<double> PWMessageHeaders::dateSent() const {
    std::vector<double> sent = candidateSentDates();
    if (sent.size() == 1) return sent.front();
    std::vector<double> received = possibleReceivedDates();
    if (sent.empty()) return received.empty() ? std::nullopt : std::optional<double>(received.front());
    if (received.empty()) return sent.front();
    for (double receivedDate : received) {
        for (double candidate : sent) {
            if (candidate <= receivedDate) return candidate;
        }
    }
    return sent.front();
}

std::optional<double> PWMessageHeaders::dateReceived() const {
    std::vector<double> received = possibleReceivedDates();
    if (!received.empty()) return received.front();
    std::vector<double> sent = candidateSentDates();
    if (!sent.empty()) return sent.front();
    return std::nullopt;
}

}  // namespace postwright
