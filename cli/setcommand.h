#pragma once

// "tarpo-cli set -d DEVICE FEATURE=VALUE...": writes the features in order, each from its text
// form (enumeration entries by name), and prints FEATURE=value as read back.
// Thread: main thread only.

#include "clicommand.h"

class SetCommand : public CliCommand
{
public:
    const char* name() const override { return "set"; }
    const char* synopsis() const override
    {
        return "set -d DEVICE [-m device|tl|stream] FEATURE=VALUE...";
    }
    const char* summary() const override
    {
        return "Sets features in the order given and prints the values they took.";
    }
    int run(const std::vector<std::string>& args, std::ostream& out) override;
};
