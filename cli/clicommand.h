#pragma once

// One subcommand of tarpo-cli ("list", "get", ...): its name, its help text, and run(), which
// writes its results to `out` and returns the exit status. Failures are thrown: a UsageError
// for a command line that does not fit, GenICam and standard exceptions for everything else;
// CliApplication turns them into the one-line message and the exit status.
// Thread: main thread only.

#include <iosfwd>
#include <string>
#include <vector>

class CliCommand
{
public:
    virtual ~CliCommand() = default;
    virtual const char* name() const = 0;
    // "get -d DEVICE [-m MAP] FEATURE..."
    virtual const char* synopsis() const = 0;
    virtual const char* summary() const = 0;
    virtual int run(const std::vector<std::string>& args, std::ostream& out) = 0;

protected:
    // Splits off "-d DEVICE" / "--device DEVICE" and "-m MAP" / "--map MAP"; the remaining
    // arguments stay in order. Unknown options are usage errors.
    struct Options
    {
        std::string device;
        std::string map = "device";
        std::vector<std::string> operands;
    };
    Options parseOptions(const std::vector<std::string>& args, bool takesDevice) const;
};
