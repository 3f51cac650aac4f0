#include "clicommand.h"

#include "usageerror.h"

CliCommand::Options CliCommand::parseOptions(const std::vector<std::string>& args,
                                             bool takesDevice) const
{
    Options options;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        const bool deviceOption = arg == "-d" || arg == "--device";
        const bool mapOption = arg == "-m" || arg == "--map";
        if ((deviceOption && takesDevice) || (mapOption && takesDevice)) {
            if (i + 1 >= args.size())
                throw UsageError(arg + " needs a value");
            (deviceOption ? options.device : options.map) = args[++i];
        } else if (arg.size() > 1 && arg[0] == '-') {
            throw UsageError(std::string(name()) + ": unknown option " + arg);
        } else {
            options.operands.push_back(arg);
        }
    }
    if (takesDevice && options.device.empty())
        throw UsageError(std::string(name()) + ": which camera? Name it with -d DEVICE");
    if (options.map != "device" && options.map != "tl" && options.map != "stream")
        throw UsageError("-m takes device, tl or stream, not " + options.map);
    return options;
}
