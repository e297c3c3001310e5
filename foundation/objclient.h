// SPDX-License-Identifier: GPL-2.0-or-later
// What a client of the object model uses: typed lookups, objects made through the framework.
#pragma once

#include <foundation/exceptions.h>
#include <foundation/object.h>
#include <foundation/result.h>
#include <foundation/trace.h>

#include <new>
#include <utility>

namespace ulk {

/// Looks up the interface that `out` asks for. Returns the locator's code; a null locator is eNotInitialized.
template <class Interface>
result_t GetInterface(IServiceLocator* locator, Interface** out) noexcept {
    void* found = nullptr;
    *out = nullptr;
    if (locator == nullptr)
        return eNotInitialized;
    const result_t result = locator->GetInterface(Interface::Iid, 0, &found);
    if (ULK_SUCCEEDED(result))
        *out = static_cast<Interface*>(found);
    return result;
}

/// Selects the form of a lookup that throws GetInterfaceException; for constructors.
struct ThrowOnFailure {};
inline constexpr ThrowOnFailure throwOnFailure{};

namespace detail {
[[noreturn]] void ThrowGetInterface(result_t result, iid_t iid);

/// Where an object made through the framework lives: in memory of the locator's allocator, or of malloc where the
/// locator is null or has none.
class ObjectMemory {
public:
    /// Null when memory is short.
    void* Allocate(IServiceLocator* locator, std::size_t size) noexcept;
    void Free(void* memory) noexcept;

private:
    Ptr<IAllocator> m_allocator;
};

} // namespace detail

template <class Interface>
void GetInterface(IServiceLocator* locator, Interface** out, ThrowOnFailure) {
    if (const result_t result = GetInterface(locator, out); !ULK_SUCCEEDED(result))
        detail::ThrowGetInterface(result, Interface::Iid);
}

/// How an object made through the framework comes into being: in the memory of the locator's allocator, handed the
/// locator in its constructor, then FinalConstruct; FinalRelease comes first when it goes.
struct LocatorObjectFactory {};

/// Base of a class that is made through the framework: holds the locator and what is read from it.
class LocatorObject {
public:
    /// Throws GetInterfaceException where allocator or tracer is missing.
    explicit LocatorObject(IServiceLocator* locator);
    LocatorObject(const LocatorObject&) = delete;
    LocatorObject& operator=(const LocatorObject&) = delete;

    result_t FinalConstruct() { return sOk; }
    void FinalRelease() noexcept {}

protected:
    ~LocatorObject() = default;
    IServiceLocator* GetServiceLocator() const noexcept { return m_locator.Get(); }
    ITracer* GetTracer() const noexcept { return m_tracer.Get(); }
    IAllocator* GetAllocator() const noexcept { return m_allocator.Get(); }

private:
    Ptr<IServiceLocator> m_locator;
    Ptr<IAllocator> m_allocator;
    Ptr<ITracer> m_tracer;
};

/// Lists the interfaces of a class: `using Interfaces = ulk::InterfaceList<IA, IB>;`
template <class... Interfaces>
struct InterfaceList {};

namespace detail {
template <class First, class... Rest>
constexpr iid_t FirstIid(InterfaceList<First, Rest...>) noexcept {
    return First::Iid;
}
} // namespace detail

/// Base of a class that is made through the framework and has several interfaces: counting and lookup are reached
/// through the class itself, so that a handle may hold it.
template <class... Implemented>
class LocatorObjectOf : public LocatorObject, public Implemented... {
public:
    using Interfaces = InterfaceList<Implemented...>;
    using LocatorObject::LocatorObject;

    std::uint32_t AddRef() noexcept override = 0;
    std::uint32_t Release() noexcept override = 0;
    result_t QueryInterface(iid_t iid, void** out) noexcept override = 0;

protected:
    ~LocatorObjectOf() = default;
};

template <class T, class Factory>
class Object;

/// Wraps a class made through the framework: count, lookup, two-phase life.
template <class T>
class Object<T, LocatorObjectFactory> final : public T {
public:
    /// A failing code of FinalConstruct destroys the object without FinalRelease.
    static result_t Create(IServiceLocator* locator, T** out) noexcept {
        *out = nullptr;
        detail::ObjectMemory memory;
        void* place = memory.Allocate(locator, sizeof(Object));
        if (place == nullptr)
            return eOutOfMemory;
        Object* object = nullptr;
        result_t result = eUnspecified;
        try {
            object = new (place) Object(locator);
            result = object->FinalConstruct();
            if (ULK_SUCCEEDED(result)) {
                object->m_memory = std::move(memory);
                *out = object;
                return result;
            }
        } catch (const ResultCodeException& e) {
            result = ULK_SUCCEEDED(e.Code()) ? eUnspecified : e.Code();
        } catch (const std::bad_alloc&) {
            result = eOutOfMemory;
        } catch (...) {
            result = eUnspecified;
        }
        if (object != nullptr)
            object->~Object();
        memory.Free(place);
        return result;
    }

    std::uint32_t AddRef() noexcept override { return m_references.fetch_add(1, std::memory_order_relaxed) + 1; }
    std::uint32_t Release() noexcept override {
        const std::uint32_t left = m_references.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0) {
            m_references.store(detail::kDestructionBias, std::memory_order_relaxed);
            this->FinalRelease();
            // The allocator outlives the object that holds it.
            detail::ObjectMemory memory = std::move(m_memory);
            this->~Object();
            memory.Free(this);
        }
        return left;
    }
    result_t QueryInterface(iid_t iid, void** out) noexcept override {
        return LookUpIn(typename T::Interfaces{}, iid, out);
    }

private:
    explicit Object(IServiceLocator* locator) : T(locator) {}
    ~Object() = default;

    template <class... Interfaces>
    result_t LookUpIn(InterfaceList<Interfaces...>, iid_t iid, void** out) noexcept {
        return detail::LookUp<Interfaces...>(static_cast<T*>(this), iid, out);
    }

    std::atomic<std::uint32_t> m_references{1};
    detail::ObjectMemory m_memory;
    ObjectModuleAutoLockTyped m_moduleLock;
};

/// Makes an object of class T on a locator. Returns the code of the step that failed.
template <class T>
result_t CreateInstance(IServiceLocator* locator, T** out) noexcept {
    return Object<T, LocatorObjectFactory>::Create(locator, out);
}

template <class T>
void CreateInstance(IServiceLocator* locator, T** out, ThrowOnFailure) {
    if (const result_t result = CreateInstance(locator, out); !ULK_SUCCEEDED(result))
        detail::ThrowGetInterface(result, detail::FirstIid(typename T::Interfaces{}));
}

} // namespace ulk
