#include "postwright/Message/PWMBoxMessageContents.hpp"

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
