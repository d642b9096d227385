// Helpers for the amendment tests: messages, a recording logger for runs, and amendments made to order.
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "Message/MessageBuildingSupport.hpp"
#include "postwright/Amendments/PWMessageAmendment.hpp"

namespace postwright::test {

inline std::shared_ptr<FGPostwrightMessage> messageOf(std::string_view bytes) {
    return FGPostwrightMessage::initWithRFC2822Data(Data::withString(bytes), true);
}

inline std::shared_ptr<FGBaseMutableMessage> mutableOf(std::string_view bytes) {
    return messageOf(bytes)->amendableCopy();
}

inline PWMessageContentsRef rereadContents(const PWMessageContentsRef& contents) {
    return PWMessageContents::initWithHeaderAndBodyData(contents->contentData());
}

// The shape of the message's current tree, as written and read back.
inline std::string shapeOfMessage(FGBaseMutableMessage& message) {
    PWMessageContentsRef contents = message.messageContents();
    return contents ? shapeOf(rereadContents(contents)->rootMimePart()) : "(none)";
}

// Keeps the lines a run writes to its context.
class RecordingAmendmentLogger : public PWAmendmentLogger {
public:
    void log(std::u16string_view line) override {
        std::lock_guard lock(mutex_);
        lines_.push_back(toUTF8(line));
    }
    std::vector<std::string> lines() const {
        std::lock_guard lock(mutex_);
        return lines_;
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

// An amendment that does what the test asks: it records that it ran and calls the given step.
class ScriptedAmendment : public PWMessageAmendment {
public:
    using Step =
        std::function<PWAmendmentResultRef(FGBaseMutableMessage&, const PWMessageAmendmentContext&, ErrorRef*)>;

    static const PWAmendmentClass& amendmentClass() {
        static const PWAmendmentClass cls{u"ScriptedAmendment", u"Scripted", &initWithDictionaryRepresentation};
        return cls;
    }
    const PWAmendmentClass& objectClass() const override { return amendmentClass(); }
    static std::shared_ptr<PWMessageAmendment> initWithDictionaryRepresentation(const PWAmendmentDictionary&) {
        return make(10, nullptr);
    }
    static std::shared_ptr<ScriptedAmendment> make(int64_t hint, Step step, std::vector<std::string>* ran = nullptr,
                                                   std::string name = "") {
        std::shared_ptr<ScriptedAmendment> amendment(new ScriptedAmendment());
        amendment->hint_ = hint;
        amendment->step_ = std::move(step);
        amendment->ran_ = ran;
        amendment->name_ = std::move(name);
        return amendment;
    }
    int64_t applicationOrderHint() const override { return hint_; }
    PWAmendmentResultRef resultByApplyingToMutableMessage(FGBaseMutableMessage& message,
                                                          const PWMessageAmendmentContext& context, uint64_t,
                                                          ErrorRef* error) override {
        setSlot(error, nullptr);
        if (ran_) ran_->push_back(name_);
        return step_ ? step_(message, context, error) : PWAmendmentResult::init();
    }

private:
    ScriptedAmendment() = default;
    int64_t hint_ = 10;
    Step step_;
    std::vector<std::string>* ran_ = nullptr;
    std::string name_;
};

inline const char* const kSimpleMessage =
    "From: Ann <ann@example.com>\r\n"
    "To: Bob <bob@example.org>\r\n"
    "Subject: Hello\r\n"
    "Message-Id: <m1@example.com>\r\n"
    "\r\n"
    "Hello Bob\r\n";

}  // namespace postwright::test
