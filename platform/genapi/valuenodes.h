#pragma once

// The node kinds: each adds its GenApi interface to Node and enforces that interface's write
// rules (minimum, maximum, increment, available entries, string length, register length).
// Thread-safe: every operation takes the node map's lock.

#include "genapi/node.h"

namespace GenApi {

class IntegerNode : public Node, public virtual IInteger
{
public:
    using Node::Node;
    void SetValue(int64_t value, bool verify = true) override;
    int64_t GetValue(bool verify = false, bool ignoreCache = false) override;
    int64_t GetMin() override;
    int64_t GetMax() override;
    EIncMode GetIncMode() override { return fixedIncrement; }
    int64_t GetInc() override;
    ERepresentation GetRepresentation() override;
    gcstring GetUnit() override;
    gcstring ToString(bool verify = false, bool ignoreCache = false) override;
    void FromString(const gcstring& valueString, bool verify = true) override;
};

class FloatNode : public Node, public virtual IFloat
{
public:
    using Node::Node;
    void SetValue(double value, bool verify = true) override;
    double GetValue(bool verify = false, bool ignoreCache = false) override;
    double GetMin() override;
    double GetMax() override;
    bool HasInc() override;
    EIncMode GetIncMode() override { return HasInc() ? fixedIncrement : noIncrement; }
    double GetInc() override;
    ERepresentation GetRepresentation() override;
    gcstring GetUnit() const override;
    EDisplayNotation GetDisplayNotation() const override;
    int64_t GetDisplayPrecision() const override;
    gcstring ToString(bool verify = false, bool ignoreCache = false) override;
    void FromString(const gcstring& valueString, bool verify = true) override;
};

class BooleanNode : public Node, public virtual IBoolean
{
public:
    using Node::Node;
    void SetValue(bool value, bool verify = true) override;
    bool GetValue(bool verify = false, bool ignoreCache = false) const override;
    gcstring ToString(bool verify = false, bool ignoreCache = false) override;
    void FromString(const gcstring& valueString, bool verify = true) override;
};

class CommandNode : public Node, public virtual ICommand
{
public:
    using Node::Node;
    void Execute(bool verify = true) override;
    bool IsDone(bool verify = true) override;
    gcstring ToString(bool verify = false, bool ignoreCache = false) override;
    void FromString(const gcstring& valueString, bool verify = true) override;
};

class StringNode : public Node, public virtual IString
{
public:
    using Node::Node;
    void SetValue(const gcstring& value, bool verify = true) override;
    gcstring GetValue(bool verify = false, bool ignoreCache = false) override;
    int64_t GetMaxLength() override;
    gcstring ToString(bool verify = false, bool ignoreCache = false) override;
    void FromString(const gcstring& valueString, bool verify = true) override;
};

// Adds raw register access to a node kind (IntReg, FloatReg, StringReg, Register).
template <class Base>
class WithRegister : public Base, public virtual IRegister
{
public:
    using Base::Base;
    void Set(const uint8_t* buffer, int64_t length, bool verify = true) override;
    void Get(uint8_t* buffer, int64_t length, bool verify = false,
             bool ignoreCache = false) override;
    int64_t GetLength() override;
    int64_t GetAddress() override;
};

class RegisterNode : public WithRegister<Node>
{
public:
    using WithRegister<Node>::WithRegister;
    // Hexadecimal bytes, lowest address first ("0x0102...").
    gcstring ToString(bool verify = false, bool ignoreCache = false) override;
    void FromString(const gcstring& valueString, bool verify = true) override;
};

using IntRegNode = WithRegister<IntegerNode>;
using FloatRegNode = WithRegister<FloatNode>;
using StringRegNode = WithRegister<StringNode>;

class EnumEntryNode : public Node, public virtual IEnumEntry
{
public:
    EnumEntryNode(NodeMap* map, ArvGcFeatureNode* arvNode, std::string name,
                  std::string symbolic);
    int64_t GetValue() override;
    gcstring GetSymbolic() const override { return m_symbolic; }
    double GetNumericValue() override;
    bool IsSelfClearing() override;
    gcstring ToString(bool verify = false, bool ignoreCache = false) override;
    void FromString(const gcstring& valueString, bool verify = true) override;

private:
    std::string m_symbolic;
};

class EnumerationNode : public Node, public virtual IEnumeration
{
public:
    using Node::Node;
    void GetSymbolics(StringList_t& symbolics) override;
    void GetEntries(NodeList_t& entries) override;
    void SetIntValue(int64_t value, bool verify = true) override;
    int64_t GetIntValue(bool verify = false, bool ignoreCache = false) override;
    IEnumEntry* GetEntryByName(const gcstring& symbolic) override;
    IEnumEntry* GetEntry(int64_t intValue) override;
    IEnumEntry* GetCurrentEntry(bool verify = false, bool ignoreCache = false) override;
    gcstring ToString(bool verify = false, bool ignoreCache = false) override;
    void FromString(const gcstring& valueString, bool verify = true) override;

private:
    std::vector<EnumEntryNode*> entries() const;
    void setEntry(EnumEntryNode* entry);
};

class CategoryNode : public Node, public virtual ICategory
{
public:
    using Node::Node;
    void GetFeatures(FeatureList_t& features) const override;
    gcstring ToString(bool verify = false, bool ignoreCache = false) override;
    void FromString(const gcstring& valueString, bool verify = true) override;
};

class PortNode : public Node, public virtual IPort
{
public:
    using Node::Node;
    EAccessMode GetAccessMode() const override { return Node::GetAccessMode(); }
    void Read(void* buffer, int64_t address, int64_t length) override;
    void Write(const void* buffer, int64_t address, int64_t length) override;
    gcstring ToString(bool verify = false, bool ignoreCache = false) override;
    void FromString(const gcstring& valueString, bool verify = true) override;
};

} // namespace GenApi
