#include "tarpo/threadpriority.h"

#include "trace/trace.h"

#include <arv.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sched.h>
#include <string>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Tarpo {

namespace {

const char* const traceCategory = "ThreadPriority";

// The nice level of the fallback: clearly above normal work, below what audio servers take.
constexpr int fallbackNiceLevel = -10;

} // namespace

ThreadHandle GetCurrentThreadHandle()
{
    return pthread_self();
}

void GetRTThreadPriorityCapabilities(int32_t& prioMin, int32_t& prioMax)
{
    prioMin = sched_get_priority_min(SCHED_RR);
    prioMax = sched_get_priority_max(SCHED_RR);
}

bool SetRTThreadPriority(ThreadHandle thread, int32_t priority)
{
    int32_t prioMin = 0;
    int32_t prioMax = 0;
    GetRTThreadPriorityCapabilities(prioMin, prioMax);
    priority = std::clamp(priority, prioMin, prioMax);

    if (!pthread_equal(thread, pthread_self())) {
        // Another thread: only the scheduler call works on a pthread handle; nice levels need
        // the kernel thread id, which only the thread itself knows.
        sched_param param{};
        param.sched_priority = priority;
        const int error = pthread_setschedparam(thread, SCHED_RR, &param);
        if (error != 0)
            TARPO_TRACE(traceCategory, "SCHED_RR %d refused: %s", priority, strerror(error));
        return error == 0;
    }

    // arv_make_thread_realtime reports success even for some refusals, so check the outcome.
    arv_make_thread_realtime(priority);
    if (GetRTThreadPriority(thread) == priority)
        return true;

    const auto tid = static_cast<id_t>(syscall(SYS_gettid));
    if (setpriority(PRIO_PROCESS, tid, fallbackNiceLevel) == 0) {
        TARPO_TRACE(traceCategory, "real-time refused, running at nice %d", fallbackNiceLevel);
        return true;
    }
    TARPO_TRACE(traceCategory, "no raised priority for this thread: %s", strerror(errno));
    return false;
}

int32_t GetRTThreadPriority(ThreadHandle thread)
{
    int policy = SCHED_OTHER;
    sched_param param{};
    if (pthread_equal(thread, pthread_self())) {
        // Ask the kernel: Aravis changes the scheduler behind glibc's cached thread attributes.
        policy = sched_getscheduler(0);
        if (policy < 0 || sched_getparam(0, &param) != 0)
            return 0;
    } else if (pthread_getschedparam(thread, &policy, &param) != 0) {
        return 0;
    }
    policy &= ~SCHED_RESET_ON_FORK;
    return (policy == SCHED_RR || policy == SCHED_FIFO) ? param.sched_priority : 0;
}

void SetCurrentThreadName(const char* name)
{
    const std::string shortName = std::string(name).substr(0, 15);
    pthread_setname_np(pthread_self(), shortName.c_str());
}

} // namespace Tarpo
