#include "postwright/Base/DateEnvironment.hpp"

#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include <chrono>
#include <memory>
#include <mutex>

namespace postwright {

namespace {
struct State {
    std::mutex mutex;
    std::optional<double> now;
    std::optional<std::string> zone;
    std::optional<std::string> locale;
};

State& state() {
    static State* shared = new State();
    return *shared;
}

// The host's zone, asked once: ICU reads TZ and the system configuration.
const std::string& systemTimeZoneIdentifier() {
    static const std::string identifier = [] {
        std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::detectHostTimeZone());
        std::string id;
        if (zone) {
            icu::UnicodeString name;
            zone->getID(name);
            name.toUTF8String(id);
        }
        if (id.empty() || id == "Etc/Unknown") id = "UTC";
        return id;
    }();
    return identifier;
}
}  // namespace

double DateEnvironment::now() {
    {
        std::lock_guard lock(state().mutex);
        if (state().now) return *state().now;
    }
    auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<double>(std::chrono::duration_cast<std::chrono::microseconds>(sinceEpoch).count()) / 1000.0;
}

std::string DateEnvironment::timeZoneIdentifier() {
    {
        std::lock_guard lock(state().mutex);
        if (state().zone) return *state().zone;
    }
    return systemTimeZoneIdentifier();
}

std::string DateEnvironment::localeIdentifier() {
    std::lock_guard lock(state().mutex);
    return state().locale.value_or("en_US");
}

void DateEnvironment::setNow(std::optional<double> now) {
    std::lock_guard lock(state().mutex);
    state().now = now;
}

void DateEnvironment::setTimeZoneIdentifier(std::optional<std::string> identifier) {
    std::lock_guard lock(state().mutex);
    state().zone = std::move(identifier);
}

void DateEnvironment::setLocaleIdentifier(std::optional<std::string> identifier) {
    std::lock_guard lock(state().mutex);
    state().locale = std::move(identifier);
}

DateEnvironment::Override::Override(std::optional<double> now, std::optional<std::string> timeZoneIdentifier,
                                    std::optional<std::string> localeIdentifier) {
    std::lock_guard lock(state().mutex);
    previousNow_ = state().now;
    previousZone_ = state().zone;
    previousLocale_ = state().locale;
    if (now) state().now = now;
    if (timeZoneIdentifier) state().zone = std::move(timeZoneIdentifier);
    if (localeIdentifier) state().locale = std::move(localeIdentifier);
}

DateEnvironment::Override::~Override() {
    std::lock_guard lock(state().mutex);
    state().now = previousNow_;
    state().zone = previousZone_;
    state().locale = previousLocale_;
}

}  // namespace postwright
