#pragma once

// The GenICam exception family thrown by the platform layer, with description, source file and
// line. Thread: value types.

#include "genapi/gcstring.h"

#include <exception>

namespace GenICam {

// Base of every exception the node maps, ports and camera layer throw.
class GenericException : public std::exception
{
public:
    GenericException(const char* description, const char* sourceFileName, unsigned sourceLine,
                     const char* exceptionType = "GenericException");
    const char* GetDescription() const noexcept { return m_description.c_str(); }
    const char* GetSourceFileName() const noexcept { return m_sourceFileName.c_str(); }
    unsigned GetSourceLine() const noexcept { return m_sourceLine; }
    const char* GetExceptionType() const noexcept { return m_exceptionType.c_str(); }
    // "<description> : <type> thrown (file '<file>', line <line>)"
    const char* what() const noexcept override { return m_what.c_str(); }

private:
    gcstring m_description;
    gcstring m_sourceFileName;
    unsigned m_sourceLine;
    gcstring m_exceptionType;
    gcstring m_what;
};

#define TARPO_DECLARE_GENICAM_EXCEPTION(Name)                                                      \
    class Name : public GenericException                                                           \
    {                                                                                              \
    public:                                                                                        \
        Name(const char* description, const char* sourceFileName, unsigned sourceLine)             \
            : GenericException(description, sourceFileName, sourceLine, #Name)                    \
        {                                                                                          \
        }                                                                                          \
    };

// A bad argument value (unknown name, unknown entry, bad format).
TARPO_DECLARE_GENICAM_EXCEPTION(InvalidArgumentException)
// A value outside the range a node allows (minimum, maximum, increment, length).
TARPO_DECLARE_GENICAM_EXCEPTION(OutOfRangeException)
// A node or entry that is missing from the description.
TARPO_DECLARE_GENICAM_EXCEPTION(PropertyException)
// A failure at run time: a port or device error, a file that cannot be read.
TARPO_DECLARE_GENICAM_EXCEPTION(RuntimeException)
// An operation that is wrong in this state (a programming or usage error).
TARPO_DECLARE_GENICAM_EXCEPTION(LogicalErrorException)
// An access the node refuses: not writable, not readable, not available, locked.
TARPO_DECLARE_GENICAM_EXCEPTION(AccessException)
// An operation that took longer than it may.
TARPO_DECLARE_GENICAM_EXCEPTION(TimeoutException)
// The user ended an operation.
TARPO_DECLARE_GENICAM_EXCEPTION(AbortException)
// A dynamic cast between node interfaces that does not hold.
TARPO_DECLARE_GENICAM_EXCEPTION(DynamicCastException)

#undef TARPO_DECLARE_GENICAM_EXCEPTION

// Builds an exception of type E from a printf format: `throw RUNTIME_EXCEPTION("x %d", 1);`
template <class E>
class ExceptionReporter
{
public:
    ExceptionReporter(const char* sourceFileName, unsigned sourceLine)
        : m_sourceFileName(sourceFileName), m_sourceLine(sourceLine)
    {
    }
    E Report(const char* format, ...) const __attribute__((format(printf, 2, 3)));
    E Report(const gcstring& text) const { return E(text.c_str(), m_sourceFileName, m_sourceLine); }

private:
    const char* m_sourceFileName;
    unsigned m_sourceLine;
};

// printf into a gcstring.
gcstring formatMessage(const char* format, ...) __attribute__((format(printf, 1, 2)));

} // namespace GenICam

#define GENERIC_EXCEPTION                                                                          \
    ::GenICam::ExceptionReporter<::GenICam::GenericException>(__FILE__, __LINE__).Report
#define INVALID_ARGUMENT_EXCEPTION                                                                 \
    ::GenICam::ExceptionReporter<::GenICam::InvalidArgumentException>(__FILE__, __LINE__).Report
#define OUT_OF_RANGE_EXCEPTION                                                                     \
    ::GenICam::ExceptionReporter<::GenICam::OutOfRangeException>(__FILE__, __LINE__).Report
#define PROPERTY_EXCEPTION                                                                         \
    ::GenICam::ExceptionReporter<::GenICam::PropertyException>(__FILE__, __LINE__).Report
#define RUNTIME_EXCEPTION                                                                          \
    ::GenICam::ExceptionReporter<::GenICam::RuntimeException>(__FILE__, __LINE__).Report
#define LOGICAL_ERROR_EXCEPTION                                                                    \
    ::GenICam::ExceptionReporter<::GenICam::LogicalErrorException>(__FILE__, __LINE__).Report
#define ACCESS_EXCEPTION                                                                           \
    ::GenICam::ExceptionReporter<::GenICam::AccessException>(__FILE__, __LINE__).Report
#define TIMEOUT_EXCEPTION                                                                          \
    ::GenICam::ExceptionReporter<::GenICam::TimeoutException>(__FILE__, __LINE__).Report
#define DYNAMICCAST_EXCEPTION                                                                      \
    ::GenICam::ExceptionReporter<::GenICam::DynamicCastException>(__FILE__, __LINE__).Report
