#include "genapi/types.h"

#include <cstring>
#include <iterator>

namespace GenApi {

namespace {

template <class E, size_t N>
gcstring toText(const char* const (&names)[N], E value, const char* undefined)
{
    const auto index = static_cast<size_t>(value);
    return index < N ? gcstring(names[index]) : gcstring(undefined);
}

template <class E, size_t N>
bool fromText(const char* const (&names)[N], const gcstring& text, E* value)
{
    for (size_t i = 0; i < N; ++i) {
        if (text == names[i]) {
            *value = static_cast<E>(i);
            return true;
        }
    }
    return false;
}

const char* const accessModeNames[] = {"NI", "NA", "WO", "RO", "RW"};
const char* const visibilityNames[] = {"Beginner", "Expert", "Guru", "Invisible"};
const char* const cachingModeNames[] = {"NoCache", "WriteThrough", "WriteAround"};
const char* const nameSpaceNames[] = {"Custom", "Standard"};
const char* const yesNoNames[] = {"No", "Yes"};
const char* const interfaceTypeNames[] = {"IValue",    "IBase",     "IInteger",     "IBoolean",
                                          "ICommand",  "IFloat",    "IString",      "IRegister",
                                          "ICategory", "IEnumeration", "IEnumEntry", "IPort"};
const char* const representationNames[] = {"Linear",     "Logarithmic", "Boolean",   "PureNumber",
                                           "HexNumber",  "IPV4Address", "MACAddress"};

} // namespace

gcstring EAccessModeClass::ToString(EAccessMode value)
{
    return toText(accessModeNames, value, "_UndefinedAccesMode");
}
bool EAccessModeClass::FromString(const gcstring& text, EAccessMode* value)
{
    return fromText(accessModeNames, text, value);
}
gcstring EVisibilityClass::ToString(EVisibility value)
{
    return toText(visibilityNames, value, "_UndefinedVisibility");
}
bool EVisibilityClass::FromString(const gcstring& text, EVisibility* value)
{
    return fromText(visibilityNames, text, value);
}
gcstring ECachingModeClass::ToString(ECachingMode value)
{
    return toText(cachingModeNames, value, "_UndefinedCachingMode");
}
bool ECachingModeClass::FromString(const gcstring& text, ECachingMode* value)
{
    return fromText(cachingModeNames, text, value);
}
gcstring ENameSpaceClass::ToString(ENameSpace value)
{
    return toText(nameSpaceNames, value, "_UndefinedNameSpace");
}
bool ENameSpaceClass::FromString(const gcstring& text, ENameSpace* value)
{
    return fromText(nameSpaceNames, text, value);
}
gcstring EYesNoClass::ToString(EYesNo value)
{
    return toText(yesNoNames, value, "_UndefinedYesNo");
}
bool EYesNoClass::FromString(const gcstring& text, EYesNo* value)
{
    return fromText(yesNoNames, text, value);
}
gcstring EInterfaceTypeClass::ToString(EInterfaceType value)
{
    return toText(interfaceTypeNames, value, "_UndefinedInterfaceType");
}
bool EInterfaceTypeClass::FromString(const gcstring& text, EInterfaceType* value)
{
    return fromText(interfaceTypeNames, text, value);
}
gcstring ERepresentationClass::ToString(ERepresentation value)
{
    return toText(representationNames, value, "_UndefinedRepresentation");
}
bool ERepresentationClass::FromString(const gcstring& text, ERepresentation* value)
{
    return fromText(representationNames, text, value);
}

EAccessMode Combine(EAccessMode first, EAccessMode second)
{
    if (first == NI || second == NI)
        return NI;
    if (first == NA || second == NA)
        return NA;
    if (first == _UndefinedAccesMode || second == _UndefinedAccesMode)
        return _UndefinedAccesMode;
    if (first == RW)
        return second;
    if (second == RW)
        return first;
    return first == second ? first : NA; // RO with WO leaves nothing
}

} // namespace GenApi
