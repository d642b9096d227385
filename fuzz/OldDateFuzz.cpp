// The format-list date reader over arbitrary text; every date it reads can be written in the three forms.
#include <cstdint>

#include "FuzzSupport.hpp"
#include "postwright/Base/DateEnvironment.hpp"
#include "postwright/Base/Host.hpp"
#include "postwright/Lexical/DateFormat.hpp"

using namespace postwright;

namespace {
class SilentLogger : public Logger {
public:
    void logForCategory(std::string_view, std::u16string_view) override {}
};
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    static const bool silenced = [] {
        Application::shared().setLogger(std::make_shared<SilentLogger>());
        return true;
    }();
    (void)silenced;
    DateEnvironment::Override pinned(1709629440000.0, "UTC", "en_US");
    std::u16string text = fuzz::textFromFuzzBytes(bytes, size);
    if (std::optional<double> date = olddateFromRFC822String(text)) {
        (void)rfc2822Date(*date);
        (void)mboxDateString(*date);
        (void)rfc3501AppendDateTime(*date);
    }
    return 0;
}
