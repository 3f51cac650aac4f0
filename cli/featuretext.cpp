#include "featuretext.h"

#include "genapi/pointer.h"

using namespace GenApi;

std::string FeatureText::kind(INode* node)
{
    std::string name = EInterfaceTypeClass::ToString(node->GetPrincipalInterfaceType());
    // "IInteger" -> "Integer"
    if (name.size() > 1 && name.compare(0, 1, "I") == 0)
        name.erase(0, 1);
    return name;
}

std::string FeatureText::access(INode* node)
{
    return EAccessModeClass::ToString(node->GetAccessMode());
}

std::string FeatureText::value(INode* node)
{
    if (CCommandPtr(node) || CCategoryPtr(node))
        return std::string();
    CValuePtr value(node);
    try {
        if (value && IsReadable(value))
            return value->ToString();
    } catch (const GenICam::GenericException&) {
        // A feature may fail to read (a camera error); the listing goes on.
    }
    return "(not readable)";
}
