#pragma once

// "tarpo-cli add-ip ADDRESS": reaches the GigE camera at ADDRESS by unicast (for a camera that
// broadcast discovery does not find) and prints its line as `list` does.
// Thread: main thread only.

#include "clicommand.h"

class AddIpCommand : public CliCommand
{
public:
    const char* name() const override { return "add-ip"; }
    const char* synopsis() const override { return "add-ip ADDRESS"; }
    const char* summary() const override
    {
        return "Announces the GigE camera at an IPv4 address by unicast and lists it.";
    }
    int run(const std::vector<std::string>& args, std::ostream& out) override;
};
