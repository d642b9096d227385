#include "Base/detail/LegacyCharsets.hpp"

#include "postwright/Base/Text.hpp"

namespace postwright::detail {

const std::vector<LegacyCharset>& legacyCharsets() {
    static const std::vector<LegacyCharset> kCharsets = {
        {"iso-8859-1", Structure::SingleByte, Family::Western, "en de fr es it pt nl sv da nb is ca et", 0},
        {"windows-1252", Structure::SingleByte, Family::Western, "en de fr es it pt nl sv da nb is ca et", 0},
        {"iso-8859-15", Structure::SingleByte, Family::Western, "en de fr es it pt nl sv da nb is ca et", 0.2},
        {"iso-8859-2", Structure::SingleByte, Family::Central, "pl cs sk hu sl hr ro", 0},
        {"windows-1250", Structure::SingleByte, Family::Central, "pl cs sk hu sl hr ro", 0},
        {"windows-1251", Structure::SingleByte, Family::Cyrillic, "ru uk bg sr be", 0},
        {"koi8-r", Structure::SingleByte, Family::Cyrillic, "ru bg", 0.1},
        {"koi8-u", Structure::SingleByte, Family::Cyrillic, "uk ru be", 0.3},
        {"iso-8859-5", Structure::SingleByte, Family::Cyrillic, "ru uk bg sr", 0.5},
        {"ibm866", Structure::SingleByte, Family::Cyrillic, "ru", 3},
        {"iso-8859-7", Structure::SingleByte, Family::Greek, "el", 0},
        {"windows-1253", Structure::SingleByte, Family::Greek, "el", 0},
        {"iso-8859-9", Structure::SingleByte, Family::Turkish, "tr", 0},
        {"windows-1254", Structure::SingleByte, Family::Turkish, "tr", 0},
        {"windows-1255", Structure::SingleByte, Family::Hebrew, "he", 1},
        {"iso-8859-8", Structure::SingleByte, Family::Hebrew, "he", 1.3},
        {"windows-1256", Structure::SingleByte, Family::Arabic, "ar", 1},
        {"iso-8859-6", Structure::SingleByte, Family::Arabic, "ar", 1.3},
        {"iso-8859-13", Structure::SingleByte, Family::Baltic, "lt lv et", 0},
        {"windows-1257", Structure::SingleByte, Family::Baltic, "lt lv et", 0},
        {"shift_jis", Structure::ShiftJIS, Family::Japanese, "ja", 0},
        {"euc-jp", Structure::EUCJP, Family::Japanese, "ja", 0},
        {"gbk", Structure::GBK, Family::SimplifiedChinese, "zh-Hans", 0},
        {"gb18030", Structure::GB18030, Family::SimplifiedChinese, "zh-Hans", 0.5},
        {"big5", Structure::Big5, Family::TraditionalChinese, "zh-Hant", 0},
        {"euc-kr", Structure::EUCKR, Family::Korean, "ko", 0},
    };
    return kCharsets;
}

Family familyOfOtherCharset(TextEncoding encoding) {
    static const std::pair<const char*, Family> kOthers[] = {
        {"iso-2022-jp", Family::Japanese},     {"gb2312", Family::SimplifiedChinese},
        {"hz-gb-2312", Family::SimplifiedChinese}, {"iso-2022-cn", Family::SimplifiedChinese},
        {"big5-hkscs", Family::TraditionalChinese}, {"euc-tw", Family::TraditionalChinese},
        {"iso-2022-kr", Family::Korean},       {"x-mac-cyrillic", Family::Cyrillic},
        {"iso-8859-4", Family::Baltic},        {"x-mac-greek", Family::Greek},
        {"x-mac-ce", Family::Central},         {"x-mac-turkish", Family::Turkish},
        {"macintosh", Family::Western},        {"ibm850", Family::Western},
        {"ibm852", Family::Central},           {"iso-8859-3", Family::Turkish},
    };
    for (const auto& [name, family] : kOthers) {
        if (encodingForCharSetName(fromLatin1(name)) == encoding) return family;
    }
    return Family::None;
}

}  // namespace postwright::detail
