// The serial queue that writes attachment files: one worker thread per process, started on first use and
// never stopped, running tasks in the order they were queued. Callers wait for their own task.
#pragma once

#include <functional>

namespace postwright::detail {

// Runs the task on the queue labelled "com.fennelgate.exportMime" and returns when it has finished.
void runOnExportQueue(const std::function<void()>& task);

}  // namespace postwright::detail
