#pragma once

// Smart pointers to node interfaces, as GenApi has them: assigning a node of another kind gives a
// null pointer (test with IsValid() or in a condition); using a null pointer throws an
// AccessException. They do not own the node: the node map does.
// Thread: value types; the node they point to is thread-safe.

#include "genapi/interfaces.h"

namespace GenApi {

template <class T, class B = IBase>
class CPointer
{
public:
    CPointer() = default;
    CPointer(B* base) : m_ptr(dynamic_cast<T*>(base)) {}
    CPointer(T* ptr) : m_ptr(ptr) {}
    template <class U, class V>
    CPointer(const CPointer<U, V>& other) : m_ptr(dynamic_cast<T*>(other.get()))
    {
    }

    CPointer& operator=(B* base)
    {
        m_ptr = dynamic_cast<T*>(base);
        return *this;
    }

    bool IsValid() const { return m_ptr != nullptr; }
    explicit operator bool() const { return m_ptr != nullptr; }
    T* get() const { return m_ptr; }
    operator T*() const { return m_ptr; }
    T* operator->() const
    {
        if (!m_ptr)
            throw ACCESS_EXCEPTION("Feature not present (reference not valid)");
        return m_ptr;
    }
    T& operator*() const { return *operator->(); }
    void Release() { m_ptr = nullptr; }

private:
    T* m_ptr = nullptr;
};

template <class T, class B, class U, class V>
bool operator==(const CPointer<T, B>& a, const CPointer<U, V>& b)
{
    return dynamic_cast<const IBase*>(a.get()) == dynamic_cast<const IBase*>(b.get());
}

using CBasePtr = CPointer<IBase>;
using CNodePtr = CPointer<INode>;
using CValuePtr = CPointer<IValue>;
using CIntegerPtr = CPointer<IInteger>;
using CFloatPtr = CPointer<IFloat>;
using CBooleanPtr = CPointer<IBoolean>;
using CCommandPtr = CPointer<ICommand>;
using CStringPtr = CPointer<IString>;
using CRegisterPtr = CPointer<IRegister>;
using CCategoryPtr = CPointer<ICategory>;
using CEnumerationPtr = CPointer<IEnumeration>;
using CEnumEntryPtr = CPointer<IEnumEntry>;
using CPortPtr = CPointer<IPort>;
using CUserDataPtr = CPointer<IUserData, INode>;

// Access tests on a node; a null node is neither readable nor writable.
inline bool IsReadable(const IBase* node) { return node && IsReadable(node->GetAccessMode()); }
inline bool IsWritable(const IBase* node) { return node && IsWritable(node->GetAccessMode()); }
inline bool IsAvailable(const IBase* node) { return node && IsAvailable(node->GetAccessMode()); }
inline bool IsImplemented(const IBase* node)
{
    return node && IsImplemented(node->GetAccessMode());
}
template <class T, class B>
bool IsReadable(const CPointer<T, B>& p)
{
    return IsReadable(dynamic_cast<const IBase*>(p.get()));
}
template <class T, class B>
bool IsWritable(const CPointer<T, B>& p)
{
    return IsWritable(dynamic_cast<const IBase*>(p.get()));
}
template <class T, class B>
bool IsAvailable(const CPointer<T, B>& p)
{
    return IsAvailable(dynamic_cast<const IBase*>(p.get()));
}
template <class T, class B>
bool IsImplemented(const CPointer<T, B>& p)
{
    return IsImplemented(dynamic_cast<const IBase*>(p.get()));
}

} // namespace GenApi
