#include "listcommand.h"

#include "tarpo/tlfactory.h"

#include <ostream>

std::string ListCommand::line(const Tarpo::CDeviceInfo& info)
{
    return info.GetDeviceClass() + "\t" + info.GetFullName() + "\t" + info.GetFriendlyName() +
           "\t" + info.GetSerialNumber();
}

int ListCommand::run(const std::vector<std::string>& args, std::ostream& out)
{
    parseOptions(args, false);
    Tarpo::DeviceInfoList_t all;
    Tarpo::CTlFactory::GetInstance().EnumerateDevices(all);
    for (const Tarpo::CDeviceInfo& info : all)
        out << line(info) << '\n';
    return 0;
}
