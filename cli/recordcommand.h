#pragma once

// "record": records a camera's stream through the viewer's own recording path (standard-feature
// camera, recording controller, buffered sink, media writer) into an AVI video or numbered
// BMP/TIFF files, sampled by frame count or by time, and prints "recorded=N dropped=N
// state=Stopped" as its last line. Without a limit it records until interrupted (SIGINT or
// SIGTERM; a second one discards the frames still queued) or until the camera goes away.
// Thread: main thread; frames arrive on the camera's grab thread, the recording's state and
// failures on its writer and timer threads, handed over through a locked record.

#include "clicommand.h"

class RecordCommand : public CliCommand
{
public:
    const char* name() const override { return "record"; }
    const char* synopsis() const override
    {
        return "record -d DEVICE [--output-type video|images] [--image-format bmp|tiff] "
               "[--folder DIR] [--frame-rate-sample N] [--frame-limit N] [--time-sample MS] "
               "[--time-limit MS] [--queue N] [--codec FOURCC] [--set FEATURE=VALUE]...";
    }
    const char* summary() const override
    {
        return "records the camera's stream to an AVI video or numbered BMP/TIFF files";
    }
    int run(const std::vector<std::string>& args, std::ostream& out) override;
};
