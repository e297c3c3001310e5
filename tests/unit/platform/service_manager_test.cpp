// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/app_core/storage_service.h>
#include <contract/marnow.h>
#include <tests/unit/platform/loader_fixture.h>
#include <tfs_common/scoped_service_manager_initializer.h>

#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <sys/stat.h>

namespace {

using namespace test;

class ServiceManagerTest : public LoaderTest {
protected:
    result_t Init(tfs::ScopedServiceManagerInitializer& manager,
                  loader::IApplicationInfrastructureLoader* infrastructure, bool save = false) {
        return manager.Init(RootOf(infrastructure).Get(), infrastructure, false, u"settings.kvdb", u"storage.kvdb",
                            u"gui.esm", Utf16(m_library + "/"), Utf16(m_storage), u"", u"", save, save);
    }
    std::string StandardErrorOf(const std::function<void()>& action) {
        ::testing::internal::CaptureStderr();
        action();
        return ::testing::internal::GetCapturedStderr();
    }

    std::string m_storage = m_folder / "private/kvdb-user";
};

TEST_F(ServiceManagerTest, OpensBothStoresAndTakesThemDown) {
    Run([&](auto* infrastructure, auto*) {
        const auto locator = RootOf(infrastructure);
        ulk::Ptr<app_core::ISettingsStorage> settings;
        ulk::Ptr<app_core::IDataStorage> data;
        {
            tfs::ScopedServiceManagerInitializer manager;
            EXPECT_EQ(Init(manager, infrastructure), ulk::sOk);
            EXPECT_STREQ(std::getenv("TL_PLUGINS_PATH"), (m_library + "/").c_str());
            EXPECT_EQ(ulk::GetInterface(locator.Get(), settings.Ref()), ulk::sOk);
            EXPECT_EQ(ulk::GetInterface(locator.Get(), data.Ref()), ulk::sOk);
            EXPECT_EQ(settings->Set("where", "settings"), ulk::sOk);
            EXPECT_EQ(data->Set("where", "data"), ulk::sOk);
            std::string value;
            EXPECT_EQ(settings->Get("where", value), ulk::sOk);
            EXPECT_EQ(value, "settings");
            EXPECT_TRUE(std::filesystem::exists(m_storage + "/settings.kvdb"));
            EXPECT_TRUE(std::filesystem::exists(m_storage + "/storage.kvdb"));
        }
        EXPECT_EQ(settings->Set("after", ""), ulk::eNotInitialized);
        EXPECT_EQ(data->Set("after", ""), ulk::eNotInitialized);

        tfs::ScopedServiceManagerInitializer again;
        EXPECT_EQ(Init(again, infrastructure), ulk::sOk) << "everything was given back";
        return ulk::sOk;
    });
}

TEST_F(ServiceManagerTest, FolderThatIsNotOursServesFromMemoryUnlessItIsToBeSaved) {
    std::filesystem::create_directories(m_storage);
    ASSERT_EQ(::chmod(m_storage.c_str(), 01777), 0);
    Run([&](auto* infrastructure, auto*) {
        {
            tfs::ScopedServiceManagerInitializer saved;
            EXPECT_EQ(Init(saved, infrastructure, true), ulk::eAccessDenied);
        }
        tfs::ScopedServiceManagerInitializer manager;
        EXPECT_EQ(Init(manager, infrastructure), ulk::sOk);
        ulk::Ptr<app_core::ISettingsStorage> settings;
        EXPECT_EQ(ulk::GetInterface(RootOf(infrastructure).Get(), settings.Ref()), ulk::sOk);
        EXPECT_EQ(settings->Set("key", "value"), ulk::sOk);
        return ulk::sOk;
    });
    EXPECT_TRUE(std::filesystem::is_empty(m_storage));
    EXPECT_NE(Log().find("Cannot open " + m_storage + "/settings.kvdb"), std::string::npos);
}

TEST_F(ServiceManagerTest, MarnowThatRunsAlreadyIsTold) {
    Run([&](auto* infrastructure, auto*) {
        tfs::ScopedServiceManagerInitializer running;
        EXPECT_EQ(Init(running, infrastructure), ulk::sOk);
        result_t result = 0;
        EXPECT_EQ(StandardErrorOf([&] {
                      tfs::ScopedServiceManagerInitializer second;
                      result = Init(second, infrastructure);
                  }),
                  "Failed to initialize marnow\n");
        EXPECT_EQ(result, ulk::eInvalidState) << "one framework a process";
        return ulk::sOk;
    });
    EXPECT_NE(Log().find("result = 0x8000006aCannot initialize marnow"), std::string::npos) << Log();
}

TEST_F(ServiceManagerTest, MarnowThatCannotStartIsTold) {
    std::filesystem::remove(m_library + "/loader.so");
    std::filesystem::copy_file(TEST_NO_ENTRY_MODULE, m_library + "/loader.so");
    Run([&](auto* infrastructure, auto*) {
        result_t result = 0;
        EXPECT_EQ(StandardErrorOf([&] {
                      tfs::ScopedServiceManagerInitializer manager;
                      result = Init(manager, infrastructure);
                  }),
                  "Failed to initialize marnow\n");
        EXPECT_EQ(result, ulk::eSymbolNotFound);
        return ulk::sOk;
    });

    std::filesystem::remove(m_library + "/loader.so");
    Run([&](auto* infrastructure, auto*) {
        tfs::ScopedServiceManagerInitializer manager;
        EXPECT_TRUE(ULK_FAILED(Init(manager, infrastructure)));
        return ulk::sOk;
    });
}

TEST_F(ServiceManagerTest, MissingStorageModuleFails) {
    std::filesystem::remove(m_library + "/libkey_value_storage.so");
    Run([&](auto* infrastructure, auto*) {
        tfs::ScopedServiceManagerInitializer manager;
        EXPECT_EQ(Init(manager, infrastructure), ulk::eModuleNotFound);
        return ulk::sOk;
    });
    EXPECT_NE(Log().find("Cannot get storage service"), std::string::npos);
}

TEST_F(ServiceManagerTest, RootAnswersTheLocatorUntilShutDown) {
    ulk::Module framework;
    ASSERT_EQ(framework.Load(m_library + "/loader.so"), ulk::sOk);
    const auto find = [&](const char* name) {
        void* symbol = nullptr;
        EXPECT_EQ(framework.Find(name, &symbol), ulk::sOk) << name;
        return symbol;
    };
    const auto initialize = reinterpret_cast<marnow::InitializeFunction>(find(marnow::kInitializeExport));
    const auto getProvider = reinterpret_cast<marnow::GetRootProviderFunction>(find(marnow::kGetRootProviderExport));
    const auto shutdown = reinterpret_cast<marnow::ShutdownFunction>(find(marnow::kShutdownExport));
    Run([&](auto* infrastructure, auto*) {
        const auto locator = RootOf(infrastructure);
        ulk::Ptr<marnow::IRootProvider> provider;
        EXPECT_EQ(getProvider(provider.Ref()), ulk::eNotInitialized);
        EXPECT_EQ(shutdown(), ulk::eNotInitialized);
        marnow::StartParameters parameters;
        EXPECT_EQ(initialize(&parameters, locator.Get()), ulk::eFileNotFound) << "no library folder";
        std::snprintf(parameters.libraryFolder, sizeof parameters.libraryFolder, "%s", m_library.c_str());
        EXPECT_EQ(initialize(nullptr, locator.Get()), ulk::eInvalidArgument);
        EXPECT_EQ(initialize(&parameters, nullptr), ulk::eInvalidArgument);
        parameters.size = 1;
        EXPECT_EQ(initialize(&parameters, locator.Get()), ulk::eInvalidArgument);
        parameters.size = sizeof parameters;
        EXPECT_EQ(initialize(&parameters, locator.Get()), ulk::sOk);
        EXPECT_EQ(getProvider(provider.Ref()), ulk::sOk);
        ulk::Ptr<ulk::IServiceLocator> root;
        EXPECT_EQ(provider->GetRoot(root.Ref()), ulk::sOk);
        ulk::Ptr<ulk::ITracer> tracer;
        EXPECT_EQ(ulk::GetInterface(root.Get(), tracer.Ref()), ulk::sOk);
        EXPECT_EQ(shutdown(), ulk::sOk);
        EXPECT_EQ(ulk::GetInterface(root.Get(), tracer.Ref()), ulk::eNotInitialized);
        EXPECT_EQ(provider->GetRoot(root.Ref()), ulk::eNotInitialized);
        return ulk::sOk;
    });
}

TEST_F(ServiceManagerTest, RootHeldPastTheInitializerAnswersThatItIsOver) {
    Run([&](auto* infrastructure, auto*) {
        const auto locator = RootOf(infrastructure);
        ulk::Ptr<ulk::IServiceLocator> root;
        {
            tfs::MarnowInitializer marnow;
            EXPECT_EQ(marnow.Init(infrastructure, locator.Get(), Utf16(m_library)), ulk::sOk);
            // As a module of the framework comes by it; without a hold of its own on the library.
            void* const library = ::dlopen((m_library + "/loader.so").c_str(), RTLD_NOW | RTLD_NOLOAD);
            void* const getProvider = library != nullptr ? ::dlsym(library, marnow::kGetRootProviderExport) : nullptr;
            if (getProvider == nullptr) {
                ADD_FAILURE() << "the framework isn't loaded";
                return ulk::eUnspecified;
            }
            ulk::Ptr<marnow::IRootProvider> provider;
            EXPECT_EQ(reinterpret_cast<marnow::GetRootProviderFunction>(getProvider)(provider.Ref()), ulk::sOk);
            EXPECT_EQ(provider->GetRoot(root.Ref()), ulk::sOk);
            ::dlclose(library);
        }
        ulk::Ptr<ulk::ITracer> tracer;
        EXPECT_EQ(ulk::GetInterface(root.Get(), tracer.Ref()), ulk::eNotInitialized);
        return ulk::sOk;
    });
}

TEST_F(ServiceManagerTest, EmptyStorageFolderIsRefused) {
    m_storage.clear();
    Run([&](auto* infrastructure, auto*) {
        tfs::ScopedServiceManagerInitializer manager;
        EXPECT_EQ(Init(manager, infrastructure), ulk::eInvalidArgument);
        return ulk::sOk;
    });
}

TEST_F(ServiceManagerTest, StartParametersComeFromTheEnvironment) {
    ulk::Module params;
    ASSERT_EQ(params.Load(m_library + "/libparams.so"), ulk::sOk);
    void* symbol = nullptr;
    ASSERT_EQ(params.Find(marnow::kGetStartParametersExport, &symbol), ulk::sOk);
    const auto get = reinterpret_cast<marnow::GetStartParametersFunction>(symbol);
    marnow::StartParameters parameters;
    ::unsetenv(marnow::kPluginsPathVariable);
    EXPECT_EQ(get(&parameters), ulk::eNotFound);
    ::setenv(marnow::kPluginsPathVariable, std::string(5000, 'x').c_str(), 1);
    EXPECT_EQ(get(&parameters), ulk::eInvalidSize);
    ::setenv(marnow::kPluginsPathVariable, "/some/folder/", 1);
    EXPECT_EQ(get(&parameters), ulk::sOk);
    EXPECT_STREQ(parameters.libraryFolder, "/some/folder/");
    EXPECT_STREQ(parameters.programName, "platform_test");
    EXPECT_EQ(get(nullptr), ulk::eInvalidArgument);
    ::unsetenv(marnow::kPluginsPathVariable);
}

} // namespace
