#pragma once

// The one owner of GLib object references (Aravis devices, streams, buffers, GenICam documents):
// holds one reference and drops it on destruction. Every other place borrows raw pointers.
// Thread: like a std::unique_ptr; the objects themselves are reference counted atomically.

#include <glib-object.h>

#include <utility>

template <class T>
class GObjectPtr
{
public:
    GObjectPtr() = default;
    // Takes over a reference the caller owns (a "transfer full" result).
    explicit GObjectPtr(T* object) : m_object(object) {}
    ~GObjectPtr() { reset(); }
    GObjectPtr(const GObjectPtr& other) : m_object(other.m_object)
    {
        if (m_object)
            g_object_ref(m_object);
    }
    GObjectPtr& operator=(const GObjectPtr& other)
    {
        GObjectPtr copy(other);
        std::swap(m_object, copy.m_object);
        return *this;
    }
    GObjectPtr(GObjectPtr&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    GObjectPtr& operator=(GObjectPtr&& other) noexcept
    {
        if (this != &other) {
            reset();
            m_object = std::exchange(other.m_object, nullptr);
        }
        return *this;
    }

    // Adds a reference to a borrowed object ("transfer none").
    static GObjectPtr ref(T* object)
    {
        if (object)
            g_object_ref(object);
        return GObjectPtr(object);
    }

    void reset(T* object = nullptr)
    {
        T* old = std::exchange(m_object, object);
        if (old)
            g_object_unref(old);
    }
    // Gives up ownership without dropping the reference.
    T* release() { return std::exchange(m_object, nullptr); }
    T* get() const { return m_object; }
    explicit operator bool() const { return m_object != nullptr; }

private:
    T* m_object = nullptr;
};
