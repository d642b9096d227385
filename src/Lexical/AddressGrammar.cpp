// The RFC 2822 address grammar (section 3.4): addr-spec, angle-addr, name-addr, mailbox, mailbox-list,
// group and address-list, with the invalid fallback that turns an unreadable mailbox into an invalid
// address instead of failing the list.
#include "postwright/Lexical/AddressGrammar.hpp"

#include <array>
#include <cstdint>

#include "Lexical/detail/AddressGrammarCore.hpp"
#include "postwright/Headers/PWEmailAddress.hpp"
#include "postwright/Headers/PWEmailAddressGroup.hpp"
#include "postwright/Lexical/CharacterSetRFC2822.hpp"
#include "postwright/Lexical/EmailParserError.hpp"
#include "postwright/Lexical/MimeEncoding.hpp"
#include "postwright/Lexical/Scanner.hpp"

namespace postwright {

namespace detail {

namespace {
// Runs a lexical operation with a real error slot only when the caller of the grammar wants one, and
// carries over whatever record the operation left.
template <typename Operation>
bool withLexicalSlot(GrammarError* error, Operation operation) {
    if (!error) return operation(static_cast<ErrorRef*>(nullptr));
    static const ErrorRef untouched = std::make_shared<Error>();
    ErrorRef slot = untouched;
    bool ok = operation(&slot);
    if (slot != untouched) error->take(slot);
    return ok;
}

unsigned phraseOptions(unsigned addressOptions) {
    return (addressOptions & kAddressOptionBuiltUpPhrases) ? 1u : 0u;
}

// The domain of an addr-spec, as Scanner::scanDomainIntoString reads it, but without building the
// dot-atom's error record: a dot-atom refused for its trailing dot is the only failure that leaves the
// location moved, and its code 10 survives only when a domain literal then succeeds.
bool scanDomainNotingTrailingDot(Scanner& scanner, OptString* domain, bool* trailingDotRefused) {
    size_t start = scanner.scanLocation();
    if (scanner.scanRFC2822DotAtomIntoString(domain, false, nullptr)) return true;
    *trailingDotRefused = scanner.scanLocation() != start;
    if (scanner.scanDomainLiteralIntoString(domain, nullptr)) return true;
    if (scanner.scanObsDomainIntoString(domain)) return true;
    scanner.setScanLocation(start);
    return false;
}

bool scanAddrSpec(Scanner& scanner, OptString* localName, OptString* domain, GrammarError* error) {
    size_t start = scanner.scanLocation();
    OptString local;
    if (!withLexicalSlot(error, [&](ErrorRef* slot) { return scanner.scanLocalPartIntoString(&local, slot); })) {
        scanner.setScanLocation(start);
        return false;
    }
    if (scanner.scanString(u"@")) {
        if (error) error->clear();  // the domain clears its slot on entry
        OptString domainText;
        bool trailingDotRefused = false;
        if (scanDomainNotingTrailingDot(scanner, &domainText, &trailingDotRefused)) {
            if (trailingDotRefused && error) error->raise(EmailParserErrorCode::DotAtomNotParsed);
            setSlot(localName, std::move(local));
            setSlot(domain, std::move(domainText));
            return true;
        }
    }
    setSlot(localName, std::nullopt);
    if (error) error->raise(EmailParserErrorCode::MalformedAddress);
    scanner.setScanLocation(start);
    return false;
}

// CFWS "<" inner ">" CFWS, where inner is an addr-spec or a built-up phrase.
template <typename Inner>
bool scanBetweenAngleBrackets(Scanner& scanner, GrammarError* error, Inner inner) {
    size_t start = scanner.scanLocation();
    scanner.scanRFC2822CommentFoldingWhiteSpace();
    if (!scanner.scanString(u"<")) {
        scanner.setScanLocation(start);
        return false;
    }
    scanner.scanObsRoute();
    if (!inner()) {
        if (error) error->clear();
        scanner.setScanLocation(start);
        return false;
    }
    if (!scanner.scanString(u">")) {
        if (error) error->raise(EmailParserErrorCode::UnclosedAngularBracket);
        scanner.setScanLocation(start);
        return false;
    }
    scanner.scanRFC2822CommentFoldingWhiteSpace();
    if (error) error->clear();
    return true;
}

bool scanAngleAddr(Scanner& scanner, OptString* localName, OptString* domain, GrammarError* error) {
    OptString local, domainText;
    // Whatever the inner addr-spec leaves in its slot is cleared or replaced here, so it gets none.
    bool ok =
        scanBetweenAngleBrackets(scanner, error, [&] { return scanAddrSpec(scanner, &local, &domainText, nullptr); });
    if (ok) {
        setSlot(localName, std::move(local));
        setSlot(domain, std::move(domainText));
    }
    return ok;
}

bool scanDisplayName(Scanner& scanner, OptString* result, unsigned options, GrammarError* error) {
    return withLexicalSlot(error, [&](ErrorRef* slot) {
        return scanner.scanRFC2822PhraseIntoString(result, phraseOptions(options), slot);
    });
}

bool scanNameAddr(Scanner& scanner, OptString* displayName, OptString* localName, OptString* domain, OptString* invalid,
                  unsigned options, GrammarError* error) {
    size_t start = scanner.scanLocation();
    OptString name;
    scanDisplayName(scanner, &name, options, error);
    if (name) name = fgTrim(*name);
    OptString local, domainText;
    if (scanAngleAddr(scanner, &local, &domainText, error)) {
        setSlot(displayName, std::move(name));
        setSlot(localName, std::move(local));
        setSlot(domain, std::move(domainText));
        return true;
    }
    setSlot(invalid, std::move(name));
    scanner.setScanLocation(start);
    return false;
}

// What the characters alone tell about a group name (a phrase and a colon) starting at `start`.
enum class GroupNameAhead {
    None,       // a special that no phrase holds comes before any colon outside quoted strings and comments
    Plain,      // atom characters, dots and blanks (the first an atom character) and then a colon
    MustRead,   // anything else: only reading the phrase tells
};

// How the look-ahead treats each character.
enum class AheadClass : uint8_t { Other, Plain, Special, Quote, Comment, Colon, Backslash };

AheadClass aheadClass(char16_t c) {
    static const std::array<AheadClass, 128> kASCII = [] {
        std::array<AheadClass, 128> table{};
        for (char16_t d = 0; d < 128; ++d) {
            table[d] = rfc2822PlainPhraseSet().contains(d) ? AheadClass::Plain : AheadClass::Other;
        }
        for (char16_t d : std::u16string_view(u"<>,;@[]")) table[d] = AheadClass::Special;
        table[u'"'] = AheadClass::Quote;
        table[u'('] = AheadClass::Comment;
        table[u':'] = AheadClass::Colon;
        table[u'\\'] = AheadClass::Backslash;
        return table;
    }();
    if (c < 128) return kASCII[c];
    return rfc2822PlainPhraseSet().contains(c) ? AheadClass::Plain : AheadClass::Other;
}

// Reading a phrase gives an error record only for a quoted string that is not closed or holds what quoted
// text may not, so the look-ahead skips closed quoted strings of printable ASCII and closed comments, and
// leaves the rest (other quoted strings, an unclosed comment, a backslash) to the phrase scanner. Plain
// text before a colon is exactly what the phrase scanner consumes, without any error, so it needs no
// reading either. *colon receives the colon's position for a plain name.
GroupNameAhead lookAheadForGroupName(std::u16string_view text, size_t start, size_t* colon) {
    bool plain = start < text.size() && rfc2822atomTextSet().contains(text[start]);
    for (size_t i = start; i < text.size(); ++i) {
        switch (aheadClass(text[i])) {
            case AheadClass::Plain:
                break;
            case AheadClass::Other:
                plain = false;
                break;
            case AheadClass::Special:
                return GroupNameAhead::None;
            case AheadClass::Quote: {
                size_t end = i + 1;
                while (end < text.size() && text[end] != u'"') {
                    if (text[end] < 0x20 || text[end] > 0x7E) return GroupNameAhead::MustRead;
                    end += text[end] == u'\\' ? 2 : 1;
                }
                if (end >= text.size()) return GroupNameAhead::MustRead;
                i = end;
                plain = false;
                break;
            }
            case AheadClass::Comment: {
                size_t depth = 0, end = i;
                for (; end < text.size(); ++end) {
                    if (text[end] == u'\\') {
                        ++end;
                    } else if (text[end] == u'(') {
                        ++depth;
                    } else if (text[end] == u')' && --depth == 0) {
                        break;
                    }
                }
                if (end >= text.size()) return GroupNameAhead::MustRead;
                i = end;
                plain = false;
                break;
            }
            case AheadClass::Colon:
                if (!plain) return GroupNameAhead::MustRead;
                *colon = i;
                return GroupNameAhead::Plain;
            case AheadClass::Backslash:
                return GroupNameAhead::MustRead;
        }
    }
    return GroupNameAhead::None;
}

bool scanGroupName(Scanner& scanner, OptString* groupName, unsigned options, GrammarError* error) {
    size_t start = scanner.scanLocation();
    size_t colon = 0;
    GroupNameAhead ahead = lookAheadForGroupName(scanner.string(), start, &colon);
    if (ahead == GroupNameAhead::None) return false;
    if (ahead == GroupNameAhead::Plain && !groupName) {
        scanner.setScanLocation(colon + 1);
        scanner.scanFoldingWhiteSpace();
        return true;
    }
    OptString phrase;
    bool ok = withLexicalSlot(error, [&](ErrorRef* slot) {
        return scanner.scanRFC2822PhraseIntoString(groupName ? &phrase : nullptr, phraseOptions(options), slot);
    });
    if (ok && scanner.scanString(u":")) {
        scanner.scanFoldingWhiteSpace();
        setSlot(groupName, std::move(phrase));
        return true;
    }
    scanner.setScanLocation(start);
    return false;
}

// Whether a group name begins at the location; the location does not move.
bool groupNameBegins(Scanner& scanner, unsigned options, GrammarError* error) {
    size_t start = scanner.scanLocation();
    bool found = scanGroupName(scanner, nullptr, options, error);
    scanner.setScanLocation(start);
    return found;
}

bool containsLineBreak(std::u16string_view text) {
    for (char16_t c : text) {
        if (isNewline(c)) return true;
    }
    return false;
}

bool scanEmailAddress(Scanner& scanner, std::shared_ptr<PWEmailAddress>* address, unsigned options,
                      GrammarError* error) {
    size_t start = scanner.scanLocation();
    OptString displayName, localName, domain, invalid;
    if (!scanMailbox(scanner, &displayName, &localName, &domain, &invalid, options, error)) {
        setSlot(address, nullptr);
        return false;
    }
    std::shared_ptr<PWEmailAddress> result;
    if (invalid) {
        // The address keeps the raw source text read, not the invalid text itself.
        result = PWEmailAddress::initWithInvalidRawAddress(
            std::u16string_view(scanner.string()).substr(start, scanner.scanLocation() - start), options);
    } else {
        bool nameSploited = false, localSploited = false;
        OptString decodedName, decodedLocal;
        if (displayName) decodedName = decodedMimeEncodedString(*displayName, &nameSploited);
        if (localName) decodedLocal = decodedMimeEncodedString(*localName, &localSploited);
        result = PWEmailAddress::initWithAddressComment(decodedName, decodedLocal, domain, options);
        if (options & kAddressOptionDetectMailSploits) {
            result->setIsMailSploited(nameSploited || localSploited ||
                                      (decodedName && containsLineBreak(*decodedName)));
        }
    }
    setSlot(address, std::move(result));
    return true;
}

bool scanMailboxList(Scanner& scanner, PWEmailAddressList* list, unsigned options, GrammarError* error) {
    size_t start = scanner.scanLocation();
    scanner.scanFoldingWhiteSpace();
    PWEmailAddressList addresses;
    if (!groupNameBegins(scanner, options, error)) {
        while (!scanner.isAtEnd()) {
            size_t before = scanner.scanLocation();
            std::shared_ptr<PWEmailAddress> address;
            if (!scanEmailAddress(scanner, &address, options, error)) break;
            if (address) addresses.push_back(std::move(address));
            scanner.scanFoldingWhiteSpace();
            scanner.scanString(u",");
            scanner.scanFoldingWhiteSpace();
            if (scanner.scanLocation() == before || groupNameBegins(scanner, options, error)) break;
        }
    }
    setSlot(list, std::move(addresses));
    return scanner.scanLocation() != start;
}

bool scanGroup(Scanner& scanner, OptString* groupName, PWEmailAddressList* mailboxList, unsigned options,
               GrammarError* error) {
    setSlot(mailboxList, PWEmailAddressList());
    size_t start = scanner.scanLocation();
    OptString name;
    if (!scanGroupName(scanner, &name, options, error)) {
        scanner.setScanLocation(start);
        return false;
    }
    scanner.scanFoldingWhiteSpace();
    setSlot(groupName, std::move(name));
    PWEmailAddressList members;
    scanMailboxList(scanner, &members, options, error);
    if (scanner.scanString(u";")) scanner.scanFoldingWhiteSpace();
    setSlot(mailboxList, std::move(members));
    return scanner.scanLocation() != start;
}

bool scanAddressList(Scanner& scanner, std::vector<std::shared_ptr<PWEmailAddressGroup>>* groups, unsigned options,
                     GrammarError* error) {
    setSlot(groups, std::vector<std::shared_ptr<PWEmailAddressGroup>>());
    if (scanner.isAtEnd()) return false;
    size_t start = scanner.scanLocation();
    std::vector<std::shared_ptr<PWEmailAddressGroup>> result;
    while (true) {
        size_t before = scanner.scanLocation();
        OptString name;
        PWEmailAddressList members;
        if (scanGroup(scanner, &name, &members, options, error)) {
            result.push_back(PWEmailAddressGroup::newWithGroupName(name, std::move(members)));
            scanner.scanString(u",");
        } else {
            if (!scanMailboxList(scanner, &members, options, error)) break;
            result.push_back(PWEmailAddressGroup::newWithGroupName(std::nullopt, std::move(members)));
        }
        if (scanner.isAtEnd() || error->isSet() || scanner.scanLocation() == before) break;
    }
    if (error->isSet()) {
        scanner.setScanLocation(start);
        return false;
    }
    setSlot(groups, std::move(result));
    return scanner.scanLocation() != start;
}
}  // namespace

bool scanMailbox(Scanner& scanner, OptString* displayName, OptString* localName, OptString* domain, OptString* invalid,
                 unsigned options, GrammarError* error) {
    size_t start = scanner.scanLocation();
    OptString name, local, domainText;
    // A successful name-addr always ends with its slot cleared, so it runs without one.
    if (scanNameAddr(scanner, &name, &local, &domainText, nullptr, options, nullptr)) {
        setSlot(displayName, std::move(name));
        setSlot(localName, std::move(local));
        setSlot(domain, std::move(domainText));
        setSlot(invalid, std::nullopt);
        if (error) error->clear();
        return true;
    }
    GrammarError specError;
    if (scanAddrSpec(scanner, &local, &domainText, &specError)) {
        setSlot(displayName, std::nullopt);
        setSlot(localName, std::move(local));
        setSlot(domain, std::move(domainText));
        setSlot(invalid, std::nullopt);
        if (error) *error = specError;
        return true;
    }
    if (invalid && scanner.currentCharacter() != u';') {
        const std::u16string& text = scanner.string();
        OptString phrase;
        if (scanner.scanRFC2822PhraseIntoString(&phrase, phraseOptions(options), nullptr)) {
            *invalid = std::move(phrase);
            size_t comma = text.find(u',', scanner.scanLocation());
            if (comma != std::u16string::npos) scanner.setScanLocation(comma);
            return true;
        }
        size_t from = scanner.scanLocation();
        size_t comma = text.find(u',', from);
        size_t stop = comma == std::u16string::npos ? text.size() : comma;
        if (stop > from) {
            *invalid = text.substr(from, stop - from);
            scanner.setScanLocation(stop);
            return true;
        }
    }
    setSlot(invalid, std::nullopt);
    scanner.setScanLocation(start);
    return false;
}

}  // namespace detail

using detail::GrammarError;

namespace {
// Runs a grammar routine with a GrammarError when the caller passed a slot, and hands the outcome over.
template <typename Routine>
bool reportingInto(ErrorRef* slot, const std::u16string& scannerString, Routine routine) {
    if (!slot) return routine(static_cast<GrammarError*>(nullptr));
    GrammarError error;
    bool ok = routine(&error);
    error.handTo(slot, scannerString);
    return ok;
}
}  // namespace

bool Scanner::scanAddrSpecIntoLocalName(OptString* localName, OptString* domain, ErrorRef* error) {
    return reportingInto(error, string_,
                         [&](GrammarError* e) { return detail::scanAddrSpec(*this, localName, domain, e); });
}

bool Scanner::scanAngularAddrSpecIntoLocalName(OptString* localName, OptString* domain, ErrorRef* error) {
    return reportingInto(error, string_,
                         [&](GrammarError* e) { return detail::scanAngleAddr(*this, localName, domain, e); });
}

bool Scanner::scanAngularPhraseIntoString(OptString* result, ErrorRef* error) {
    return reportingInto(error, string_, [&](GrammarError* e) {
        OptString phrase;
        bool ok = detail::scanBetweenAngleBrackets(*this, e,
                                                   [&] { return scanRFC2822PhraseIntoString(&phrase, 1, nullptr); });
        if (ok) setSlot(result, std::move(phrase));
        return ok;
    });
}

bool Scanner::scanDisplayName(OptString* result, unsigned options, ErrorRef* error) {
    return reportingInto(error, string_,
                         [&](GrammarError* e) { return detail::scanDisplayName(*this, result, options, e); });
}

bool Scanner::scanNameAddrIntoDisplayName(OptString* displayName, OptString* localName, OptString* domain,
                                          OptString* invalid, unsigned options, ErrorRef* error) {
    return reportingInto(error, string_, [&](GrammarError* e) {
        return detail::scanNameAddr(*this, displayName, localName, domain, invalid, options, e);
    });
}

bool Scanner::scanRFC2822EmailAddressIntoDisplayName(OptString* displayName, OptString* localName, OptString* domain,
                                                     OptString* invalid, unsigned options, ErrorRef* error) {
    return reportingInto(error, string_, [&](GrammarError* e) {
        return detail::scanMailbox(*this, displayName, localName, domain, invalid, options, e);
    });
}

bool Scanner::scanPWEmailAddress(std::shared_ptr<PWEmailAddress>* address, unsigned options, ErrorRef* error) {
    return reportingInto(error, string_,
                         [&](GrammarError* e) { return detail::scanEmailAddress(*this, address, options, e); });
}

bool Scanner::scanRFC2822EmailAddressIntoPWEMailAddress(std::shared_ptr<PWEmailAddress>* address, unsigned options,
                                                        ErrorRef* error) {
    (void)scanPWEmailAddress(address, options, error);
    return true;
}

bool Scanner::scanRFC2822MailboxList(PWEmailAddressList* list, unsigned options, ErrorRef* error) {
    return reportingInto(error, string_,
                         [&](GrammarError* e) { return detail::scanMailboxList(*this, list, options, e); });
}

bool Scanner::scanRFC2822EmailGroupIntoGroupName(OptString* groupName, unsigned options, ErrorRef* error) {
    return reportingInto(error, string_,
                         [&](GrammarError* e) { return detail::scanGroupName(*this, groupName, options, e); });
}

bool Scanner::scanRFC2822EmailGroupIntoGroupName(OptString* groupName, PWEmailAddressList* mailboxList,
                                                 unsigned options, ErrorRef* error) {
    return reportingInto(error, string_,
                         [&](GrammarError* e) { return detail::scanGroup(*this, groupName, mailboxList, options, e); });
}

bool Scanner::scanRFC2822AddressListIntoPWEmailAddressGroups(std::vector<std::shared_ptr<PWEmailAddressGroup>>* groups,
                                                             unsigned options, ErrorRef* error) {
    // The list's outcome depends on whether an inner operation left an error, so it always keeps one.
    GrammarError listError;
    bool ok = detail::scanAddressList(*this, groups, options, &listError);
    listError.handTo(error, string_);
    return ok;
}

bool Scanner::scanGroupIntoGroupName(OptString*, PWEmailAddressList*, ErrorRef*) {
    return false;
}

bool Scanner::scanAddrSpecIntoLocalName(OptString*, OptString*, OptString*, ErrorRef*) {
    return false;
}

}  // namespace postwright
