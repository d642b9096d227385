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
#include <vector>

#include "postwright/Base/Data.hpp"
#include "postwright/Base/Text.hpp"
#include "postwright/Base/TextEncoding.hpp"
#include "postwright/Export.hpp"

POSTWRIGHT_PUBLIC_BEGIN
namespace postwright {

// ---- Charset names ------------------------------------------------------------------------------------

// The lower-cased IANA name of an encoding, or nullopt.
OptString PWcharSetNameForEncoding(TextEncoding encoding);
// The encoding for an IANA name (any case, any alias), or kInvalidEncoding. Callers treat 0 and
// kInvalidEncoding alike as unknown.
TextEncoding PWencodingForCharSetName(std::u16string_view name);

// The encodings named by the encoded words of raw header bytes ("=?charset?Q?" and "=?charset?B?", the
// RFC 2231 language suffix ignored), each once, in order of appearance; unknown names are left out. Hints
// for reading the raw 8-bit text of the same message (EncodingDetector.hpp).
std::vector<TextEncoding> encodedWordEncodings(std::string_view headerBytes);

// ---- Decoding -----------------------------------------------------------------------------------------

// The text with every encoded word decoded (RFC 2047 section 6). White space between two adjacent
// encoded words is dropped; a malformed word, or one with an unknown charset, stays as written.
// Slots: isMailSploited, whether any decoded word held a NUL byte (shown as backslash-zero);
// encodingUsed, the encoding of the last word decoded, else kInvalidEncoding; languageUsed, the RFC 2231
// language of the last word decoded (nil when it had none, or no word was decoded).
std::u16string decodedMimeEncodedString(std::u16string_view text, bool* isMailSploited = nullptr,
                                        TextEncoding* encodingUsed = nullptr, OptString* languageUsed = nullptr);

// A whole encoded word "=?charset[*language]?Q|B?encoded-text?=" decoded to bytes (B: base64, skipping
// characters outside the alphabet; Q: the strict Q form). nullopt when the text is not a word, its charset
// is unknown or the Q text is malformed. The slots are written once the charset has resolved (language:
// nil when there is none).
std::optional<Data> dataForMimeEncodedWord(std::u16string_view word, TextEncoding* usedEncoding = nullptr,
                                           OptString* usedLanguage = nullptr);
// The same, as text in the word's encoding (nullopt when the bytes are not valid in it). The Q form is
// read as a NUL-terminated string, so a decoded NUL ends the text.
OptString stringWithMimeEncodedWord(std::u16string_view word, TextEncoding* encodingUsed = nullptr,
                                    OptString* languageUsed = nullptr);

// ---- Encoding -----------------------------------------------------------------------------------------

// The encoded-text part of a Q word. The encoding is the preferred one when it can hold the text, else
// ISO Latin-2, UTF-8, UTF-16, else the smallest encoding that holds it; it goes into encodingUsed (0 for
// nil text or when none can, and the result is then nullopt). Q-safe bytes (0x20-0x7D without SPACE, "_",
// "=" and "?") stand as themselves, SPACE becomes "_", every other byte "=XX" in upper-case hex. RFC 822
// specials such as "(" and "," are deliberately left as they are.
OptString qEncodedStringWithString(const OptString& text, TextEncoding preferredEncoding, TextEncoding* encodingUsed);
inline OptString qEncodedStringWithPreferredEncoding(std::u16string_view text, TextEncoding preferredEncoding,
                                                     TextEncoding* encodingUsed) {
    return qEncodedStringWithString(std::u16string(text), preferredEncoding, encodingUsed);
}
// A complete encoded word "=?charset?Q?encoded-text?=" with the lower-cased charset name. It is never
// split, whatever its length: folding is the header writer's business. nullopt, and encodingUsed 0, when
// no encoding can hold the text.
OptString mimeWordWithString(std::u16string_view text, TextEncoding preferredEncoding, TextEncoding* encodingUsed);
// The text as UTF-8 encoded words of at most kMimeWordMaximumLength characters each (RFC 2047 section 2),
// joined by single spaces: a decoder joins adjacent encoded words into one text, and the spaces are where
// a header writer may fold. A word never cuts a character in two, so each one decodes on its own. The
// first word is kept to firstWordLength characters (room for the field name on its line), but never to
// fewer than one character's worth.
inline constexpr size_t kMimeWordMaximumLength = 75;
std::u16string mimeWordsWithString(std::u16string_view text, size_t firstWordLength = kMimeWordMaximumLength);

// The text as an IMAP astring (RFC 9051 section 4.3): unchanged when it holds none of ( ) { SPACE, the
// control characters, DEL, % * " and \ (empty text too); otherwise \ and " are escaped with a backslash
// and the whole is put in double quotes.
std::u16string rfc9051AString(std::u16string_view text);

}  // namespace postwright
POSTWRIGHT_PUBLIC_END
