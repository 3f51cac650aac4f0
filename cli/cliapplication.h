#pragma once

// tarpo-cli's dispatcher: picks the subcommand, prints help and version, and turns what a
// command throws into a one-line message on stderr and the exit status (0 success, 1 failure,
// 2 usage error).
// Thread: main thread only.

#include "clicommand.h"

#include <memory>
#include <vector>

class CliApplication
{
public:
    CliApplication();
    // `args` without the program name.
    int run(const std::vector<std::string>& args);

private:
    void printHelp(std::ostream& out) const;
    CliCommand* command(const std::string& name) const;

    std::vector<std::unique_ptr<CliCommand>> m_commands;
};
