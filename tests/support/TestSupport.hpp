// Helpers shared by the test programs: fake host services and corpus access.
#pragma once

#include <filesystem>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "postwright/Base/Data.hpp"
#include "postwright/Base/Host.hpp"
#include "postwright/Base/Text.hpp"

namespace postwright::test {

// A logger that keeps every line; install it with ScopedRecordingLogger.
class RecordingLogger : public Logger {
public:
    void logForCategory(std::string_view category, std::u16string_view message) override {
        std::lock_guard lock(mutex_);
        lines_.emplace_back(std::string(category), toUTF8(message));
    }
    std::vector<std::pair<std::string, std::string>> lines() const {
        std::lock_guard lock(mutex_);
        return lines_;
    }
    std::vector<std::string> messages() const {
        std::vector<std::string> out;
        for (const auto& line : lines()) out.push_back(line.second);
        return out;
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::pair<std::string, std::string>> lines_;
};

// Installs a RecordingLogger for the lifetime of the object, then restores the default logger.
class ScopedRecordingLogger {
public:
    ScopedRecordingLogger() : logger_(std::make_shared<RecordingLogger>()) {
        Application::shared().setLogger(logger_);
    }
    ~ScopedRecordingLogger() { Application::shared().setLogger(nullptr); }
    RecordingLogger& operator*() const { return *logger_; }
    RecordingLogger* operator->() const { return logger_.get(); }

private:
    std::shared_ptr<RecordingLogger> logger_;
};

inline Data bytes(std::string_view text) { return Data::withString(text); }

// Every regular file under the corpus folder (messages/ and mbox/), sorted by path.
std::vector<std::filesystem::path> corpusFiles(const std::string& subfolder = "messages");
std::filesystem::path corpusDirectory();

struct CorpusMessage {
    std::string name;
    Data bytes;
};
// Every message of the corpus: the message files, then each message of the mbox files.
std::vector<CorpusMessage> corpusMessages();

}  // namespace postwright::test
