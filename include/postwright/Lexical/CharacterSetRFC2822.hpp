// The RFC 2822 character classes that the field scanner and the address grammar test against.
//
// Several classes deliberately differ from the RFC's own definitions (the header-name class takes the
// control codes 0x01-0x0A, the VCHAR class takes every control code and SPACE, the quoted-text class takes
// TAB, CR, LF and SPACE), and the scanners depend on those differences. Each class is built once, on first
// use, behind a once-only guard, and shared read-only by every thread. Membership is tested one UTF-16
// code unit at a time, so a non-BMP character (a surrogate pair) is never a member.
//
//     if (rfc2822atomTextSet().contains(c)) ...
#pragma once

#include "postwright/Base/CharacterSet.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

const CharacterSet& rfc2822FTextSet();             // 0x01-0x0A, 0x21-0x39, 0x3B-0x7E (field names)
const CharacterSet& rfc2822TextSet();              // 0x01-0x0C, 0x0E-0x7F: 7-bit except NUL and CR
const CharacterSet& rfc2822WSPcharacterSet();      // TAB and SPACE
const CharacterSet& rfc2822DTextSet();             // 0x01-0x09, 0x21-0x5A, 0x5E-0x7E
const CharacterSet& rfc2822CTextSet();             // 0x01-0x09, 0x0B-0x0C, 0x0E-0x1F, 0x21-0x27, 0x2A-0x5B, 0x5D-0x7F
const CharacterSet& rfc2822QTextSet();             // 0x01-0x7F except NUL, '"' and '\'
const CharacterSet& rfc2822ExtendedQTextSet();     // the quoted-text class plus 0x80-0xFE
const CharacterSet& rfc2822atomTextSet();          // Unicode letters, marks, digits and !#$%&'*+-/=?^_`{|}~
const CharacterSet& rfc2822dotAtomTextSet();       // the atom class plus "."
const CharacterSet& rfc2822DomainDotAtomTextSet(); // the dot-atom class plus "@"
const CharacterSet& rfc2822PlainPhraseSet();       // the dot-atom class plus SPACE and TAB: plain words
const CharacterSet& rfc2822VCHARSet();             // 0x01-0x7E

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
