#pragma once

// The encoder of a media writer failed and the recording cannot go on.
// Thread: value type.

#include "genapi/genicamexception.h"

class FatalMediaWriterException : public GenICam::GenericException
{
public:
    FatalMediaWriterException(const char* description, const char* sourceFileName,
                              unsigned sourceLine)
        : GenericException(description, sourceFileName, sourceLine, "FatalMediaWriterException")
    {
    }
};
