// SPDX-License-Identifier: GPL-2.0-or-later
// What every module's entry is made of: a factory for each class, and the count of live objects.
#pragma once

#include <foundation/module.h>
#include <foundation/object.h>

#include <cstdint>
#include <new>

namespace platform {

/// Makes objects of a plain class. The class's constructor takes a locator, or nothing where it needs none.
template <class T>
class ClassFactory final : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, ulk::IObjectFactory> {
public:
    result_t CreateInstance(ulk::IServiceLocator* locator, ulk::iid_t iid, void** out) noexcept override {
        if (out == nullptr)
            return ulk::eInvalidArgument;
        *out = nullptr;
        try {
            auto object = ulk::Ptr<T>::Adopt(Make(locator));
            return object->QueryInterface(iid, out);
        } catch (const std::bad_alloc&) {
            return ulk::eOutOfMemory;
        } catch (...) {
            return ulk::eUnspecified;
        }
    }

private:
    static T* Make([[maybe_unused]] ulk::IServiceLocator* locator) {
        if constexpr (requires { new T(locator); })
            return new T(locator);
        else
            return new T();
    }
};

/// One class of a module and how its factory is made.
struct ModuleClass {
    std::uint32_t classId;
    ulk::IObjectFactory* (*makeFactory)();
};

template <class T>
constexpr ModuleClass ClassOf(std::uint32_t classId) {
    return {classId, []() -> ulk::IObjectFactory* { return new (std::nothrow) ClassFactory<T>(); }};
}

/// The body of a module's entry: eClassNotFound for a class that the module doesn't have.
template <std::size_t N>
result_t EnterModule(const ModuleClass (&classes)[N], std::uint32_t classId, ulk::IObjectFactory** factory) noexcept {
    if (factory == nullptr)
        return ulk::eInvalidArgument;
    *factory = nullptr;
    for (const ModuleClass& candidate : classes) {
        if (candidate.classId == classId) {
            *factory = candidate.makeFactory();
            return *factory != nullptr ? ulk::sOk : ulk::eOutOfMemory;
        }
    }
    return ulk::eClassNotFound;
}

} // namespace platform
