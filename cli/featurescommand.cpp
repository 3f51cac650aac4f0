#include "featurescommand.h"

#include "devicesession.h"
#include "featuretext.h"
#include "usageerror.h"

#include "genapi/pointer.h"

#include <ostream>

using namespace GenApi;

namespace {

// Categories nest a few levels deep; a description that loops is cut off here.
constexpr int maxDepth = 16;

} // namespace

int FeaturesCommand::run(const std::vector<std::string>& args, std::ostream& out)
{
    const Options options = parseOptions(args, true);
    if (!options.operands.empty())
        throw UsageError("features takes no operands");
    DeviceSession session(options.device);
    INodeMap* map = session.nodeMap(options.map);
    INode* root = map ? map->GetNode("Root") : nullptr;
    if (!root)
        throw RUNTIME_EXCEPTION("The %s node map of camera '%s' has no Root category",
                                options.map.c_str(), session.displayName().c_str());
    print(root, -1, out);
    return 0;
}

void FeaturesCommand::print(INode* node, int depth, std::ostream& out) const
{
    if (depth >= maxDepth || node->GetVisibility() == Invisible)
        return;
    const std::string indent(static_cast<size_t>(depth > 0 ? 2 * depth : 0), ' ');
    CCategoryPtr category(node);
    if (!category) {
        out << indent << node->GetName() << '\t' << FeatureText::kind(node) << '\t'
            << FeatureText::access(node) << '\t' << FeatureText::value(node) << '\n';
        return;
    }
    if (depth >= 0) // the Root category itself is not shown
        out << indent << node->GetName() << '\n';
    FeatureList_t features;
    category->GetFeatures(features);
    for (IValue* feature : features)
        print(feature->GetNode(), depth + 1, out);
}
