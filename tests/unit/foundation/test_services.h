// SPDX-License-Identifier: GPL-2.0-or-later
// Stand-ins for what the framework's services give to a client: locator, tracer and allocator that keep count.
#pragma once

#include <foundation/object.h>
#include <foundation/trace.h>

#include <atomic>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

namespace ulk::test {

class CountingAllocator : public SimpleObjectBase<NoServiceStrategy, IAllocator> {
public:
    void* Alloc(std::size_t size) noexcept override {
        if (isExhausted)
            return nullptr;
        ++taken;
        return std::malloc(size);
    }
    void* Realloc(void* memory, std::size_t size) noexcept override {
        return isExhausted ? nullptr : std::realloc(memory, size);
    }
    void Free(void* memory) noexcept override {
        ++given;
        std::free(memory);
    }

    int Outstanding() const { return taken - given; }

    std::atomic<int> taken{0};
    std::atomic<int> given{0};
    bool isExhausted = false;
};

class RecordingTracer : public SimpleObjectBase<NoServiceStrategy, ITracer> {
public:
    bool IsEnabled(int level) const noexcept override { return level <= greatestLevel; }
    TraceBuffer* GetBuffer(int level, std::size_t size) noexcept override {
        sizesAsked.push_back(size);
        return hasBuffers ? new TraceBuffer{level, {}} : nullptr;
    }
    void Submit(TraceBuffer* buffer) noexcept override {
        levels.push_back(buffer->level);
        lines.push_back(buffer->text);
        delete buffer;
    }
    void Flush() noexcept override {}

    int greatestLevel = 1000;
    bool hasBuffers = true;
    std::vector<std::size_t> sizesAsked;
    std::vector<int> levels;
    std::vector<std::string> lines;
};

/// Answers from a table; every lookup hands out a reference of its own.
class TableLocator : public SimpleObjectBase<NoServiceStrategy, IServiceLocator> {
public:
    result_t GetInterface(iid_t iid, std::uint32_t reserved, void** out) noexcept override {
        lastReserved = reserved;
        *out = nullptr;
        const auto found = services.find(iid);
        return found == services.end() ? eNotFound : found->second->QueryInterface(iid, out);
    }

    std::map<iid_t, IObject*> services;
    std::uint32_t lastReserved = 0xFFFFFFFFu;
};

/// A locator with the two services that every object made through the framework needs.
struct Services {
    Ptr<CountingAllocator> allocator = Ptr<CountingAllocator>::Adopt(new CountingAllocator);
    Ptr<RecordingTracer> tracer = Ptr<RecordingTracer>::Adopt(new RecordingTracer);
    Ptr<TableLocator> locator = Ptr<TableLocator>::Adopt(new TableLocator);

    Services() {
        locator->services[IAllocator::Iid] = allocator.Get();
        locator->services[ITracer::Iid] = tracer.Get();
    }
};

} // namespace ulk::test
