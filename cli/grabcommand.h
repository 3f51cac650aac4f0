#pragma once

// "grab": grabs COUNT frames through the viewer's own acquisition path (standard-feature
// camera, decoupler, converter), optionally saves each as an image file, and prints
// "grabbed=N failed=N fps=F" as its last line.
// Thread: main thread; frames arrive on the camera's grab thread and are handed over through
// a locked queue.

#include "clicommand.h"

class GrabCommand : public CliCommand
{
public:
    const char* name() const override { return "grab"; }
    const char* synopsis() const override
    {
        return "grab -d DEVICE -n COUNT [--save DIR] [--format bmp|png|tiff] "
               "[--pixel-format NAME] [--set FEATURE=VALUE]... [--timeout-ms N]";
    }
    const char* summary() const override
    {
        return "grab COUNT frames, optionally saving them as numbered image files";
    }
    int run(const std::vector<std::string>& args, std::ostream& out) override;
};
