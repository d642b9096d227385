#include "Mime/detail/ExportQueue.hpp"

#include <pthread.h>

#include <condition_variable>
#include <deque>
#include <future>
#include <mutex>
#include <thread>

namespace postwright::detail {

namespace {
class SerialQueue {
public:
    explicit SerialQueue(const char* label) : label_(label) {}

    void runAndWait(const std::function<void()>& task) {
        std::packaged_task<void()> job(task);
        std::future<void> done = job.get_future();
        {
            std::lock_guard lock(mutex_);
            if (!started_) {
                // The thread lives as long as the process; between tasks it only waits.
                std::thread([this] { work(); }).detach();
                started_ = true;
            }
            tasks_.push_back(std::move(job));
        }
        wake_.notify_one();
        done.get();
    }

private:
    void work() {
        // Thread names are limited to 15 characters; the label's tail names it.
        std::string name(label_);
        pthread_setname_np(pthread_self(), name.substr(name.size() > 15 ? name.size() - 15 : 0).c_str());
        while (true) {
            std::packaged_task<void()> job;
            {
                std::unique_lock lock(mutex_);
                wake_.wait(lock, [this] { return !tasks_.empty(); });
                job = std::move(tasks_.front());
                tasks_.pop_front();
            }
            job();
        }
    }

    const char* label_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<std::packaged_task<void()>> tasks_;
    bool started_ = false;
};
}  // namespace

void runOnExportQueue(const std::function<void()>& task) {
    static SerialQueue* queue = new SerialQueue("com.fennelgate.exportMime");
    queue->runAndWait(task);
}

}  // namespace postwright::detail
