#include "setcommand.h"

#include "devicesession.h"
#include "usageerror.h"

#include "genapi/pointer.h"

#include <ostream>
#include <utility>

using namespace GenApi;

int SetCommand::run(const std::vector<std::string>& args, std::ostream& out)
{
    const Options options = parseOptions(args, true);
    if (options.operands.empty())
        throw UsageError("set: give at least one FEATURE=VALUE");
    // Check every assignment's form before the camera is touched.
    std::vector<std::pair<std::string, std::string>> assignments;
    for (const std::string& operand : options.operands) {
        const size_t equals = operand.find('=');
        if (equals == 0 || equals == std::string::npos)
            throw UsageError("set: '" + operand + "' is not FEATURE=VALUE");
        assignments.emplace_back(operand.substr(0, equals), operand.substr(equals + 1));
    }

    DeviceSession session(options.device);
    INodeMap* map = session.nodeMap(options.map);
    for (const auto& assignment : assignments) {
        const std::string& name = assignment.first;
        CValuePtr value(map->GetNode(name));
        if (!value || CCategoryPtr(value))
            throw RUNTIME_EXCEPTION("Feature '%s' not found on camera '%s'", name.c_str(),
                                    session.displayName().c_str());
        value->FromString(assignment.second);
        if (IsReadable(value))
            out << name << '=' << value->ToString() << '\n';
    }
    return 0;
}
