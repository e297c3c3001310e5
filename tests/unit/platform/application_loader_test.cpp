// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/app_core/tracer_service.h>
#include <contract/remoting.h>
#include <tests/unit/platform/loader_fixture.h>
#include <tests/unit/platform/modules/stand_in.h>

#include <atomic>
#include <dlfcn.h>
#include <thread>
#include <vector>

namespace {

using namespace test;

class ApplicationLoaderTest : public LoaderTest {
protected:
    bool IsLoaded(const std::string& name) {
        void* handle = ::dlopen((m_library + "/" + name).c_str(), RTLD_NOW | RTLD_NOLOAD);
        if (handle != nullptr)
            ::dlclose(handle);
        return handle != nullptr;
    }
};

TEST_F(ApplicationLoaderTest, CallsRunOnThisThreadAndReturnsItsValue) {
    std::thread::id thread;
    for (const result_t value : {0, 1, 42, ulk::eUnspecified}) {
        EXPECT_EQ(Run([&](auto*, auto* reporter) {
                      thread = std::this_thread::get_id();
                      EXPECT_EQ(reporter->StateChanged(loader::application_state::Starting, 1000,
                                                       loader::application_control_code::None, ulk::sOk),
                                ulk::sOk);
                      EXPECT_EQ(reporter->StateChanged(static_cast<loader::application_state>(9), 0,
                                                       loader::application_control_code::None, ulk::sOk),
                                ulk::eInvalidArgument);
                      return value;
                  }),
                  value);
        EXPECT_EQ(thread, std::this_thread::get_id());
    }
}

TEST_F(ApplicationLoaderTest, RefusesWhatItCannotRun) {
    EXPECT_EQ(m_loader->Run(m_tracerSettings, loader::RunModeForeground, m_crashDumps, nullptr, nullptr),
              ulk::eInvalidArgument);
    const auto application = ulk::Ptr<Application>::Adopt(new Application([](auto*, auto*) {
        ADD_FAILURE() << "an unknown mode ran";
        return ulk::sOk;
    }));
    EXPECT_EQ(m_loader->Run(m_tracerSettings, 2, m_crashDumps, nullptr, application.Get()), ulk::eInvalidArgument);
}

TEST_F(ApplicationLoaderTest, EntryTellsWhatIsWrongWithAModule) {
    void* made = nullptr;
    EXPECT_EQ(m_module.CreateObject(0x12345678u, nullptr, 0, &made), ulk::eClassNotFound);
    EXPECT_EQ(m_module.CreateObject(loader::ApplicationLoaderClass, nullptr, 0x12345678u, &made), ulk::eNoInterface);
    EXPECT_EQ(made, nullptr);
    ulk::Module missing;
    EXPECT_TRUE(ULK_FAILED(missing.Load(m_library + "/libabsent.so")));
    EXPECT_NE(missing.ErrorText().find("libabsent.so"), std::string::npos);
    ulk::Module other;
    ASSERT_EQ(other.Load(TEST_NO_ENTRY_MODULE), ulk::sOk);
    EXPECT_TRUE(ULK_FAILED(other.CreateObject(loader::ApplicationLoaderClass, nullptr, 0, &made)));
    EXPECT_NE(other.ErrorText().find("ulkGetObjectFactory"), std::string::npos);
}

TEST_F(ApplicationLoaderTest, RunsInSilenceWithoutATracer) {
    struct Case {
        const char* name;
        std::string module;
        std::string folder;
    };
    test::WriteFile(m_folder / "file", "");
    const std::string real = m_library + "/libinstrumental_services.so";
    for (const Case& c : {Case{"missing module", m_library + "/libabsent.so", m_logs},
                          Case{"without entry", TEST_NO_ENTRY_MODULE, m_logs}, Case{"empty path", "", m_logs},
                          Case{"folder below a file", real, m_folder / "file/logs"}, Case{"empty folder", real, ""}}) {
        m_tracerSettings.modulePath = Utf16(c.module);
        m_tracerSettings.folder = Utf16(c.folder);
        EXPECT_EQ(Run([&](auto* infrastructure, auto*) {
                      ulk::Ptr<ulk::ITracer> tracer;
                      EXPECT_EQ(ulk::GetInterface(RootOf(infrastructure).Get(), tracer.Ref()), ulk::sOk) << c.name;
                      EXPECT_FALSE(tracer->IsEnabled(ulk::level::Failure)) << c.name;
                      ULK_TRACE(tracer.Get(), ulk::level::Failure) << "lost";
                      return 7;
                  }),
                  7)
            << c.name;
    }
    EXPECT_TRUE(std::filesystem::is_empty(m_logs));
}

TEST_F(ApplicationLoaderTest, RefusedTraceFolderIsToldOnce) {
    test::WriteFile(m_folder / "file", "");
    m_tracerSettings.folder = Utf16(m_folder / "file/logs");
    const auto standardErrorOfARun = [this] {
        ::testing::internal::CaptureStderr();
        EXPECT_EQ(Run([](auto*, auto*) { return 7; }), 7);
        return ::testing::internal::GetCapturedStderr();
    };
    EXPECT_EQ(standardErrorOfARun(), "Cannot write a trace in " + (m_folder / "file/logs") + ": Path not found\n");
    m_tracerSettings.enabled = false;
    EXPECT_EQ(standardErrorOfARun(), "");
    m_tracerSettings.enabled = true;
    m_tracerSettings.folder = Utf16(m_logs);
    EXPECT_EQ(standardErrorOfARun(), "");
}

TEST_F(ApplicationLoaderTest, LocatorAnswersWhatIsRegistered) {
    Run([&](auto* infrastructure, auto*) {
        const auto locator = RootOf(infrastructure);
        ulk::Ptr<ulk::IAllocator> allocator;
        EXPECT_EQ(ulk::GetInterface(locator.Get(), allocator.Ref()), ulk::sOk);
        allocator->Free(allocator->Realloc(allocator->Alloc(10), 1000));
        ulk::Ptr<ulk::IServiceLocator> itself;
        EXPECT_EQ(ulk::GetInterface(locator.Get(), itself.Ref()), ulk::sOk);
        EXPECT_EQ(itself.Get(), locator.Get());

        ulk::Ptr<test::IProbe> probe;
        EXPECT_EQ(ulk::GetInterface(locator.Get(), probe.Ref()), ulk::eNoInterface);
        EXPECT_EQ(infrastructure->RegisterService(ulk::ITracer::Iid, m_library + "/libremoting.so", 1),
                  ulk::eAlreadyExists);
        EXPECT_EQ(infrastructure->RegisterService(test::IProbe::Iid, "", 1), ulk::eInvalidArgument);
        EXPECT_EQ(infrastructure->RegisterService(0x71E57002u, m_library + "/libabsent.so", 1), ulk::sOk);
        void* out = nullptr;
        EXPECT_TRUE(ULK_FAILED(locator->GetInterface(0x71E57002u, 0, &out)));
        EXPECT_EQ(out, nullptr);
        EXPECT_EQ(infrastructure->RegisterService(test::IProbe::Iid, m_library + "/libremoting.so", test::IProbe::Iid),
                  ulk::sOk);

        // Many threads, one object.
        std::vector<std::thread> threads;
        std::atomic<test::IProbe*> first{nullptr};
        std::atomic<int> different{0};
        for (int i = 0; i < 8; ++i)
            threads.emplace_back([&] {
                ulk::Ptr<test::IProbe> found;
                EXPECT_EQ(ulk::GetInterface(locator.Get(), found.Ref()), ulk::sOk);
                test::IProbe* expected = nullptr;
                if (!first.compare_exchange_strong(expected, found.Get()) && expected != found.Get())
                    ++different;
            });
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(different, 0);
        EXPECT_EQ(first.load()->OwnLookUp(), ulk::eInvalidState);
        return ulk::sOk;
    });
    const std::string log = Log();
    EXPECT_EQ(log.find("probe made"), log.rfind("probe made"));
    EXPECT_NE(log.find("libabsent.so"), std::string::npos);
}

TEST_F(ApplicationLoaderTest, ReleasesInReverseOrderAndKeepsModulesLoaded) {
    ulk::Ptr<ulk::IServiceLocator> kept;
    Run([&](auto* infrastructure, auto*) {
        kept = RootOf(infrastructure);
        ulk::Ptr<ulk::remoting::ITransportService> transport;
        EXPECT_EQ(ulk::GetInterface(kept.Get(), transport.Ref()), ulk::sOk);
        ulk::Ptr<ulk::remoting::IConnectionFactory> factory;
        EXPECT_EQ(ulk::GetInterface(kept.Get(), factory.Ref()), ulk::sOk);
        EXPECT_TRUE(IsLoaded("libremoting.so"));
        return ulk::sOk;
    });
    const std::string log = Log();
    const std::size_t positions[] = {log.find("transport made"), log.find("connection factory made"),
                                     log.find("connection factory released"), log.find("transport released")};
    for (std::size_t i = 0; i < std::size(positions); ++i) {
        ASSERT_NE(positions[i], std::string::npos) << i;
        if (i > 0) {
            EXPECT_LT(positions[i - 1], positions[i]) << i;
        }
    }
    EXPECT_TRUE(IsLoaded("libremoting.so")) << "a thread may still be on its way out of a service";
    ulk::Ptr<ulk::ITracer> tracer;
    EXPECT_EQ(ulk::GetInterface(kept.Get(), tracer.Ref()), ulk::eNotInitialized);
}

TEST_F(ApplicationLoaderTest, ModuleWithALiveObjectStaysLoaded) {
    ulk::Ptr<test::IProbe> kept;
    Run([&](auto* infrastructure, auto*) {
        infrastructure->RegisterService(test::IProbe::Iid, m_library + "/libremoting.so", test::IProbe::Iid);
        EXPECT_EQ(ulk::GetInterface(RootOf(infrastructure).Get(), kept.Ref()), ulk::sOk);
        return ulk::sOk;
    });
    EXPECT_TRUE(IsLoaded("libremoting.so"));
    EXPECT_EQ(kept->OwnLookUp(), ulk::eInvalidState);
}

} // namespace
