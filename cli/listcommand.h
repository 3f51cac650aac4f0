#pragma once

// "tarpo-cli list": one line per camera of every transport layer: device class, full name,
// friendly name and serial number, tab-separated.
// Thread: main thread only.

#include "clicommand.h"

#include "tarpo/deviceinfo.h"

class ListCommand : public CliCommand
{
public:
    const char* name() const override { return "list"; }
    const char* synopsis() const override { return "list"; }
    const char* summary() const override
    {
        return "Lists the cameras of every transport layer: class, full name, friendly name, "
               "serial number.";
    }
    int run(const std::vector<std::string>& args, std::ostream& out) override;

    // The line `list` writes for one camera (without the line end).
    static std::string line(const Tarpo::CDeviceInfo& info);
};
