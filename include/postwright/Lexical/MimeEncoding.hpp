// Encoded words (RFC 2047) and charset names: decoding header text, Q encoding, encoded-word output and
// the IMAP astring (RFC 9051).
//
//     bool sploited = false;
//     std::u16string subject = decodedMimeEncodedString(u"=?utf-8?Q?Gr=C3=BC=C3=9Fe?=", &sploited);
//     OptString word = mimeWordWithString(u"Gr\u00fc\u00dfe", kUTF8StringEncoding, nullptr);
//
// The scanner operations on single encoded words are members of Scanner (Scanner.hpp).
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "postwright/Base/Data.hpp"
#include "postwright/Base/Text.hpp"
#include "postwright/Base/TextEncoding.hpp"

namespace postwright {

// The lower-cased IANA name of an encoding, or nullopt.
OptString PWcharSetNameForEncoding(TextEncoding encoding);
// The encoding for an IANA name, or kInvalidEncoding (callers treat 0 and invalid alike as unknown).
TextEncoding PWencodingForCharSetName(std::u16string_view name);

// The text with every encoded word decoded; adjacent words are joined, malformed words kept as written.
// isMailSploited: whether any decoded word smuggled a NUL byte. encodingUsed: kInvalidEncoding, or the
// encoding of the last word decoded; languageUsed: nil, or the RFC 2231 language of the last word decoded.
std::u16string decodedMimeEncodedString(std::u16string_view text, bool* isMailSploited = nullptr,
                                        TextEncoding* encodingUsed = nullptr, OptString* languageUsed = nullptr);

// A whole encoded word ("=?charset?Q|B?text?=") decoded to bytes, or to text; nullopt when malformed.
std::optional<Data> dataForMimeEncodedWord(std::u16string_view word, TextEncoding* usedEncoding = nullptr,
                                           OptString* usedLanguage = nullptr);
OptString stringWithMimeEncodedWord(std::u16string_view word, TextEncoding* encodingUsed = nullptr,
                                    OptString* languageUsed = nullptr);

// Q-encoded text (the encoded-text part of a word), in the preferred encoding when it can hold the text;
// nullopt when no encoding can. The encoding chosen goes into encodingUsed.
OptString qEncodedStringWithString(const OptString& text, TextEncoding preferredEncoding, TextEncoding* encodingUsed);
// A complete encoded word "=?charset?Q?text?=", never split; nullopt (and encodingUsed 0) on failure.
OptString mimeWordWithString(std::u16string_view text, TextEncoding preferredEncoding, TextEncoding* encodingUsed);

// The text as an IMAP astring: unchanged without specials, else quoted with \ and " escaped.
std::u16string rfc9051AString(std::u16string_view text);

}  // namespace postwright
