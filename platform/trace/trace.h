#pragma once

// Developer traces into log4cpp categories "tarpoViewer.<Class>" at debug level.
// They are off unless the environment variable TARPO_LOG4CPP names a log4cpp properties file;
// while off, a trace costs one relaxed atomic load and nothing else.
// Thread-safe: every function may be called from any thread.

#include <atomic>
#include <cstdarg>
#include <string>

namespace log4cpp {
class Category;
}

namespace TarpoViewer {
namespace Trace {

// True once initialize() has configured log4cpp from TARPO_LOG4CPP.
inline std::atomic<bool>& enabledFlag()
{
    static std::atomic<bool> flag{false};
    return flag;
}
inline bool enabled() { return enabledFlag().load(std::memory_order_relaxed); }

// Reads TARPO_LOG4CPP once; safe to call repeatedly. Returns whether tracing is now on.
bool initialize();

// Turns tracing on or off programmatically (tests use a properties file written at run time).
bool configureFromFile(const std::string& propertiesFile, std::string* error = nullptr);
void disable();

// The category "tarpoViewer.<name>" ("Recording" gives "tarpoViewer.Recording").
log4cpp::Category& category(const char* name);

void debug(const char* categoryName, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

// Logs "<method>: entering..." on construction and "<method>: leaving..." on destruction.
class Scope
{
public:
    Scope(const char* categoryName, const char* method)
        : m_category(enabled() ? categoryName : nullptr), m_method(method)
    {
        if (m_category)
            debug(m_category, "%s: entering...", m_method);
    }
    ~Scope()
    {
        if (m_category)
            debug(m_category, "%s: leaving...", m_method);
    }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

private:
    const char* m_category;
    const char* m_method;
};

} // namespace Trace
} // namespace TarpoViewer

#define TARPO_TRACE_CONCAT2(a, b) a##b
#define TARPO_TRACE_CONCAT(a, b) TARPO_TRACE_CONCAT2(a, b)

// TARPO_TRACE_SCOPE("Camera", "Camera::startGrab") traces entering and leaving of the enclosing scope.
#define TARPO_TRACE_SCOPE(categoryName, method)                                                    \
    ::TarpoViewer::Trace::Scope TARPO_TRACE_CONCAT(tarpoTraceScope_, __LINE__)(categoryName, method)

// TARPO_TRACE("Camera", "format %d", value): one debug line; the arguments are not evaluated when off.
#define TARPO_TRACE(categoryName, ...)                                                             \
    do {                                                                                           \
        if (::TarpoViewer::Trace::enabled())                                                       \
            ::TarpoViewer::Trace::debug(categoryName, __VA_ARGS__);                                \
    } while (0)
