#include "featuretext.h"

#include "genapi/pointer.h"

using namespace GenApi;

std::string FeatureText::kind(INode* node)
{
    const std::string name = EInterfaceTypeClass::ToString(node->GetPrincipalInterfaceType());
    // "IInteger" -> "Integer"
    return name.size() > 1 && name[0] == 'I' ? name.substr(1) : name;
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
