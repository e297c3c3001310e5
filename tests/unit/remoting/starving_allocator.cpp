// SPDX-License-Identifier: GPL-2.0-or-later
#include <tests/unit/remoting/starving_allocator.h>

#include <cstdlib>
#include <new>

namespace {

constexpr int Unlimited = -1;
thread_local int allocationsLeft = Unlimited;

void* Allocate(std::size_t size) noexcept {
    if (allocationsLeft == 0)
        return nullptr;
    if (allocationsLeft > 0)
        --allocationsLeft;
    return std::malloc(size > 0 ? size : 1);
}

} // namespace

void* operator new(std::size_t size) {
    if (void* const memory = Allocate(size))
        return memory;
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace tfs::test {

Starvation::Starvation(int allocations) noexcept { allocationsLeft = allocations; }

Starvation::~Starvation() { allocationsLeft = Unlimited; }

} // namespace tfs::test
