#include "postwright/Message/PWMBoxMessageContents.hpp"

#include <algorithm>
#include <iterator>

#include "Base/detail/CivilTime.hpp"

#include "postwright/Base/DataScanner.hpp"
#include "postwright/Lexical/DataRFC2822.hpp"
#include "postwright/Lexical/DateFormat.hpp"

namespace postwright {

std::shared_ptr<PWMBoxMessageContents> PWMBoxMessageContents::newWithMessageData(const Data& messageData,
                                                                                 const Data& fromSpaceHeader,
                                                                                 ErrorRef* error) {
    setSlot(error, nullptr);
    if (messageData.empty()) {
        setSlot(error, makeError(kPOSIXErrorDomain, EINVAL, u"The mbox message is empty"));
        return nullptr;
    }
    std::shared_ptr<PWMBoxMessageContents> contents(new PWMBoxMessageContents());
    contents->fromSpaceHeader_ = fromSpaceHeader;
    contents->initialise(std::nullopt, messageData, nullptr);
    return contents;
}

namespace {
// The words of the envelope line after "From ": the sender, then the date.
std::pair<std::u16string, std::u16string> envelopeParts(const Data& line) {
    std::u16string text = fromLatin1(line.view());
    if (hasPrefix(text, u"From ")) text.erase(0, 5);
    text = trimWhitespace(text);
    size_t space = text.find_first_of(u" \t");
    if (space == std::u16string::npos) return {text, u""};
    return {text.substr(0, space), trimWhitespace(std::u16string_view(text).substr(space))};
}

// The envelope date as mail systems write it, "Mon Jan 01 00:00:00 2024" (the day already padded), read
// without the date formatter, which costs more than the rest of an abstract; nullopt for anything else,
// which the formatter then reads. The formatter takes the weekday as a name only (the day of the month
// decides the date), and so does this; it also rejects impossible dates and times, left to it here.
std::optional<double> canonicalEnvelopeDate(std::u16string_view text) {
    static constexpr std::u16string_view kWeekdays[] = {u"Sun", u"Mon", u"Tue", u"Wed", u"Thu", u"Fri", u"Sat"};
    static constexpr std::u16string_view kMonths[] = {u"Jan", u"Feb", u"Mar", u"Apr", u"May", u"Jun",
                                                      u"Jul", u"Aug", u"Sep", u"Oct", u"Nov", u"Dec"};
    if (text.size() != 24 || text[3] != u' ' || text[7] != u' ' || text[10] != u' ' || text[13] != u':' ||
        text[16] != u':' || text[19] != u' ') {
        return std::nullopt;
    }
    if (std::find(std::begin(kWeekdays), std::end(kWeekdays), text.substr(0, 3)) == std::end(kWeekdays)) {
        return std::nullopt;
    }
    auto month = std::find(std::begin(kMonths), std::end(kMonths), text.substr(4, 3));
    if (month == std::end(kMonths)) return std::nullopt;
    auto number = [&](size_t at, size_t digits) -> int {
        int value = 0;
        for (size_t i = at; i < at + digits; ++i) {
            if (text[i] < u'0' || text[i] > u'9') return -1;
            value = value * 10 + (text[i] - u'0');
        }
        return value;
    };
    const int day = number(8, 2), hour = number(11, 2), minute = number(14, 2), second = number(17, 2);
    const int year = number(20, 4);
    const long monthNumber = static_cast<long>(month - std::begin(kMonths)) + 1;
    return detail::plainGregorianInstant(year, monthNumber, day, hour, minute, second);
}
}  // namespace

std::shared_ptr<PWEmailAddress> PWMBoxMessageContents::mboxFrom() const {
    std::u16string sender = envelopeParts(fromSpaceHeader_).first;
    if (sender.empty()) return nullptr;
    return PWEmailAddress::initWithRawAddress(sender);
}

std::optional<double> PWMBoxMessageContents::mboxDate() const {
    std::u16string date = envelopeParts(fromSpaceHeader_).second;
    if (date.empty()) return std::nullopt;
    // Envelope lines pad single-digit days with a space ("Jan  1"); read the words one space apart.
    std::vector<std::u16string> words;
    for (const std::u16string& word : componentsSeparatedBy(date, u" ")) {
        if (!word.empty()) words.push_back(word);
    }
    if (words.size() > 5) words.resize(5);  // a zone or remote text may follow the year
    if (words.size() == 5 && words[2].size() == 1) words[2] = u"0" + words[2];
    std::u16string normalised = componentsJoinedBy(words, u" ");
    if (std::optional<double> parsed = canonicalEnvelopeDate(normalised)) return parsed;
    if (std::optional<double> parsed = mboxDateFormatter().dateFromString(normalised)) return parsed;
    return dateFromRFC822String(date);
}

bool FGDataScanner::scanMboxMessageIntoMessageContents(std::shared_ptr<PWMBoxMessageContents>* contents,
                                                       ErrorRef* error) {
    setSlot(error, nullptr);
    Data fromLine, message;
    bool moved = scanMboxMessage(&fromLine, &message);
    if (!fromLine.empty() && !message.empty()) {
        setSlot(contents, PWMBoxMessageContents::newWithMessageData(message, fromLine));
    }
    return moved;
}

std::optional<MboxReader::Message> MboxReader::next() {
    while (location_ < mbox_.length()) {
        FGDataScanner scanner(mbox_);
        scanner.setLocation(location_);
        Message message;
        if (!scanner.scanMboxMessage(&message.fromLine, &message.data) || scanner.location() <= location_) {
            location_ = mbox_.length();
            return std::nullopt;
        }
        location_ = scanner.location();
        if (message.fromLine.empty() || message.data.empty()) continue;
        // The envelope line is always a view of the file, so its place is its offset.
        message.position = static_cast<size_t>(message.fromLine.bytes() - mbox_.bytes());
        return message;
    }
    return std::nullopt;
}

}  // namespace postwright
