// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/module.h>
#include <platform/app_core_legacy/root_locator.h>
#include <tests/unit/platform/modules/stand_in.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <gtest/gtest.h>
#include <latch>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using platform::app_core_legacy::ModuleStore;
using platform::app_core_legacy::RootLocator;

/// Services of the stand-in module, under identifiers that are their classes'.
class RootLocatorTest : public ::testing::Test {
protected:
    static constexpr std::uint32_t kA = test::kFirstScripted;
    static constexpr std::uint32_t kB = kA + 1;
    static constexpr std::uint32_t kC = kA + 2;

    void SetUp() override {
        ASSERT_EQ(m_module.Load(TEST_STAND_IN_MODULE), ulk::sOk) << m_module.ErrorText();
        void* symbol = nullptr;
        ASSERT_EQ(m_module.Find(test::kScriptExport, &symbol), ulk::sOk);
        m_script = reinterpret_cast<test::GetScriptFunction>(symbol)();
        for (const std::uint32_t classId : {kA, kB, kC})
            ASSERT_EQ(m_locator->AddClass(classId, TEST_STAND_IN_MODULE, classId), ulk::sOk);
    }
    void TearDown() override {
        if (m_locator)
            m_locator->Clear();
        if (m_script != nullptr)
            *m_script = {};
    }

    static result_t LookUp(ulk::IServiceLocator* locator, ulk::iid_t iid) {
        void* found = nullptr;
        const result_t result = locator->GetInterface(iid, 0, &found);
        EXPECT_EQ(ULK_SUCCEEDED(result), found != nullptr);
        (void)ulk::Ptr<ulk::IObject>::Adopt(static_cast<ulk::IObject*>(found));
        return result;
    }
    result_t LookUp(ulk::iid_t iid) { return LookUp(m_locator.Get(), iid); }
    result_t LookUpOnAnotherThread(ulk::iid_t iid) {
        result_t result = ulk::eUnspecified;
        std::thread([&] { result = LookUp(iid); }).join();
        return result;
    }

    ulk::Module m_module;
    test::Script* m_script = nullptr;
    ulk::Ptr<RootLocator> m_locator = ulk::Ptr<RootLocator>::Adopt(new RootLocator(std::make_shared<ModuleStore>()));
};

TEST_F(RootLocatorTest, AModuleThatThrowsIsTriedAgainByTheNextWhoAsks) {
    int entries = 0;
    m_script->onEntry = [&](std::uint32_t) {
        switch (++entries) {
        case 1:
            throw std::bad_alloc();
        case 2:
            throw std::runtime_error("not now");
        case 3:
            throw 3;
        }
    };
    EXPECT_EQ(LookUp(kA), ulk::eOutOfMemory);
    EXPECT_EQ(LookUp(kA), ulk::eUnspecified) << "the same thread isn't taken for one that makes the service";
    EXPECT_EQ(LookUpOnAnotherThread(kA), ulk::eUnspecified) << "another thread doesn't wait for nobody";
    EXPECT_EQ(LookUpOnAnotherThread(kA), ulk::sOk);
    EXPECT_EQ(LookUp(kA), ulk::sOk);
    EXPECT_EQ(entries, 4);
}

TEST_F(RootLocatorTest, MakersThatAskForEachOtherAreToldInsteadOfWaitingForEver) {
    for (const std::vector<ulk::iid_t>& ring : {std::vector<ulk::iid_t>{kA, kB}, {kA, kB, kC}}) {
        const auto locator = ulk::Ptr<RootLocator>::Adopt(new RootLocator(std::make_shared<ModuleStore>()));
        for (const std::uint32_t classId : ring)
            ASSERT_EQ(locator->AddClass(classId, TEST_STAND_IN_MODULE, classId), ulk::sOk);
        std::latch allAreMaking(static_cast<std::ptrdiff_t>(ring.size()));
        std::atomic<int> told{0};
        std::atomic<int> found{0};
        m_script->onMake = [&](std::uint32_t classId, ulk::IServiceLocator* root) {
            allAreMaking.arrive_and_wait();
            const result_t result = LookUp(root, ring[(classId - kA + 1) % ring.size()]);
            told += result == ulk::eInvalidState;
            found += result == ulk::sOk;
        };
        std::vector<std::thread> threads;
        for (const ulk::iid_t iid : ring)
            threads.emplace_back([&, iid] { EXPECT_EQ(LookUp(locator.Get(), iid), ulk::sOk); });
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(told, 1) << "who would have closed the ring";
        EXPECT_EQ(found, static_cast<int>(ring.size()) - 1);
        locator->Clear();
    }
}

TEST_F(RootLocatorTest, ClearWaitsForWhatIsBeingMadeAndReleasesIt) {
    std::latch making(1);
    std::mutex mutex;
    std::condition_variable changed;
    bool cleared = false;
    bool clearedTooEarly = false;
    std::vector<std::uint32_t> released;
    m_script->onRelease = [&](std::uint32_t classId) {
        const std::lock_guard lock(mutex);
        EXPECT_FALSE(cleared) << "released behind the back of Clear";
        released.push_back(classId);
    };
    ASSERT_EQ(LookUp(kA), ulk::sOk);
    m_script->onMake = [&](std::uint32_t, ulk::IServiceLocator* root) {
        making.count_down();
        while (LookUp(root, kA) != ulk::eNotInitialized)
            std::this_thread::yield();
        // Clear has begun; it must not come to its end while this lasts.
        std::unique_lock lock(mutex);
        clearedTooEarly = changed.wait_for(lock, std::chrono::milliseconds(200), [&] { return cleared; });
    };
    result_t result = ulk::sOk;
    std::thread maker([&] { result = LookUp(kB); });
    making.wait();
    m_locator->Clear();
    {
        const std::lock_guard lock(mutex);
        cleared = true;
    }
    changed.notify_all();
    maker.join();
    EXPECT_FALSE(clearedTooEarly);
    EXPECT_EQ(result, ulk::eNotInitialized);
    EXPECT_EQ(released, (std::vector<std::uint32_t>{kB, kA}));
}

TEST_F(RootLocatorTest, WithoutClearTheLastReleaseReleasesTheServices) {
    std::vector<std::uint32_t> released;
    m_script->onRelease = [&](std::uint32_t classId) { released.push_back(classId); };
    ASSERT_EQ(LookUp(kB), ulk::sOk);
    ASSERT_EQ(LookUp(kA), ulk::sOk);
    m_locator.Reset();
    EXPECT_EQ(released, (std::vector<std::uint32_t>{kA, kB}));
}

} // namespace
