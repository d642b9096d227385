#include "postwright/Message/FGPostwrightMessage.hpp"

#include "postwright/Message/FGBaseMutableMessage.hpp"

namespace postwright {

std::shared_ptr<FGPostwrightMessage> FGPostwrightMessage::initWithMessageAbstract(
    std::shared_ptr<FGMessageAbstract> abstract) {
    auto message = std::make_shared<FGPostwrightMessage>();
    message->abstract_ = std::move(abstract);
    return message;
}

std::shared_ptr<FGPostwrightMessage> FGPostwrightMessage::initWithMessageContents(const PWMessageContentsRef& contents,
                                                                                  bool cachingContents) {
    auto message = initWithMessageAbstract(FGMessageAbstract::newWithMessageContents(contents));
    if (cachingContents && message) message->cachedMessageContents_ = contents;
    return message;
}

std::shared_ptr<FGPostwrightMessage> FGPostwrightMessage::initWithRFC2822Data(const Data& data, bool cacheContents) {
    return initWithMessageContents(PWMessageContents::initWithHeaderAndBodyData(data, nullptr), cacheContents);
}

std::shared_ptr<FGPostwrightMessage> FGPostwrightMessage::initWithRFC2822FileAtURL(const std::string& path,
                                                                                   bool cacheContents) {
    return initWithMessageContents(PWMessageContents::messageContentsWithFile(path), cacheContents);
}

PWMessageContentsRef FGPostwrightMessage::messageContents() const {
    std::lock_guard lock(mutex_);
    return cachedMessageContents_;
}

void FGPostwrightMessage::setMessageContents(const PWMessageContentsRef& contents) {
    PWMessageContentsRef copy = contents ? contents->copy() : nullptr;
    std::lock_guard lock(mutex_);
    cachedMessageContents_ = std::move(copy);
}

std::shared_ptr<FGMessageAbstract> FGPostwrightMessage::abstract() const {
    std::lock_guard lock(mutex_);
    return abstract_;
}

std::shared_ptr<FGBaseMutableMessage> FGPostwrightMessage::mutableCopy() const {
    auto copy = FGBaseMutableMessage::initWithMessageContents(messageContents());
    PWMessageHeadersRef own = headers();
    OptString composerId = own ? own->firstHeaderForKey(PWMessageHeaderComposerIdKey) : std::nullopt;
    // The copy's headers come from the same contents, so the id is usually there already; writing it again
    // would only mark an untouched copy changed.
    if (copy->headers()->firstHeaderForKey(PWMessageHeaderComposerIdKey) != composerId) {
        copy->headers()->setHeader(composerId, PWMessageHeaderComposerIdKey);
    }
    return copy;
}

std::shared_ptr<FGBaseMutableMessage> FGPostwrightMessage::amendableCopy() const {
    return FGBaseMutableMessage::initWithMessageContents(messageContents(), true);
}

PWMessageHeadersRef FGPostwrightMessage::headers() const {
    PWMessageContentsRef contents = messageContents();
    return contents ? contents->headers() : nullptr;
}

PWMimePartRef FGPostwrightMessage::rootMimePart() const {
    PWMessageContentsRef contents = messageContents();
    return contents ? contents->rootMimePart() : nullptr;
}

namespace {
template <typename Getter>
auto fromAbstract(const std::shared_ptr<FGMessageAbstract>& abstract, Getter getter)
    -> decltype(((*abstract).*getter)()) {
    if (!abstract) return {};
    return ((*abstract).*getter)();
}
}  // namespace

OptString FGPostwrightMessage::contentIdentifier() const {
    return fromAbstract(abstract(), &FGMessageAbstract::contentIdentifier);
}
OptString FGPostwrightMessage::subject() const { return fromAbstract(abstract(), &FGMessageAbstract::subject); }
std::optional<PWEmailAddressList> FGPostwrightMessage::sender() const {
    return fromAbstract(abstract(), &FGMessageAbstract::sender);
}
std::optional<PWEmailAddressList> FGPostwrightMessage::from() const {
    return fromAbstract(abstract(), &FGMessageAbstract::from);
}
std::optional<PWEmailAddressGroupList> FGPostwrightMessage::recipients() const {
    return fromAbstract(abstract(), &FGMessageAbstract::recipients);
}
std::optional<PWEmailAddressGroupList> FGPostwrightMessage::ccRecipients() const {
    return fromAbstract(abstract(), &FGMessageAbstract::ccRecipients);
}
std::optional<PWEmailAddressGroupList> FGPostwrightMessage::bccRecipients() const {
    return fromAbstract(abstract(), &FGMessageAbstract::bccRecipients);
}
std::optional<std::vector<std::u16string>> FGPostwrightMessage::inReplyToDigests() const {
    return fromAbstract(abstract(), &FGMessageAbstract::inReplyToDigests);
}
uint64_t FGPostwrightMessage::messageSize() const { return fromAbstract(abstract(), &FGMessageAbstract::messageSize); }
std::optional<double> FGPostwrightMessage::dateSent() const {
    return fromAbstract(abstract(), &FGMessageAbstract::dateSent);
}
OptString FGPostwrightMessage::snippet() const { return fromAbstract(abstract(), &FGMessageAbstract::snippet); }
uint64_t FGPostwrightMessage::numberOfAttachments() const {
    return fromAbstract(abstract(), &FGMessageAbstract::numberOfAttachments);
}

}  // namespace postwright
