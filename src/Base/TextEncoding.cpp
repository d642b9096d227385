#include "postwright/Base/TextEncoding.hpp"

#include <unicode/ucnv.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "Base/detail/LegacyCharsets.hpp"
#include "Base/detail/SingleByteTables.hpp"
#include "postwright/Base/EncodingDetector.hpp"
#include "postwright/Base/Error.hpp"
#include "postwright/Base/Host.hpp"
#include "postwright/Base/Text.hpp"

namespace postwright {

namespace {

constexpr TextEncoding kOwnTable = 0x80000000u;

struct EncodingEntry {
    TextEncoding encoding;
    const char* name;     // preferred MIME name, lower case
    const char* icuName;  // converter name; nullptr for the built-in conversions
};

// The fixed numbers first, then the library's own table (0x80000000 + code).
const EncodingEntry kEncodings[] = {
    {kASCIIStringEncoding, "us-ascii", "US-ASCII"},
    {kNEXTSTEPStringEncoding, "x-nextstep", nullptr},
    {kJapaneseEUCStringEncoding, "euc-jp", "EUC-JP"},
    {kUTF8StringEncoding, "utf-8", "UTF-8"},
    {kISOLatin1StringEncoding, "iso-8859-1", "ISO-8859-1"},
    {kSymbolStringEncoding, "x-symbol", nullptr},
    {kShiftJISStringEncoding, "shift_jis", "Shift_JIS"},
    {kISOLatin2StringEncoding, "iso-8859-2", "ISO-8859-2"},
    {kUTF16StringEncoding, "utf-16", "UTF-16"},
    {kWindowsCP1251StringEncoding, "windows-1251", "windows-1251"},
    {kWindowsCP1252StringEncoding, "windows-1252", "windows-1252"},
    {kWindowsCP1253StringEncoding, "windows-1253", "windows-1253"},
    {kWindowsCP1254StringEncoding, "windows-1254", "windows-1254"},
    {kWindowsCP1250StringEncoding, "windows-1250", "windows-1250"},
    {kISO2022JPStringEncoding, "iso-2022-jp", "ISO-2022-JP"},
    {kMacOSRomanStringEncoding, "macintosh", "macintosh"},
    {kUTF16BigEndianStringEncoding, "utf-16be", "UTF-16BE"},
    {kUTF16LittleEndianStringEncoding, "utf-16le", "UTF-16LE"},
    {kUTF32StringEncoding, "utf-32", "UTF-32"},
    {kUTF32BigEndianStringEncoding, "utf-32be", "UTF-32BE"},
    {kUTF32LittleEndianStringEncoding, "utf-32le", "UTF-32LE"},
    {kOwnTable + 0x0203, "iso-8859-3", "ISO-8859-3"},
    {kOwnTable + 0x0204, "iso-8859-4", "ISO-8859-4"},
    {kOwnTable + 0x0205, "iso-8859-5", "ISO-8859-5"},
    {kOwnTable + 0x0206, "iso-8859-6", "ISO-8859-6"},
    {kOwnTable + 0x0207, "iso-8859-7", "ISO-8859-7"},
    {kOwnTable + 0x0208, "iso-8859-8", "ISO-8859-8"},
    {kOwnTable + 0x0209, "iso-8859-9", "ISO-8859-9"},
    {kOwnTable + 0x020A, "iso-8859-10", "ISO-8859-10"},
    {kOwnTable + 0x020B, "iso-8859-11", "ISO-8859-11"},
    {kOwnTable + 0x020D, "iso-8859-13", "ISO-8859-13"},
    {kOwnTable + 0x020E, "iso-8859-14", "ISO-8859-14"},
    {kOwnTable + 0x020F, "iso-8859-15", "ISO-8859-15"},
    {kOwnTable + 0x0505, "windows-1255", "windows-1255"},
    {kOwnTable + 0x0506, "windows-1256", "windows-1256"},
    {kOwnTable + 0x0507, "windows-1257", "windows-1257"},
    {kOwnTable + 0x0508, "windows-1258", "windows-1258"},
    {kOwnTable + 0x041D, "windows-874", "windows-874"},
    {kOwnTable + 0x0400, "ibm437", "ibm-437"},
    {kOwnTable + 0x0410, "ibm850", "ibm-850"},
    {kOwnTable + 0x0412, "ibm852", "ibm-852"},
    {kOwnTable + 0x0413, "ibm866", "ibm-866"},
    {kOwnTable + 0x0A02, "koi8-r", "KOI8-R"},
    {kOwnTable + 0x0A08, "koi8-u", "KOI8-U"},
    {kOwnTable + 0x0A03, "big5", "Big5"},
    {kOwnTable + 0x0A06, "big5-hkscs", "Big5-HKSCS"},
    // Mail labelled gb2312 routinely carries GBK characters, and GBK is a superset: decode it as GBK.
    {kOwnTable + 0x0630, "gb2312", "GBK"},
    {kOwnTable + 0x0631, "gbk", "GBK"},
    {kOwnTable + 0x0632, "gb18030", "GB18030"},
    {kOwnTable + 0x0A05, "hz-gb-2312", "HZ"},
    {kOwnTable + 0x0931, "euc-tw", "EUC-TW"},
    // EUC-KR mail is decoded with its superset, the unified Hangul code page.
    {kOwnTable + 0x0940, "euc-kr", "windows-949"},
    {kOwnTable + 0x0840, "iso-2022-kr", "ISO-2022-KR"},
    {kOwnTable + 0x0830, "iso-2022-cn", "ISO-2022-CN"},
    {kOwnTable + 0x0A0B, "tis-620", "TIS-620"},
    {kOwnTable + 0x0007, "x-mac-cyrillic", "x-mac-cyrillic"},
    {kOwnTable + 0x0006, "x-mac-greek", "x-mac-greek"},
    {kOwnTable + 0x001D, "x-mac-ce", "x-mac-centraleurroman"},
    {kOwnTable + 0x0023, "x-mac-turkish", "x-mac-turkish"},
    {kOwnTable + 0x04000100, "utf-7", "UTF-7"},
};

// Names that ICU does not resolve to the converter of our entry, or resolves differently.
const std::pair<const char*, TextEncoding> kExtraAliases[] = {
    {"ascii", kASCIIStringEncoding},
    {"us", kASCIIStringEncoding},
    {"utf8", kUTF8StringEncoding},
    {"latin1", kISOLatin1StringEncoding},
    {"x-sjis", kShiftJISStringEncoding},
    {"sjis", kShiftJISStringEncoding},
    {"windows-31j", kShiftJISStringEncoding},
    {"cp932", kShiftJISStringEncoding},
    {"ms_kanji", kShiftJISStringEncoding},
    {"x-euc-jp", kJapaneseEUCStringEncoding},
    {"cp1252", kWindowsCP1252StringEncoding},
    {"x-mac-roman", kMacOSRomanStringEncoding},
    {"macroman", kMacOSRomanStringEncoding},
    {"nextstep", kNEXTSTEPStringEncoding},
    {"symbol", kSymbolStringEncoding},
    {"x-mac-symbol", kSymbolStringEncoding},
    {"gb_2312-80", kOwnTable + 0x0630},
    {"x-gbk", kOwnTable + 0x0631},
    {"cp936", kOwnTable + 0x0631},
    {"ks_c_5601-1987", kOwnTable + 0x0940},
    {"cp949", kOwnTable + 0x0940},
    {"x-windows-949", kOwnTable + 0x0940},
    {"iso-8859-8-i", kOwnTable + 0x0208},
    {"unicode-1-1-utf-7", kOwnTable + 0x04000100},
};

const EncodingEntry* entryForEncoding(TextEncoding encoding) {
    for (const EncodingEntry& entry : kEncodings) {
        if (entry.encoding == encoding) return &entry;
    }
    return nullptr;
}

std::string lowerASCII(std::string_view text) {
    std::string out(text);
    for (char& c : out) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c ^ 0x20);
    }
    return out;
}

const char* icuCanonicalName(const char* name) {
    UErrorCode status = U_ZERO_ERROR;
    const char* canonical = ucnv_getAlias(name, 0, &status);
    return U_SUCCESS(status) ? canonical : nullptr;
}

// Name lookup tables, built once: lower-case names and aliases, and ICU canonical converter names.
struct NameTables {
    std::unordered_map<std::string, TextEncoding> byName;
    std::unordered_map<std::string, TextEncoding> byICUCanonical;
    std::vector<TextEncoding> all;

    NameTables() {
        for (const EncodingEntry& entry : kEncodings) {
            all.push_back(entry.encoding);
            byName.emplace(entry.name, entry.encoding);
            if (entry.icuName) {
                if (const char* canonical = icuCanonicalName(entry.icuName)) byICUCanonical.emplace(canonical, entry.encoding);
            }
            if (const char* canonical = icuCanonicalName(entry.name)) byICUCanonical.emplace(canonical, entry.encoding);
        }
        for (const auto& [alias, encoding] : kExtraAliases) byName.emplace(alias, encoding);
    }
};

const NameTables& nameTables() {
    static const NameTables* tables = new NameTables();
    return *tables;
}

// ICU converters are not thread-safe: each thread keeps its own, opened on first use.
struct ConverterCache {
    std::unordered_map<TextEncoding, UConverter*> converters;
    ~ConverterCache() {
        for (auto& [encoding, converter] : converters) ucnv_close(converter);
    }
    UConverter* converterFor(TextEncoding encoding) {
        auto found = converters.find(encoding);
        if (found != converters.end()) {
            ucnv_reset(found->second);
            return found->second;
        }
        const EncodingEntry* entry = entryForEncoding(encoding);
        if (!entry || !entry->icuName) return nullptr;
        UErrorCode status = U_ZERO_ERROR;
        UConverter* converter = ucnv_open(entry->icuName, &status);
        if (U_FAILURE(status) || !converter) return nullptr;
        ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
        ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
        ucnv_setFallback(converter, false);
        converters.emplace(encoding, converter);
        return converter;
    }
};

UConverter* threadConverter(TextEncoding encoding) {
    thread_local ConverterCache cache;
    return cache.converterFor(encoding);
}

std::optional<std::u16string> decodeUTF8(const uint8_t* bytes, size_t length) {
    if (length >= 3 && bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF) {
        bytes += 3;
        length -= 3;
    }
    // Never more code units than bytes: written in place, trimmed at the end.
    std::u16string out(length, u'\0');
    char16_t* written = out.data();
    size_t i = 0;
    while (i < length) {
        // ASCII runs take the fast path.
        while (i < length && bytes[i] < 0x80) *written++ = static_cast<char16_t>(bytes[i++]);
        if (i >= length) break;
        if (length - i > static_cast<size_t>(INT32_MAX)) return std::nullopt;
        int32_t index = 0;
        int32_t remaining = static_cast<int32_t>(std::min<size_t>(length - i, 4));
        UChar32 c;
        U8_NEXT(bytes + i, index, remaining, c);
        if (c < 0) return std::nullopt;
        i += static_cast<size_t>(index);
        if (c <= 0xFFFF) {
            *written++ = static_cast<char16_t>(c);
        } else {
            *written++ = U16_LEAD(c);
            *written++ = U16_TRAIL(c);
        }
    }
    out.resize(static_cast<size_t>(written - out.data()));
    return out;
}

std::optional<std::string> encodeUTF8(std::u16string_view text) {
    for (size_t i = 0; i < text.size(); ++i) {
        char16_t c = text[i];
        if (U16_IS_LEAD(c) && i + 1 < text.size() && U16_IS_TRAIL(text[i + 1])) {
            ++i;
        } else if (U16_IS_SURROGATE(c)) {
            return std::nullopt;
        }
    }
    return toUTF8(text);
}

std::optional<std::u16string> decodeTable(const char16_t* table, const uint8_t* bytes, size_t length) {
    std::u16string out(length, u'\0');
    for (size_t i = 0; i < length; ++i) {
        char16_t c = table[bytes[i]];
        if (c == 0xFFFF) return std::nullopt;
        out[i] = c;
    }
    return out;
}

std::optional<std::string> encodeTable(const char16_t* table, std::u16string_view text) {
    using Reverse = std::unordered_map<char16_t, uint8_t>;
    auto reverseOf = [](const char16_t* t) {
        Reverse byChar;
        for (int b = 0; b < 256; ++b) {
            if (t[b] != 0xFFFF) byChar.emplace(t[b], static_cast<uint8_t>(b));
        }
        return byChar;
    };
    static const Reverse nextstep = reverseOf(detail::kNEXTSTEPTable);
    static const Reverse symbol = reverseOf(detail::kSymbolTable);
    const Reverse& byChar = table == detail::kNEXTSTEPTable ? nextstep : symbol;
    std::string out;
    out.reserve(text.size());
    for (char16_t c : text) {
        auto found = byChar.find(c);
        if (found == byChar.end()) return std::nullopt;
        out.push_back(static_cast<char>(found->second));
    }
    return out;
}

std::optional<std::u16string> decodeICU(TextEncoding encoding, const uint8_t* bytes, size_t length) {
    UConverter* converter = threadConverter(encoding);
    if (!converter || length > static_cast<size_t>(INT32_MAX / 2)) return std::nullopt;
    std::u16string out;
    out.resize(length * 2 + 16);
    const char* source = reinterpret_cast<const char*>(bytes);
    const char* sourceLimit = source + length;
    UChar* target = reinterpret_cast<UChar*>(out.data());
    UChar* targetLimit = target + out.size();
    while (true) {
        UErrorCode status = U_ZERO_ERROR;
        ucnv_toUnicode(converter, &target, targetLimit, &source, sourceLimit, nullptr, true, &status);
        if (status == U_BUFFER_OVERFLOW_ERROR) {
            size_t written = static_cast<size_t>(target - reinterpret_cast<UChar*>(out.data()));
            out.resize(out.size() * 2);
            target = reinterpret_cast<UChar*>(out.data()) + written;
            targetLimit = reinterpret_cast<UChar*>(out.data()) + out.size();
            continue;
        }
        if (U_FAILURE(status)) return std::nullopt;
        break;
    }
    out.resize(static_cast<size_t>(target - reinterpret_cast<UChar*>(out.data())));
    return out;
}

std::optional<std::string> encodeICU(TextEncoding encoding, std::u16string_view text) {
    UConverter* converter = threadConverter(encoding);
    if (!converter || text.size() > static_cast<size_t>(INT32_MAX / 8)) return std::nullopt;
    std::string out;
    out.resize(text.size() * 4 + 16);
    const UChar* source = reinterpret_cast<const UChar*>(text.data());
    const UChar* sourceLimit = source + text.size();
    char* target = out.data();
    char* targetLimit = target + out.size();
    while (true) {
        UErrorCode status = U_ZERO_ERROR;
        ucnv_fromUnicode(converter, &target, targetLimit, &source, sourceLimit, nullptr, true, &status);
        if (status == U_BUFFER_OVERFLOW_ERROR) {
            size_t written = static_cast<size_t>(target - out.data());
            out.resize(out.size() * 2);
            target = out.data() + written;
            targetLimit = out.data() + out.size();
            continue;
        }
        if (U_FAILURE(status)) return std::nullopt;
        break;
    }
    out.resize(static_cast<size_t>(target - out.data()));
    return out;
}

bool allASCII(const uint8_t* bytes, size_t length) {
    size_t i = 0;
    for (; i + 8 <= length; i += 8) {
        uint64_t word;
        std::memcpy(&word, bytes + i, 8);
        if (word & 0x8080808080808080ull) return false;
    }
    for (; i < length; ++i) {
        if (bytes[i] & 0x80) return false;
    }
    return true;
}

}  // namespace

std::optional<std::u16string> charSetNameForEncoding(TextEncoding encoding) {
    const EncodingEntry* entry = entryForEncoding(encoding);
    if (!entry) return std::nullopt;
    return fromLatin1(entry->name);
}

TextEncoding encodingForCharSetName(std::u16string_view name) {
    std::u16string trimmed = fgTrim(name);
    if (trimmed.empty() || !isASCII(trimmed)) return kInvalidEncoding;
    std::string key = lowerASCII(toUTF8(trimmed));
    const NameTables& tables = nameTables();
    auto byName = tables.byName.find(key);
    if (byName != tables.byName.end()) return byName->second;
    if (const char* canonical = icuCanonicalName(key.c_str())) {
        auto byCanonical = tables.byICUCanonical.find(canonical);
        if (byCanonical != tables.byICUCanonical.end()) return byCanonical->second;
    }
    return kInvalidEncoding;
}

const std::vector<TextEncoding>& supportedEncodings() { return nameTables().all; }

std::optional<std::u16string> stringFromBytes(const uint8_t* bytes, size_t length, TextEncoding encoding) {
    switch (encoding) {
        case kASCIIStringEncoding:
            if (!allASCII(bytes, length)) return std::nullopt;
            return fromLatin1(std::string_view(reinterpret_cast<const char*>(bytes), length));
        case kISOLatin1StringEncoding:
            return fromLatin1(std::string_view(reinterpret_cast<const char*>(bytes), length));
        case kUTF8StringEncoding:
            return decodeUTF8(bytes, length);
        case kNEXTSTEPStringEncoding:
            return decodeTable(detail::kNEXTSTEPTable, bytes, length);
        case kSymbolStringEncoding:
            return decodeTable(detail::kSymbolTable, bytes, length);
        default:
            if (length == 0) return entryForEncoding(encoding) ? std::optional<std::u16string>(u"") : std::nullopt;
            return decodeICU(encoding, bytes, length);
    }
}

std::optional<std::string> bytesFromString(std::u16string_view text, TextEncoding encoding) {
    switch (encoding) {
        case kASCIIStringEncoding:
        case kISOLatin1StringEncoding: {
            char16_t limit = encoding == kASCIIStringEncoding ? 0x80 : 0x100;
            std::string out(text.size(), '\0');
            for (size_t i = 0; i < text.size(); ++i) {
                if (text[i] >= limit) return std::nullopt;
                out[i] = static_cast<char>(text[i]);
            }
            return out;
        }
        case kUTF8StringEncoding:
            return encodeUTF8(text);
        case kNEXTSTEPStringEncoding:
            return encodeTable(detail::kNEXTSTEPTable, text);
        case kSymbolStringEncoding:
            return encodeTable(detail::kSymbolTable, text);
        default:
            if (!entryForEncoding(encoding)) return std::nullopt;
            if (text.empty()) return std::string();
            return encodeICU(encoding, text);
    }
}

std::optional<Data> dataFromString(std::u16string_view text, TextEncoding encoding) {
    std::optional<std::string> bytes = bytesFromString(text, encoding);
    if (!bytes) return std::nullopt;
    return Data::adopting(std::move(*bytes));
}

bool canBeConvertedToEncoding(std::u16string_view text, TextEncoding encoding) {
    if (encoding == kASCIIStringEncoding) return isASCII(text);
    if (encoding == kISOLatin1StringEncoding) {
        return std::all_of(text.begin(), text.end(), [](char16_t c) { return c < 0x100; });
    }
    return bytesFromString(text, encoding).has_value();
}

TextEncoding smallestEncoding(std::u16string_view text) {
    if (isASCII(text)) return kASCIIStringEncoding;
    if (canBeConvertedToEncoding(text, kISOLatin1StringEncoding)) return kISOLatin1StringEncoding;
    return kUTF16StringEncoding;
}

TextEncoding fastestEncoding(std::u16string_view) { return kUTF16StringEncoding; }

namespace detail {
const char* converterName(TextEncoding encoding) {
    const EncodingEntry* entry = entryForEncoding(encoding);
    return entry ? entry->icuName : nullptr;
}
}  // namespace detail

std::optional<std::u16string> newByDecodingData(const Data& data, TextEncoding* encodingUsed) {
    return newByDecodingData(data, kNoEncoding, encodingUsed);
}

std::optional<std::u16string> newByDecodingData(const Data& data, TextEncoding preferredEncoding,
                                                TextEncoding* encodingUsed) {
    if (!isUnusableEncoding(preferredEncoding)) {
        if (std::optional<std::u16string> text = stringFromData(data, preferredEncoding)) {
            setSlot(encodingUsed, preferredEncoding);
            return text;
        }
    }
    EncodingHints hints;
    hints.declared = preferredEncoding;
    return newByDecodingData(data, hints, encodingUsed);
}

std::optional<std::u16string> newByDecodingData(const Data& data, const EncodingHints& hints,
                                                TextEncoding* encodingUsed) {
    EncodingHints withHost = hints;
    for (TextEncoding encoding : Application::shared().preferredEncodings()) withHost.host.push_back(encoding);
    EncodingDetection detection = detectEncoding(data, withHost);
    auto attempt = [&](TextEncoding encoding) -> std::optional<std::u16string> {
        std::optional<std::u16string> text = stringFromData(data, encoding);
        if (text) setSlot(encodingUsed, encoding);
        return text;
    };
    if (auto text = attempt(detection.encoding)) return text;
    // The statistics read a sample: a candidate may still fail on bytes beyond it. The next ones follow.
    for (const EncodingCandidate& candidate : detection.candidates) {
        if (candidate.encoding == detection.encoding) continue;
        if (auto text = attempt(candidate.encoding)) return text;
    }
    return attempt(kWindowsCP1252StringEncoding);
}

}  // namespace postwright
