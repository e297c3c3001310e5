// SPDX-License-Identifier: GPL-2.0-or-later
// The object model: reference-counted interfaces that are found by 32-bit identifiers.
#pragma once

#include <foundation/result.h>

#include <atomic>
#include <cstdint>
#include <utility>

namespace ulk {

using iid_t = std::uint32_t;

/// Every interface starts with these three operations, in this order. All three may be called from any thread.
class IObject {
public:
    static constexpr iid_t Iid = 0;

    /// Adds a reference and returns the new count.
    virtual std::uint32_t AddRef() noexcept = 0;
    /// Releases a reference and returns the new count; at zero the object destroys itself.
    virtual std::uint32_t Release() noexcept = 0;
    /// Looks an interface up. Identifier 0 and the object's own identifiers yield the object with a reference
    /// added; anything else yields eNoInterface and a null pointer.
    virtual result_t QueryInterface(iid_t iid, void** out) noexcept = 0;

protected:
    ~IObject() = default;
};

/// Where services are found. Lookups may come from any thread.
class IServiceLocator : public IObject {
public:
    static constexpr iid_t Iid = 0x3D25C2A1u;

    /// Finds a service. `reserved` is 0. On success `out` holds a reference that the caller releases.
    virtual result_t GetInterface(iid_t iid, std::uint32_t reserved, void** out) noexcept = 0;

protected:
    ~IServiceLocator() = default;
};

/// Memory of objects that are made through the framework.
class IAllocator : public IObject {
public:
    static constexpr iid_t Iid = 0x9CCA5603u;

    /// Null when memory is short.
    virtual void* Alloc(std::size_t size) noexcept = 0;
    virtual void* Realloc(void* memory, std::size_t size) noexcept = 0;
    virtual void Free(void* memory) noexcept = 0;

protected:
    ~IAllocator() = default;
};

/// Makes objects of one class. The one thing that a module's export hands out.
class IObjectFactory : public IObject {
public:
    static constexpr iid_t Iid = 0x5E11A0F3u;

    /// Makes an object and yields its interface `iid`; `locator` may be null where the class needs none.
    virtual result_t CreateInstance(IServiceLocator* locator, iid_t iid, void** out) noexcept = 0;

protected:
    ~IObjectFactory() = default;
};

/// A reference-holding pointer.
template <class T>
class Ptr {
public:
    Ptr() noexcept = default;
    Ptr(std::nullptr_t) noexcept {}
    /// Adds a reference of its own.
    explicit Ptr(T* object) noexcept : m_object(object) {
        if (m_object)
            m_object->AddRef();
    }
    Ptr(const Ptr& other) noexcept : Ptr(other.m_object) {}
    Ptr(Ptr&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    ~Ptr() { Reset(); }
    Ptr& operator=(Ptr other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }

    /// Takes over a reference that the caller already holds.
    static Ptr Adopt(T* object) noexcept {
        Ptr result;
        result.m_object = object;
        return result;
    }

    /// Releases what is held and yields the address for an out parameter.
    T** Ref() noexcept {
        Reset();
        return &m_object;
    }
    T* Get() const noexcept { return m_object; }
    T* operator->() const noexcept { return m_object; }
    T& operator*() const noexcept { return *m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }
    /// Gives the reference to the caller.
    T* Detach() noexcept { return std::exchange(m_object, nullptr); }
    void Reset() noexcept {
        if (T* object = std::exchange(m_object, nullptr))
            object->Release();
    }

private:
    T* m_object = nullptr;
};

/// The number of live objects of this module; a module may be unloaded only at zero.
class ObjectModuleAutoLockTyped {
public:
    ObjectModuleAutoLockTyped() noexcept { s_count.fetch_add(1, std::memory_order_relaxed); }
    ObjectModuleAutoLockTyped(const ObjectModuleAutoLockTyped&) noexcept : ObjectModuleAutoLockTyped() {}
    ObjectModuleAutoLockTyped& operator=(const ObjectModuleAutoLockTyped&) noexcept = default;
    ~ObjectModuleAutoLockTyped() { s_count.fetch_sub(1, std::memory_order_release); }

    static std::uint32_t LiveObjects() noexcept { return s_count.load(std::memory_order_acquire); }

private:
    static std::atomic<std::uint32_t> s_count;
};

namespace detail {

/// The count of an object whose last reference is gone. What it does while it is torn down may hold and release it in
/// pairs, as a lookup of its own does, without reaching zero a second time.
inline constexpr std::uint32_t kDestructionBias = 0x40000000u;

template <class Interface, class Self>
bool MatchInterface(Self* self, iid_t iid, void** out) noexcept {
    if (iid != Interface::Iid)
        return false;
    *out = static_cast<Interface*>(self);
    return true;
}

/// The lookup of every object of ours: 0 and the listed interfaces, nothing else.
template <class First, class... Rest, class Self>
result_t LookUp(Self* self, iid_t iid, void** out) noexcept {
    if (out == nullptr)
        return eInvalidArgument;
    *out = nullptr;
    if (iid == IObject::Iid)
        *out = static_cast<First*>(self);
    else if (!MatchInterface<First>(self, iid, out) && !(MatchInterface<Rest>(self, iid, out) || ...))
        return eNoInterface;
    static_cast<First*>(self)->AddRef();
    return sOk;
}

} // namespace detail

/// Strategy of a plain object that hands out no service.
struct NoServiceStrategy {};

/// Base of a plain object: made with `new` at a count of one, destroyed by its last Release.
template <class Strategy, class First, class... Rest>
class SimpleObjectBase : public Strategy, public First, public Rest... {
public:
    SimpleObjectBase() = default;
    SimpleObjectBase(const SimpleObjectBase&) = delete;
    SimpleObjectBase& operator=(const SimpleObjectBase&) = delete;

    std::uint32_t AddRef() noexcept override { return m_references.fetch_add(1, std::memory_order_relaxed) + 1; }
    std::uint32_t Release() noexcept override {
        const std::uint32_t left = m_references.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0) {
            m_references.store(detail::kDestructionBias, std::memory_order_relaxed);
            delete this;
        }
        return left;
    }
    result_t QueryInterface(iid_t iid, void** out) noexcept override {
        return detail::LookUp<First, Rest...>(this, iid, out);
    }

protected:
    virtual ~SimpleObjectBase() = default;

private:
    std::atomic<std::uint32_t> m_references{1};
    ObjectModuleAutoLockTyped m_moduleLock;
};

} // namespace ulk
