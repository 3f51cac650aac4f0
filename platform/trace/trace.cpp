#include "trace/trace.h"

#include <log4cpp/Category.hh>
#include <log4cpp/PropertyConfigurator.hh>

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <vector>

namespace TarpoViewer {
namespace Trace {

namespace {
std::mutex g_configMutex; // guards log4cpp (re)configuration
}

bool initialize()
{
    static std::once_flag once;
    std::call_once(once, [] {
        const char* file = std::getenv("TARPO_LOG4CPP");
        if (file && *file) {
            std::string error;
            if (!configureFromFile(file, &error))
                std::fprintf(stderr, "tarpoViewer: trace configuration '%s' not loaded: %s\n",
                             file, error.c_str());
        }
    });
    return enabled();
}

bool configureFromFile(const std::string& propertiesFile, std::string* error)
{
    std::lock_guard<std::mutex> lock(g_configMutex);
    try {
        log4cpp::PropertyConfigurator::configure(propertiesFile);
    } catch (const std::exception& e) {
        if (error)
            *error = e.what();
        return false;
    }
    enabledFlag().store(true, std::memory_order_relaxed);
    return true;
}

void disable()
{
    enabledFlag().store(false, std::memory_order_relaxed);
}

log4cpp::Category& category(const char* name)
{
    return log4cpp::Category::getInstance(std::string("tarpoViewer.") + name);
}

void debug(const char* categoryName, const char* format, ...)
{
    if (!enabled())
        return;
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    const int length = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    std::vector<char> text(length > 0 ? static_cast<size_t>(length) + 1 : 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, args);
    va_end(args);
    category(categoryName).debug(text.data());
}

} // namespace Trace
} // namespace TarpoViewer
