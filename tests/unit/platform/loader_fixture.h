// SPDX-License-Identifier: GPL-2.0-or-later
// Runs a tiny application through the real application loader, in a library folder of the test's own.
#pragma once

#include <contract/app_core/loader.h>
#include <foundation/module.h>
#include <foundation/objclient.h>
#include <tests/unit/tfs_common/test_folder.h>

#include <functional>
#include <gtest/gtest.h>

namespace test {

namespace loader = app_core::loader;

inline ulk::types::string16_t Utf16(const std::string& text) { return ulk::text::Cast<ulk::types::string16_t>(text); }

class Application final : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, loader::IApplicationController> {
public:
    using Body = std::function<result_t(loader::IApplicationInfrastructureLoader*, loader::IApplicationStateReporter*)>;
    explicit Application(Body body) : m_body(std::move(body)) {}

    result_t Configure() noexcept override { return ulk::eNotImplemented; }
    result_t Run(loader::IApplicationInfrastructureLoader* infrastructure,
                 loader::IApplicationStateReporter* reporter) noexcept override {
        return m_body(infrastructure, reporter);
    }
    result_t Shutdown() noexcept override { return ulk::sOk; }

private:
    ~Application() override = default;
    Body m_body;
};

class LoaderTest : public ::testing::Test {
protected:
    LoaderTest() {
        std::filesystem::create_directory(m_library);
        std::filesystem::create_directory(m_logs);
        std::filesystem::permissions(m_logs, std::filesystem::perms::owner_all);
        for (const char* name : {"libapp_core_legacy.so", "libinstrumental_services.so", "libkey_value_storage.so",
                                 "loader.so", "libparams.so"})
            std::filesystem::copy_file(std::string(TEST_MODULE_FOLDER) + name, m_library + "/" + name);
        std::filesystem::copy_file(TEST_STAND_IN_MODULE, m_library + "/libremoting.so");

        m_tracerSettings.level = ulk::level::Finest;
        m_tracerSettings.enabled = true;
        m_tracerSettings.fileStem = u"test.1.";
        m_tracerSettings.folder = Utf16(m_logs);
        m_tracerSettings.lineFormat = u"%Y.%m.%d %X\t%I\t%p\t";
        m_tracerSettings.modulePath = Utf16(m_library + "/libinstrumental_services.so");
        m_crashDumps.folder = Utf16(m_folder / "dumps/");
        m_crashDumps.namePattern = u"tesl_%d_%p.dmp";
        m_crashDumps.limit = 3;
    }

    void SetUp() override {
        ASSERT_EQ(m_module.Load(m_library + "/libapp_core_legacy.so"), ulk::sOk) << m_module.ErrorText();
        void* made = nullptr;
        ASSERT_EQ(
            m_module.CreateObject(loader::ApplicationLoaderClass, nullptr, loader::IApplicationLoader::Iid, &made),
            ulk::sOk);
        m_loader = ulk::Ptr<loader::IApplicationLoader>::Adopt(static_cast<loader::IApplicationLoader*>(made));
    }
    void TearDown() override { m_loader.Reset(); }

    result_t Run(Application::Body body) {
        const auto application = ulk::Ptr<Application>::Adopt(new Application(std::move(body)));
        return m_loader->Run(m_tracerSettings, loader::RunModeForeground, m_crashDumps, nullptr, application.Get());
    }
    std::string Log() const { return ReadFile(m_logs + "/test.1.log"); }

    Folder m_folder;
    std::string m_library = m_folder / "lib";
    std::string m_logs = m_folder / "log";
    loader::TracerSettings m_tracerSettings;
    loader::CrashDumpSettings m_crashDumps;
    ulk::Module m_module;
    ulk::Ptr<loader::IApplicationLoader> m_loader;
};

/// The root locator, as an application gets it.
inline ulk::Ptr<ulk::IServiceLocator> RootOf(loader::IApplicationInfrastructureLoader* infrastructure) {
    ulk::Ptr<ulk::IServiceLocator> locator;
    EXPECT_EQ(infrastructure->GetRootServiceLocator(locator.Ref()), ulk::sOk);
    return locator;
}

} // namespace test
