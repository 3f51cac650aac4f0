#pragma once

// The AVI writer's codec failed: the encoder refused a frame or broke down, and the video cannot
// go on. I/O failures are not fatal in this sense; they come as RuntimeException.
// Thread: value type.

#include "genapi/genicamexception.h"

namespace Tarpo {

class AviWriterFatalException : public GenICam::GenericException
{
public:
    AviWriterFatalException(const char* description, const char* sourceFileName,
                            unsigned sourceLine)
        : GenericException(description, sourceFileName, sourceLine, "AviWriterFatalException")
    {
    }
};

} // namespace Tarpo

// throw AVI_WRITER_FATAL_EXCEPTION("The codec %s failed", name);
#define AVI_WRITER_FATAL_EXCEPTION(...)                                                            \
    ::Tarpo::AviWriterFatalException(::GenICam::formatMessage(__VA_ARGS__).c_str(), __FILE__,      \
                                     __LINE__)
