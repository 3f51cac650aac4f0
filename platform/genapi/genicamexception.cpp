#include "genapi/genicamexception.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <vector>

namespace GenICam {

namespace {

gcstring vformat(const char* format, va_list args)
{
    va_list copy;
    va_copy(copy, args);
    const int length = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    if (length <= 0)
        return gcstring();
    std::vector<char> text(static_cast<size_t>(length) + 1);
    std::vsnprintf(text.data(), text.size(), format, args);
    return gcstring(text.data(), static_cast<size_t>(length));
}

const char* baseName(const char* path)
{
    const char* slash = path ? std::strrchr(path, '/') : nullptr;
    return slash ? slash + 1 : (path ? path : "");
}

} // namespace

GenericException::GenericException(const char* description, const char* sourceFileName,
                                   unsigned sourceLine, const char* exceptionType)
    : m_description(description), m_sourceFileName(baseName(sourceFileName)),
      m_sourceLine(sourceLine), m_exceptionType(exceptionType)
{
    m_what = formatMessage("%s : %s thrown (file '%s', line %u)", m_description.c_str(),
                           m_exceptionType.c_str(), m_sourceFileName.c_str(), m_sourceLine);
}

gcstring formatMessage(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    gcstring text = vformat(format, args);
    va_end(args);
    return text;
}

template <class E>
E ExceptionReporter<E>::Report(const char* format, ...) const
{
    va_list args;
    va_start(args, format);
    const gcstring text = vformat(format, args);
    va_end(args);
    return E(text.c_str(), m_sourceFileName, m_sourceLine);
}

template class ExceptionReporter<GenericException>;
template class ExceptionReporter<InvalidArgumentException>;
template class ExceptionReporter<OutOfRangeException>;
template class ExceptionReporter<PropertyException>;
template class ExceptionReporter<RuntimeException>;
template class ExceptionReporter<LogicalErrorException>;
template class ExceptionReporter<AccessException>;
template class ExceptionReporter<TimeoutException>;
template class ExceptionReporter<AbortException>;
template class ExceptionReporter<DynamicCastException>;

} // namespace GenICam
