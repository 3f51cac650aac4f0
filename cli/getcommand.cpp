#include "getcommand.h"

#include "devicesession.h"
#include "featuretext.h"
#include "usageerror.h"

#include "genapi/pointer.h"

#include <ostream>

using namespace GenApi;

int GetCommand::run(const std::vector<std::string>& args, std::ostream& out)
{
    const Options options = parseOptions(args, true);
    if (options.operands.empty())
        throw UsageError("get: name at least one feature");
    DeviceSession session(options.device);
    INodeMap* map = session.nodeMap(options.map);
    for (const std::string& name : options.operands) {
        CValuePtr value(map->GetNode(name));
        if (!value)
            throw RUNTIME_EXCEPTION("Feature '%s' not found on camera '%s'", name.c_str(),
                                    session.displayName().c_str());
        if (!IsReadable(value))
            throw ACCESS_EXCEPTION("Feature '%s' is not readable (access mode %s)", name.c_str(),
                                   FeatureText::access(value->GetNode()).c_str());
        out << name << '=' << value->ToString() << '\n';
    }
    return 0;
}
