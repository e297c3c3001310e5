// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/objclient.h>
#include <foundation/object.h>

#include <cstdlib>

namespace ulk {

std::atomic<std::uint32_t> ObjectModuleAutoLockTyped::s_count{0};

namespace detail {

void ThrowGetInterface(result_t result, iid_t iid) {
    // The place is that of the templates, not of this line: a reader of a trace looks for it there.
    throw GetInterfaceException("objclient", 115, result, iid);
}

void* ObjectMemory::Allocate(IServiceLocator* locator, std::size_t size) noexcept {
    if (ULK_SUCCEEDED(GetInterface(locator, m_allocator.Ref())))
        return m_allocator->Alloc(size);
    return std::malloc(size);
}

void ObjectMemory::Free(void* memory) noexcept {
    if (m_allocator)
        m_allocator->Free(memory);
    else
        std::free(memory);
}

} // namespace detail

LocatorObject::LocatorObject(IServiceLocator* locator) : m_locator(locator) {
    GetInterface(locator, m_allocator.Ref(), throwOnFailure);
    GetInterface(locator, m_tracer.Ref(), throwOnFailure);
}

} // namespace ulk
