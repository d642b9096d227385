// postwright index PATH...: one JSON line per message of mailboxes, folders and message files, read by a
// pool of worker threads and written in input order.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <deque>
#include <filesystem>
#include <mutex>
#include <thread>

#include "Commands.hpp"
#include "MessageJson.hpp"
#include "postwright/Message/FGMessageAbstract.hpp"
#include "postwright/Message/PWMBoxMessageContents.hpp"
#include "postwright/Mime/PWMimeAttachment.hpp"

namespace postwright::tool {

std::string indexHelp() {
    return "Usage: postwright index PATH... [--jobs N] [--output FILE] [--verbose]\n"
           "\n"
           "Reads every message of the given paths and writes one JSON line per message, in the order\n"
           "of the input: mbox files message by message, directories recursively (files in name\n"
           "order), other files as one message each (eml or emlx). Each line holds:\n"
           "  source, position     the file, and the byte offset of the message's \"From \" line in an\n"
           "                       mbox file (0 for a message file)\n"
           "  contentIdentifier, subject, from, sender, recipients, ccRecipients, bccRecipients,\n"
           "  dateSent, dateReceived, headerIDDigest, inReplyToDigests, references, messageSize\n"
           "                       the message's summary, as `postwright inspect --json` shows it under\n"
           "                       \"abstract\"\n"
           "  attachments          the attachments' file names\n"
           "  encryptionFlags      2 for PGP encryption, 16384 (0x4000) for a signature, or-ed\n"
           "\n"
           "Options:\n"
           "  --jobs N       worker threads (default: the number of cores)\n"
           "  --output FILE  write the lines to FILE instead of standard output\n"
           "\n"
           "  --verbose      also show the library's notes on what it read (unknown MIME types,\n"
           "                 undecodable words), which are kept quiet otherwise\n"
           "\n"
           "Files are memory-mapped and messages are read as views of them, so memory stays small\n"
           "however large a mailbox is. While it runs, a progress line is shown when standard error is\n"
           "a terminal; at the end a summary follows there: messages, bytes, seconds, MB/s, and how\n"
           "many messages were malformed (no header fields, a header block that does not read, or a\n"
           "multipart body that does not split). Files that cannot be read, empty files, mbox files\n"
           "without messages and binary files are reported on standard error and skipped. The exit\n"
           "status is 1 only when no message at all could be read.\n"
           "\n"
           "Examples:\n"
           "  postwright index ~/Mail/inbox.mbox --output inbox.jsonl\n"
           "  postwright index examples --jobs 2\n";
}

namespace {

// One message to summarise: a view of a mapped file.
struct IndexJob {
    std::shared_ptr<const std::string> source;
    size_t position = 0;
    Data fromLine;  // the envelope line of an mbox message, empty for a message file
    Data data;      // the message (mbox) or the whole file (message file)
};

struct IndexResult {
    std::string line;   // the JSON line, empty when the file is not mail
    std::string error;  // why the file was skipped
    bool malformed = false;
};

bool isAttachmentName(const PWMimePartRef& part, OptString* name) {
    if (auto attachment = std::dynamic_pointer_cast<PWMimeAttachment>(part)) *name = attachment->attachmentFilename();
    if (!*name) *name = part->filename();
    return name->has_value();
}

// Mail is text: a NUL byte, or many other control bytes, early in a file means it is something else.
bool looksBinary(const Data& file) {
    size_t sample = std::min<size_t>(file.length(), 8192), control = 0;
    for (size_t i = 0; i < sample; ++i) {
        uint8_t byte = file[i];
        if (byte == 0) return true;
        if (byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r' && byte != '\f' && byte != 0x1B) ++control;
    }
    return control * 10 > sample;
}

IndexResult summarise(const IndexJob& job) {
    IndexResult result;
    PWMessageContentsRef contents;
    if (job.fromLine.empty()) {
        contents = PWMessageContents::messageContentsWithFileData(job.data, *job.source);
    } else {
        contents = PWMBoxMessageContents::newWithMessageData(job.data, job.fromLine);
    }
    ErrorRef headerError;
    PWMessageHeadersRef headers = contents ? contents->headersWithError(&headerError) : nullptr;
    bool noFields = !headers || headers->headerEntryDictionary().allEntries().empty();
    if (noFields && job.fromLine.empty() && looksBinary(job.data)) {
        result.error = *job.source + ": not a mail message (binary data), skipped";
        return result;
    }
    // A message without header fields is still indexed: its text is its body.
    if (noFields) result.malformed = true;
    if (headerError) result.malformed = true;

    std::shared_ptr<FGMessageAbstract> abstract = FGMessageAbstract::newWithMessageContents(contents);
    Json summary = jsonAbstract(*abstract);
    Json line = Json::object();
    line["source"] = *job.source;
    line["position"] = job.position;
    for (const char* key :
         {"contentIdentifier", "subject", "from", "sender", "recipients", "ccRecipients", "bccRecipients", "dateSent",
          "dateReceived", "headerIDDigest", "inReplyToDigests", "references", "messageSize"}) {
        line[key] = std::move(summary[key]);
    }
    Json attachments = Json::array();
    if (contents) {
        for (const PWMimePartRef& part : contents->mimeAttachments()) {
            OptString name;
            attachments.push_back(isAttachmentName(part, &name) ? jsonText(name) : Json(nullptr));
        }
        if (!contents->isWellFormed()) result.malformed = true;
    }
    line["attachments"] = std::move(attachments);
    line["encryptionFlags"] = contents ? contents->encryptionFlags() : 0;
    result.line = dumpJSON(line, -1);
    result.line.push_back('\n');
    return result;
}

// Hands jobs to the workers and their results to the writer in the order the jobs were given, holding at
// most `window` jobs between the two so that memory stays bounded.
class OrderedPipeline {
public:
    OrderedPipeline(size_t window) : slots_(window) {}

    // Blocks while the window is full.
    void push(IndexJob job) {
        std::unique_lock lock(mutex_);
        spaceFree_.wait(lock, [&] { return given_ - written_ < slots_.size(); });
        Slot& slot = slots_[given_ % slots_.size()];
        slot = Slot{std::move(job), {}, false};
        pending_.push_back(given_++);
        jobReady_.notify_one();
    }
    void finish() {
        std::lock_guard lock(mutex_);
        finished_ = true;
        jobReady_.notify_all();
        resultReady_.notify_all();
    }
    // For workers: the next job and its number; false when every job has been taken and none will follow.
    bool take(IndexJob* job, size_t* number) {
        std::unique_lock lock(mutex_);
        jobReady_.wait(lock, [&] { return !pending_.empty() || finished_; });
        if (pending_.empty()) return false;
        *number = pending_.front();
        pending_.pop_front();
        *job = slots_[*number % slots_.size()].job;
        return true;
    }
    void complete(size_t number, IndexResult result) {
        std::lock_guard lock(mutex_);
        Slot& slot = slots_[number % slots_.size()];
        slot.result = std::move(result);
        slot.done = true;
        slot.job = IndexJob();
        if (number == written_) resultReady_.notify_one();
    }
    // For the writer: the next result in order; false when all are written. `waitFor` bounds the wait so
    // the writer can refresh its progress line.
    bool next(IndexResult* result, std::chrono::milliseconds waitFor, bool* timedOut) {
        std::unique_lock lock(mutex_);
        *timedOut = false;
        auto ready = [&] { return written_ < given_ && slots_[written_ % slots_.size()].done; };
        if (!resultReady_.wait_for(lock, waitFor, [&] { return ready() || (finished_ && written_ == given_); })) {
            *timedOut = true;
            return true;
        }
        if (!ready()) return false;
        Slot& slot = slots_[written_ % slots_.size()];
        *result = std::move(slot.result);
        slot.done = false;
        ++written_;
        spaceFree_.notify_one();
        return true;
    }

private:
    struct Slot {
        IndexJob job;
        IndexResult result;
        bool done = false;
    };
    std::mutex mutex_;
    std::condition_variable spaceFree_, jobReady_, resultReady_;
    std::vector<Slot> slots_;
    std::deque<size_t> pending_;
    size_t given_ = 0, written_ = 0;
    bool finished_ = false;
};

// The regular files under a path, in name order; a file path is itself.
std::vector<std::string> filesOfPath(const std::string& path, std::vector<std::string>* errors) {
    namespace fs = std::filesystem;
    std::error_code code;
    if (!fs::is_directory(path, code)) return {path};
    std::vector<std::string> files;
    fs::recursive_directory_iterator walk(path, fs::directory_options::skip_permission_denied, code);
    for (fs::recursive_directory_iterator end; !code && walk != end; walk.increment(code)) {
        if (walk->is_regular_file(code)) {
            files.push_back(walk->path().string());
        } else if (walk->is_symlink(code) && !fs::exists(walk->path(), code)) {
            errors->push_back(walk->path().string() + ": cannot read (a link to nothing)");
            code.clear();
        }
    }
    if (code) errors->push_back(path + ": " + code.message() + "; the files found so far are indexed");
    std::sort(files.begin(), files.end());
    return files;
}

// Standard error while index runs: per-file messages, and the progress line when it is a terminal (each
// message first clears the progress line, which the next refresh redraws).
class Reporter {
public:
    explicit Reporter(bool showProgress) : showProgress_(showProgress) {}

    void fileMessage(const std::string& message, bool skipped) {
        std::lock_guard lock(mutex_);
        std::fprintf(stderr, "%spostwright index: %s\n", clearLine(), message.c_str());
        if (skipped) ++skipped_;
    }
    void progress(size_t messages) {
        if (!showProgress_) return;
        std::lock_guard lock(mutex_);
        std::fprintf(stderr, "%s%zu messages indexed...", clearLine(), messages);
        std::fflush(stderr);
    }
    const char* clearLine() const { return showProgress_ ? "\r\x1b[K" : ""; }
    size_t skipped() {
        std::lock_guard lock(mutex_);
        return skipped_;
    }

private:
    std::mutex mutex_;
    bool showProgress_;
    size_t skipped_ = 0;
};

bool looksLikeMboxName(const std::string& path) {
    std::string name = std::filesystem::path(path).filename().string();
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
    return name.find(".mbox") != std::string::npos || name.ends_with(".mbx") || name == "mbox";
}

// Gives the pipeline every message of every file; reports files that give none.
// Returns the bytes of the files read.
size_t produceJobs(const std::vector<std::string>& paths, OrderedPipeline& pipeline, Reporter& reporter) {
    auto report = [&](const std::string& message) { reporter.fileMessage(message, true); };
    size_t bytes = 0;
    for (const std::string& path : paths) {
        std::vector<std::string> errors;
        std::vector<std::string> files = filesOfPath(path, &errors);
        for (const std::string& error : errors) report(error);
        for (const std::string& file : files) {
            ErrorRef error;
            std::optional<Data> data = Data::mapFile(file, &error);
            if (!data) {
                bool posix = error && error->domain == kPOSIXErrorDomain;
                report(file + ": cannot read (" +
                       (posix ? std::strerror(static_cast<int>(error->code)) : "unknown error") + ")");
                continue;
            }
            if (data->empty()) {
                report(file + ": empty file, skipped");
                continue;
            }
            bytes += data->length();
            auto source = std::make_shared<const std::string>(file);
            if (!data->hasPrefix("From ")) {
                if (looksLikeMboxName(file)) {
                    reporter.fileMessage(file + ": no \"From \" line at its start, so it is read as one message",
                                         false);
                }
                pipeline.push(IndexJob{source, 0, Data(), *data});
                continue;
            }
            MboxReader reader(*data);
            size_t found = 0;
            while (std::optional<MboxReader::Message> message = reader.next()) {
                pipeline.push(IndexJob{source, message->position, message->fromLine, message->data});
                ++found;
            }
            if (found == 0) report(file + ": an mbox file without any message, skipped");
        }
    }
    pipeline.finish();
    return bytes;
}

std::string megabytes(size_t bytes) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f MB", static_cast<double>(bytes) / 1e6);
    return text;
}

}  // namespace

int runIndex(const std::vector<std::string>& argumentList) {
    Arguments arguments(argumentList, {"jobs", "output"}, {"verbose"});
    if (!arguments.ok()) return usageError("index", arguments.error());
    std::optional<unsigned long long> jobs = arguments.number("jobs");
    if (!arguments.ok()) return usageError("index", arguments.error());
    if (arguments.positionals().empty()) return usageError("index", "expects at least one PATH");
    unsigned workers = static_cast<unsigned>(jobs.value_or(std::max(1u, std::thread::hardware_concurrency())));
    if (workers == 0 || workers > 256) return usageError("index", "--jobs takes 1 to 256 threads");

    if (!arguments.flag("verbose")) quietLibraryLog();

    FILE* output = stdout;
    if (std::optional<std::string> path = arguments.value("output")) {
        output = std::fopen(path->c_str(), "wb");
        if (!output) return inputError("cannot write " + *path + ": " + std::strerror(errno));
    }
    static char buffer[1 << 20];
    std::setvbuf(output, buffer, _IOFBF, sizeof buffer);

    auto start = std::chrono::steady_clock::now();
    OrderedPipeline pipeline(workers * 256);
    Reporter reporter(isatty(STDERR_FILENO));
    std::vector<std::thread> pool;
    for (unsigned i = 0; i < workers; ++i) {
        pool.emplace_back([&] {
            IndexJob job;
            size_t number;
            while (pipeline.take(&job, &number)) pipeline.complete(number, summarise(job));
        });
    }
    size_t bytes = 0;
    std::thread producer([&] { bytes = produceJobs(arguments.positionals(), pipeline, reporter); });

    size_t messages = 0, malformed = 0;
    auto lastProgress = start;
    IndexResult result;
    bool timedOut = false;
    while (pipeline.next(&result, std::chrono::milliseconds(200), &timedOut)) {
        if (!timedOut) {
            if (!result.error.empty()) {
                reporter.fileMessage(result.error, true);
            } else {
                std::fwrite(result.line.data(), 1, result.line.size(), output);
                ++messages;
                malformed += result.malformed ? 1 : 0;
            }
        }
        auto now = std::chrono::steady_clock::now();
        if (now - lastProgress > std::chrono::milliseconds(250)) {
            lastProgress = now;
            reporter.progress(messages);
        }
    }
    producer.join();
    for (std::thread& worker : pool) worker.join();
    bool writeFailed = std::fflush(output) != 0 || std::ferror(output);
    if (output != stdout) writeFailed = std::fclose(output) != 0 || writeFailed;

    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::fprintf(stderr, "%s%zu messages, %s in %.2f s (%.1f MB/s, %u %s); %zu malformed", reporter.clearLine(),
                 messages, megabytes(bytes).c_str(), seconds,
                 static_cast<double>(bytes) / 1e6 / std::max(seconds, 1e-9), workers,
                 workers == 1 ? "thread" : "threads", malformed);
    if (size_t skipped = reporter.skipped()) std::fprintf(stderr, "; %zu skipped", skipped);
    std::fprintf(stderr, "\n");
    if (writeFailed) return inputError("the output could not be written completely");
    return messages == 0 ? 1 : 0;
}

}  // namespace postwright::tool
