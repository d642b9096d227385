// The address grammar's own routines, shared by the Scanner operations and by PWEmailAddress.
//
// A failed attempt is routine in this grammar: every mailbox tries name-addr before addr-spec, and every
// list position is tried as a group name. An error record carries the whole header text, so building one
// for each discarded attempt would make a long broken list cost the square of its length. The routines
// therefore keep the grammar's own codes as codes (GrammarError) and build a record only when a caller's
// slot receives one.
#pragma once

#include <optional>
#include <string_view>

#include "postwright/Base/Error.hpp"
#include "postwright/Base/Text.hpp"
#include "postwright/Lexical/EmailParserError.hpp"
#include "postwright/Lexical/Scanner.hpp"

namespace postwright::detail {

// The state of one error slot inside the grammar: untouched, cleared, one of our codes, or a record that
// a lexical operation already built.
class GrammarError {
public:
    void clear() {
        touched_ = true;
        code_.reset();
        record_.reset();
    }
    void raise(EmailParserErrorCode code) {
        touched_ = true;
        code_ = code;
        record_.reset();
    }
    void take(ErrorRef record) {
        touched_ = true;
        code_.reset();
        record_ = std::move(record);
    }
    bool isSet() const { return code_.has_value() || record_ != nullptr; }
    bool touched() const { return touched_; }
    // Writes the state into a caller's slot when it was touched, building the record only now.
    void handTo(ErrorRef* slot, std::u16string_view scannerString) const {
        if (!slot || !touched_) return;
        *slot = record_ ? record_ : code_ ? emailParserError(*code_, scannerString) : nullptr;
    }

private:
    bool touched_ = false;
    std::optional<EmailParserErrorCode> code_;
    ErrorRef record_;
};

// One mailbox with the invalid fallback (see Scanner::scanRFC2822EmailAddressIntoDisplayName).
bool scanMailbox(Scanner& scanner, OptString* displayName, OptString* localName, OptString* domain, OptString* invalid,
                 unsigned options, GrammarError* error);

}  // namespace postwright::detail
