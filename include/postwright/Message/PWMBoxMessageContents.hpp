// PWMBoxMessageContents: message contents read from an mbox file, keeping the "From " envelope line.
//
// The envelope line carries the sender and the date the message was stored with; the message abstract
// falls back on them when the message's own From or dates are missing. MboxReader walks every message of
// an mbox file (memory-mapped), handing out views of the file.
//
//     MboxReader reader(*Data::mapFile("inbox.mbox"));
//     while (std::optional<MboxReader::Message> message = reader.next()) {
//         auto contents = PWMBoxMessageContents::newWithMessageData(message->data, message->fromLine);
//     }
#pragma once

#include <optional>

#include "postwright/Export.hpp"
#include "postwright/Message/PWMessageContents.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// Message contents read from an mbox file, with the "From " envelope line.
class PWMBoxMessageContents : public PWMessageContents {
public:
    // Contents of the message bytes with their envelope line ("From sender date", without line break).
    // nullptr (with an error) when the message is empty.
    static std::shared_ptr<PWMBoxMessageContents> newWithMessageData(const Data& messageData,
                                                                     const Data& fromSpaceHeader,
                                                                     ErrorRef* error = nullptr);

    const Data& fromSpaceHeader() const noexcept { return fromSpaceHeader_; }
    // The address after "From " (an invalid address for "-" and other non-addresses); nullptr when the
    // line names none.
    std::shared_ptr<PWEmailAddress> mboxFrom() const;
    // The rest of the line read as an envelope date ("Mon Jan  1 00:00:00 2024", UTC); nullopt when it
    // does not read.
    std::optional<double> mboxDate() const;

private:
    PWMBoxMessageContents() = default;
    Data fromSpaceHeader_;
};

// Every message of an mbox file, in order, as views of the file (copies only where ">From " quoting had
// to be undone).
class MboxReader {
public:
    explicit MboxReader(Data mbox) : mbox_(std::move(mbox)) {}

    // One message of the file: where it starts, its envelope line and its bytes.
    struct Message {
        size_t position = 0;  // byte offset of the envelope line in the file
        Data fromLine;        // the envelope line, without its line break
        Data data;            // the message bytes
    };

    // The next message, or nullopt at the end (also for a file without any "From " line).
    std::optional<Message> next();
    size_t location() const noexcept { return location_; }

private:
    Data mbox_;
    size_t location_ = 0;
};

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
