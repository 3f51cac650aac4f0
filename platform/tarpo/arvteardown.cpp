#include "tarpo/arvteardown.h"

#include "tarpo/threadpriority.h"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace Tarpo {

namespace {

// Teardowns still under way. Leaked on purpose: a worker may still run while static objects are
// destroyed at exit.
struct Pending
{
    std::mutex mutex; // guards count
    std::condition_variable changed;
    int count = 0;
};

Pending& pending()
{
    static Pending* instance = new Pending;
    return *instance;
}

struct Job
{
    std::mutex mutex; // guards done
    std::condition_variable finished;
    bool done = false;
};

} // namespace

bool CArvTeardown::run(std::function<void()> work, int waitMs)
{
    auto job = std::make_shared<Job>();
    {
        std::lock_guard<std::mutex> lock(pending().mutex);
        ++pending().count;
    }
    std::thread([job, work = std::move(work)]() mutable {
        SetCurrentThreadName("ArvTeardown");
        work();
        work = nullptr; // drops what the work captured, on this thread
        {
            std::lock_guard<std::mutex> lock(job->mutex);
            job->done = true;
        }
        job->finished.notify_all();
        {
            std::lock_guard<std::mutex> lock(pending().mutex);
            --pending().count;
        }
        pending().changed.notify_all();
    }).detach();

    std::unique_lock<std::mutex> lock(job->mutex);
    return job->finished.wait_for(lock, std::chrono::milliseconds(waitMs),
                                  [&job] { return job->done; });
}

bool CArvTeardown::drain(int waitMs)
{
    std::unique_lock<std::mutex> lock(pending().mutex);
    return pending().changed.wait_for(lock, std::chrono::milliseconds(waitMs),
                                      [] { return pending().count == 0; });
}

} // namespace Tarpo
