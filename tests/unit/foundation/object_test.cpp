// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/objclient.h>
#include <tests/unit/foundation/test_services.h>

#include <atomic>
#include <cstring>
#include <gtest/gtest.h>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace ulk {
namespace {

class IFirst : public IObject {
public:
    static constexpr iid_t Iid = 0x1001u;
    virtual int First() = 0;

protected:
    ~IFirst() = default;
};

class ISecond : public IObject {
public:
    static constexpr iid_t Iid = 0x1002u;
    virtual int Second() = 0;

protected:
    ~ISecond() = default;
};

class IUnlisted : public IObject {
public:
    static constexpr iid_t Iid = 0x1003u;

protected:
    ~IUnlisted() = default;
};

/// What a sample does in its life, set by a test before it makes one.
struct Behaviour {
    result_t finalConstruct = sOk;
    enum { Nothing, ResultCode, OutOfMemory, Other } constructorThrows = Nothing;
    std::vector<std::string> life;
};
Behaviour* g_behaviour = nullptr;

class Sample : public LocatorObjectOf<IFirst, ISecond> {
public:
    explicit Sample(IServiceLocator* locator) : LocatorObjectOf(locator) {
        if (g_behaviour->constructorThrows == Behaviour::ResultCode)
            throw ResultCodeException("sample", 1, eLocked);
        if (g_behaviour->constructorThrows == Behaviour::OutOfMemory)
            throw std::bad_alloc();
        if (g_behaviour->constructorThrows == Behaviour::Other)
            throw std::runtime_error("other");
        g_behaviour->life.push_back("constructor");
    }
    ~Sample() { g_behaviour->life.push_back("destructor"); }
    result_t FinalConstruct() {
        g_behaviour->life.push_back("FinalConstruct");
        return g_behaviour->finalConstruct;
    }
    // The object is whole here: services and own members may still be used.
    void FinalRelease() noexcept {
        g_behaviour->life.push_back("FinalRelease");
        ULK_TRACE(GetTracer(), level::Notable) << "released";
    }
    int First() override { return 1; }
    int Second() override { return 2; }
};

class ObjectLife : public testing::Test {
protected:
    ObjectLife() { g_behaviour = &behaviour; }
    ~ObjectLife() override {
        g_behaviour = nullptr;
        EXPECT_EQ(services.allocator->Outstanding(), 0) << "memory of an object was not given back";
    }

    Behaviour behaviour;
    test::Services services;
};

TEST_F(ObjectLife, HasTwoPhasesAtEachEnd) {
    const auto before = ObjectModuleAutoLockTyped::LiveObjects();
    Ptr<Sample> object;
    ASSERT_EQ(CreateInstance(services.locator.Get(), object.Ref()), sOk);
    EXPECT_EQ(behaviour.life, (std::vector<std::string>{"constructor", "FinalConstruct"}));
    EXPECT_EQ(services.allocator->Outstanding(), 1);
    EXPECT_EQ(ObjectModuleAutoLockTyped::LiveObjects(), before + 1);
    EXPECT_EQ(object->AddRef(), 2u);
    EXPECT_EQ(object->Release(), 1u);

    object.Reset();
    EXPECT_EQ(behaviour.life,
              (std::vector<std::string>{"constructor", "FinalConstruct", "FinalRelease", "destructor"}));
    EXPECT_EQ(services.tracer->lines, std::vector<std::string>{"released"});
    EXPECT_EQ(ObjectModuleAutoLockTyped::LiveObjects(), before);
}

TEST_F(ObjectLife, AFailingFinalConstructDestroysWithoutFinalRelease) {
    behaviour.finalConstruct = eNotReady;
    Sample* object = reinterpret_cast<Sample*>(this); // must be cleared
    EXPECT_EQ(CreateInstance(services.locator.Get(), &object), eNotReady);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(behaviour.life, (std::vector<std::string>{"constructor", "FinalConstruct", "destructor"}));

    behaviour.finalConstruct = sFalse; // a positive code is a success
    Ptr<Sample> made;
    EXPECT_EQ(CreateInstance(services.locator.Get(), made.Ref()), sFalse);
    EXPECT_TRUE(made);
}

TEST_F(ObjectLife, AnExceptionOfTheConstructorBecomesACode) {
    const struct {
        decltype(Behaviour::Nothing) thrown;
        result_t code;
    } rows[] = {
        {Behaviour::ResultCode, eLocked}, {Behaviour::OutOfMemory, eOutOfMemory}, {Behaviour::Other, eUnspecified}};
    for (const auto& row : rows) {
        behaviour.constructorThrows = row.thrown;
        Ptr<Sample> object;
        EXPECT_EQ(CreateInstance(services.locator.Get(), object.Ref()), row.code);
        EXPECT_FALSE(object);
    }
    EXPECT_TRUE(behaviour.life.empty());
}

TEST_F(ObjectLife, NeedsLocatorAllocatorTracerAndMemory) {
    Ptr<Sample> object;
    EXPECT_EQ(CreateInstance(nullptr, object.Ref()), eNotInitialized);
    services.allocator->isExhausted = true;
    EXPECT_EQ(CreateInstance(services.locator.Get(), object.Ref()), eOutOfMemory);
    services.allocator->isExhausted = false;
    for (const iid_t missing : {ITracer::Iid, IAllocator::Iid}) {
        services.locator->services.erase(missing);
        EXPECT_EQ(CreateInstance(services.locator.Get(), object.Ref()), eNotFound) << std::hex << missing;
    }
    EXPECT_TRUE(behaviour.life.empty());
    EXPECT_THROW(CreateInstance(services.locator.Get(), object.Ref(), throwOnFailure), GetInterfaceException);
}

TEST_F(ObjectLife, LookupYieldsTheObjectAndNothingElse) {
    Ptr<Sample> object;
    ASSERT_EQ(CreateInstance(services.locator.Get(), object.Ref()), sOk);
    IFirst* const first = object.Get();
    ISecond* const second = object.Get();

    Ptr<IFirst> foundFirst;
    Ptr<ISecond> foundSecond;
    ASSERT_EQ(second->QueryInterface(IFirst::Iid, reinterpret_cast<void**>(foundFirst.Ref())), sOk);
    ASSERT_EQ(first->QueryInterface(ISecond::Iid, reinterpret_cast<void**>(foundSecond.Ref())), sOk);
    EXPECT_EQ(foundFirst->First(), 1);
    EXPECT_EQ(foundSecond->Second(), 2);
    EXPECT_EQ(object->AddRef(), 4u);
    EXPECT_EQ(object->Release(), 3u);

    // Identifier 0 names the object itself, from whichever interface it is asked.
    void* one = nullptr;
    void* two = nullptr;
    ASSERT_EQ(first->QueryInterface(0, &one), sOk);
    ASSERT_EQ(second->QueryInterface(0, &two), sOk);
    EXPECT_EQ(one, two);
    static_cast<IFirst*>(one)->Release();
    static_cast<IFirst*>(two)->Release();

    for (const iid_t iid : {IUnlisted::Iid, IServiceLocator::Iid, 0xFFFFFFFFu}) {
        void* out = this;
        EXPECT_EQ(first->QueryInterface(iid, &out), eNoInterface);
        EXPECT_EQ(out, nullptr);
    }
    EXPECT_EQ(first->QueryInterface(IFirst::Iid, nullptr), eInvalidArgument);
    EXPECT_EQ(object->AddRef(), 4u);
    EXPECT_EQ(object->Release(), 3u);
}

TEST_F(ObjectLife, ManyThreadsMayCountAndLookUp) {
    Ptr<Sample> object;
    ASSERT_EQ(CreateInstance(services.locator.Get(), object.Ref()), sOk);
    std::atomic<bool> go{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&go, held = object]() mutable {
            while (!go)
                std::this_thread::yield();
            for (int round = 0; round < 20000; ++round) {
                void* out = nullptr;
                held->QueryInterface(round % 2 ? IFirst::Iid : 0u, &out);
                const Ptr<Sample> another(held);
                static_cast<IFirst*>(out)->Release();
            }
            held.Reset();
        });
    }
    object.Reset(); // the last of the threads destroys it
    go = true;
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(behaviour.life,
              (std::vector<std::string>{"constructor", "FinalConstruct", "FinalRelease", "destructor"}));
}

TEST(GetInterface, ReturnsTheLocatorsCodeOrThrowsIt) {
    const test::Services services;
    Ptr<ITracer> tracer;
    EXPECT_EQ(GetInterface(services.locator.Get(), tracer.Ref()), sOk);
    EXPECT_EQ(tracer.Get(), services.tracer.Get());
    EXPECT_EQ(services.locator->lastReserved, 0u);

    Ptr<IFirst> absent;
    EXPECT_EQ(GetInterface(services.locator.Get(), absent.Ref()), eNotFound);
    EXPECT_EQ(GetInterface(nullptr, absent.Ref()), eNotInitialized);
    EXPECT_FALSE(absent);
    try {
        GetInterface(services.locator.Get(), absent.Ref(), throwOnFailure);
        FAIL() << "nothing thrown";
    } catch (const GetInterfaceException& e) {
        EXPECT_STREQ(e.File(), "objclient");
        EXPECT_EQ(e.Line(), 115);
        EXPECT_EQ(e.Code(), eNotFound);
        EXPECT_EQ(e.InterfaceId(), IFirst::Iid);
    }
}

/// Hands itself to a neighbour while it goes, who holds it for a moment.
class Clinging : public LocatorObjectOf<IFirst> {
public:
    using LocatorObjectOf::LocatorObjectOf;
    ~Clinging() { ++destroyed; }
    void FinalRelease() noexcept {
        ++released;
        void* out = nullptr;
        QueryInterface(IFirst::Iid, &out);
        const Ptr<IFirst> held = Ptr<IFirst>::Adopt(static_cast<IFirst*>(out));
        EXPECT_EQ(held->First(), 1);
    }
    int First() override { return 1; }

    static inline int released = 0;
    static inline int destroyed = 0;
};

TEST_F(ObjectLife, AReferenceTakenInFinalReleaseDoesNotDestroyTwice) {
    Clinging::released = Clinging::destroyed = 0;
    Ptr<Clinging> object;
    ASSERT_EQ(CreateInstance(services.locator.Get(), object.Ref()), sOk);
    EXPECT_EQ(object.Detach()->Release(), 0u);
    EXPECT_EQ(Clinging::released, 1);
    EXPECT_EQ(Clinging::destroyed, 1);
}

class Plain : public SimpleObjectBase<NoServiceStrategy, IFirst, ISecond> {
public:
    explicit Plain(bool& isGone) : m_isGone(isGone) {}
    ~Plain() override { m_isGone = true; }
    int First() override { return 1; }
    int Second() override { return 2; }

private:
    bool& m_isGone;
};

TEST(SimpleObject, LivesFromNewToItsLastRelease) {
    bool isGone = false;
    auto* object = new Plain(isGone);
    Ptr<IFirst> held = Ptr<IFirst>::Adopt(object);
    void* out = nullptr;
    EXPECT_EQ(object->QueryInterface(IUnlisted::Iid, &out), eNoInterface);
    ASSERT_EQ(held->QueryInterface(ISecond::Iid, &out), sOk);
    held.Reset();
    EXPECT_FALSE(isGone);
    EXPECT_EQ(static_cast<ISecond*>(out)->Second(), 2);
    EXPECT_EQ(static_cast<ISecond*>(out)->Release(), 0u);
    EXPECT_TRUE(isGone);
}

class ClingingPlain : public SimpleObjectBase<NoServiceStrategy, IFirst> {
public:
    explicit ClingingPlain(int& destroyed) : m_destroyed(destroyed) {}
    ~ClingingPlain() override {
        // Not for ever, should the object go down once more from here.
        if (++m_destroyed == 1)
            const Ptr<IFirst> held(this);
    }
    int First() override { return 1; }

private:
    int& m_destroyed;
};

TEST(SimpleObject, AReferenceTakenInTheDestructorDoesNotDestroyTwice) {
    int destroyed = 0;
    EXPECT_EQ((new ClingingPlain(destroyed))->Release(), 0u);
    EXPECT_EQ(destroyed, 1);
}

TEST(Handle, HoldsExactlyOneReference) {
    bool isGone = false;
    Ptr<IFirst> a = Ptr<IFirst>::Adopt(new Plain(isGone));
    Ptr<IFirst> b(a);
    Ptr<IFirst> c(std::move(b));
    b = c;
    b = *&b;
    c = std::move(a);
    EXPECT_EQ(c->AddRef(), 3u); // b, c and this one
    EXPECT_EQ(c->Release(), 2u);
    *b.Ref() = c.Detach(); // Ref gives up what was held
    EXPECT_FALSE(isGone);
    b = nullptr;
    EXPECT_TRUE(isGone);
}

// Modules built elsewhere call these operations by their slots.
TEST(Interfaces, OperationsStandInTheirSlots) {
    const test::Services services;
    const auto slotsOf = [](void* object) {
        void* const* slots = nullptr;
        std::memcpy(&slots, object, sizeof slots);
        return slots;
    };
    void* const locator = static_cast<IServiceLocator*>(services.locator.Get());
    void* const* slots = slotsOf(locator);
    EXPECT_EQ(reinterpret_cast<std::uint32_t (*)(void*)>(slots[0])(locator), 2u);
    EXPECT_EQ(reinterpret_cast<std::uint32_t (*)(void*)>(slots[1])(locator), 1u);
    void* out = nullptr;
    EXPECT_EQ(reinterpret_cast<result_t (*)(void*, iid_t, void**)>(slots[2])(locator, 5, &out), eNoInterface);
    using Lookup = result_t (*)(void*, iid_t, std::uint32_t, void**);
    EXPECT_EQ(reinterpret_cast<Lookup>(slots[3])(locator, ITracer::Iid, 0, &out), sOk);
    static_cast<ITracer*>(out)->Release();

    void* const allocator = static_cast<IAllocator*>(services.allocator.Get());
    slots = slotsOf(allocator);
    void* const memory = reinterpret_cast<void* (*)(void*, std::size_t)>(slots[3])(allocator, 8);
    EXPECT_EQ(services.allocator->Outstanding(), 1);
    reinterpret_cast<void (*)(void*, void*)>(slots[5])(allocator, memory);
    EXPECT_EQ(services.allocator->Outstanding(), 0);
}

} // namespace
} // namespace ulk
