#pragma once

// "tarpo-cli get -d DEVICE FEATURE...": prints FEATURE=value for each feature, in order.
// Thread: main thread only.

#include "clicommand.h"

class GetCommand : public CliCommand
{
public:
    const char* name() const override { return "get"; }
    const char* synopsis() const override
    {
        return "get -d DEVICE [-m device|tl|stream] FEATURE...";
    }
    const char* summary() const override { return "Prints FEATURE=value lines."; }
    int run(const std::vector<std::string>& args, std::ostream& out) override;
};
