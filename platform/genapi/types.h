#pragma once

// GenApi's enumerations and their text forms. Thread: pure functions.

#include "genapi/gcstring.h"

#include <cstdint>
#include <list>
#include <vector>

namespace GenApi {

using GenICam::gcstring;
using GenICam::gcstring_vector;

enum EAccessMode
{
    NI, // not implemented
    NA, // not available
    WO, // write only
    RO, // read only
    RW, // read and write
    _UndefinedAccesMode,
    _CycleDetectAccesMode
};

enum EVisibility
{
    Beginner = 0,
    Expert = 1,
    Guru = 2,
    Invisible = 3,
    _UndefinedVisibility = 99
};

enum ECachingMode
{
    NoCache,
    WriteThrough,
    WriteAround,
    _UndefinedCachingMode
};

enum ENameSpace
{
    Custom,
    Standard,
    _UndefinedNameSpace
};

enum EYesNo
{
    No = 0,
    Yes = 1,
    _UndefinedYesNo = 2
};

enum EInterfaceType
{
    intfIValue,
    intfIBase,
    intfIInteger,
    intfIBoolean,
    intfICommand,
    intfIFloat,
    intfIString,
    intfIRegister,
    intfICategory,
    intfIEnumeration,
    intfIEnumEntry,
    intfIPort
};

enum ERepresentation
{
    Linear,
    Logarithmic,
    Boolean,
    PureNumber,
    HexNumber,
    IPV4Address,
    MACAddress,
    _UndefinedRepresentation
};

enum EDisplayNotation
{
    fnAutomatic,
    fnFixed,
    fnScientific,
    _UndefinedEDisplayNotation
};

enum EIncMode
{
    noIncrement,
    fixedIncrement,
    listIncrement
};

// When a node callback runs: while the node map's lock is still held, or after it was released.
enum ECallbackType
{
    cbPostInsideLock = 1,
    cbPostOutsideLock = 2
};

// Text forms as GenICam writes them ("RW", "Beginner", "IInteger", ...). FromString returns false
// for an unknown text and leaves the value untouched.
struct EAccessModeClass
{
    static gcstring ToString(EAccessMode value);
    static bool FromString(const gcstring& text, EAccessMode* value);
};
struct EVisibilityClass
{
    static gcstring ToString(EVisibility value);
    static bool FromString(const gcstring& text, EVisibility* value);
};
struct ECachingModeClass
{
    static gcstring ToString(ECachingMode value);
    static bool FromString(const gcstring& text, ECachingMode* value);
};
struct ENameSpaceClass
{
    static gcstring ToString(ENameSpace value);
    static bool FromString(const gcstring& text, ENameSpace* value);
};
struct EYesNoClass
{
    static gcstring ToString(EYesNo value);
    static bool FromString(const gcstring& text, EYesNo* value);
};
struct EInterfaceTypeClass
{
    static gcstring ToString(EInterfaceType value);
    static bool FromString(const gcstring& text, EInterfaceType* value);
};
struct ERepresentationClass
{
    static gcstring ToString(ERepresentation value);
    static bool FromString(const gcstring& text, ERepresentation* value);
};

// Access-mode tests as GenApi offers them.
inline bool IsReadable(EAccessMode mode) { return mode == RO || mode == RW; }
inline bool IsWritable(EAccessMode mode) { return mode == WO || mode == RW; }
inline bool IsImplemented(EAccessMode mode) { return mode != NI && mode != _UndefinedAccesMode; }
inline bool IsAvailable(EAccessMode mode) { return mode != NI && mode != NA && mode != _UndefinedAccesMode; }

// The combined mode of two access limits (the stricter of both).
EAccessMode Combine(EAccessMode first, EAccessMode second);

// True when a node of visibility `node` is shown at user visibility `user`.
inline bool IsVisible(EVisibility node, EVisibility user) { return node <= user; }

class INode;
class IValue;
using NodeList_t = std::vector<INode*>;
using FeatureList_t = std::vector<IValue*>;
using StringList_t = gcstring_vector;
using int64_autovector_t = std::vector<int64_t>;
using double_autovector_t = std::vector<double>;

// User data a node map's owner attaches to a node.
using UserData_t = intptr_t;
constexpr UserData_t NoUserData = INTPTR_MIN;

} // namespace GenApi
