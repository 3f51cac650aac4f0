#pragma once

// Qt's event queue hands a posted event from the posting thread to the receiver's thread under
// a lock inside QtCore. Qt is not built with ThreadSanitizer, so that hand-over is invisible to
// it, and a receiver reading an event that another thread allocated looks like a data race.
// The posting thread calls handOverEvent(receiver) after creating the event and before posting
// it; the receiver calls takeOverEvent(receiver) before it reads the event. Outside
// ThreadSanitizer builds both are empty.

#if defined(__SANITIZE_THREAD__)
#define TARPO_EVENT_HANDOVER_ANNOTATED 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define TARPO_EVENT_HANDOVER_ANNOTATED 1
#endif
#endif

#ifdef TARPO_EVENT_HANDOVER_ANNOTATED
#include <sanitizer/tsan_interface.h>
#endif

namespace TarpoQtBase {

inline void handOverEvent(const void* receiver)
{
#ifdef TARPO_EVENT_HANDOVER_ANNOTATED
    __tsan_release(const_cast<void*>(receiver));
#else
    (void)receiver;
#endif
}

inline void takeOverEvent(const void* receiver)
{
#ifdef TARPO_EVENT_HANDOVER_ANNOTATED
    __tsan_acquire(const_cast<void*>(receiver));
#else
    (void)receiver;
#endif
}

} // namespace TarpoQtBase
