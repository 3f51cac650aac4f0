#pragma once

// The AVI file of a recording has reached its size limit; the frame that crossed it is in the
// file.
// Thread: value type.

#include "genapi/genicamexception.h"

class MediaFileLimitReachedException : public GenICam::GenericException
{
public:
    MediaFileLimitReachedException(const char* description, const char* sourceFileName,
                                   unsigned sourceLine)
        : GenericException(description, sourceFileName, sourceLine,
                           "MediaFileLimitReachedException")
    {
    }
};
