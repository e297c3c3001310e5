// SPDX-License-Identifier: GPL-2.0-or-later
// The application object as the loader and the models see it.
#include "fake_services.h"
#include "process_test.h"

#include <foundation/exceptions.h>
#include <gui/qml/qml_resources.h>
#include <gui/tesl_gui.h>
#include <gui/window_icon.h>

#include <memory>

namespace tfs::gui {
namespace {

using app_core::loader::application_control_code;
using app_core::loader::application_state;
using app_core::loader::IApplicationController;
using app_core::loader::IApplicationInfrastructureLoader;
using app_core::loader::IApplicationStateReporter;

class FakeReporter : public test::FakeBase<IApplicationStateReporter> {
public:
    result_t StateChanged(application_state state, std::uint32_t value, application_control_code controlCode,
                          result_t result) noexcept override {
        if (state == application_state::Starting && value == 1000 && controlCode == application_control_code::None &&
            result == ulk::sOk)
            ++startings;
        return answer;
    }
    int startings = 0;
    result_t answer = ulk::sOk;
};

class FakeInfrastructure : public test::FakeBase<IApplicationInfrastructureLoader> {
public:
    result_t GetRootServiceLocator(ulk::IServiceLocator** out) noexcept override {
        *out = nullptr;
        if (!ULK_SUCCEEDED(answer))
            return answer;
        locator->AddRef();
        *out = locator.Get();
        return ulk::sOk;
    }
    result_t RegisterService(ulk::iid_t, const std::string&, std::uint32_t) noexcept override {
        return registrationAnswer;
    }
    ulk::Ptr<test::FakeLocator> locator = ulk::Ptr<test::FakeLocator>::Adopt(new test::FakeLocator);
    result_t answer = ulk::sOk;
    result_t registrationAnswer = ulk::eAccessDenied;
};

class TeslGuiAppTest : public ::testing::Test {
protected:
    TeslGuiAppTest() { m_infrastructure->locator->Put<ulk::ITracer>(m_tracer.Get()); }
    ~TeslGuiAppTest() override { TeslGuiApp::GetInstance(nullptr, true); }

    std::shared_ptr<TeslGuiApp> Make() { return std::shared_ptr<TeslGuiApp>(new TeslGuiApp(m_argc, m_argv, m_config)); }
    template <class T>
    static ulk::Ptr<T> New() {
        return ulk::Ptr<T>::Adopt(new T);
    }

    int m_argc = 1;
    char m_name[5] = "test";
    char* m_argv[2] = {m_name, nullptr};
    std::shared_ptr<const tfs::loader::ConfigData> m_config = std::make_shared<tfs::loader::ConfigData>();
    ulk::Ptr<test::FakeTracer> m_tracer = New<test::FakeTracer>();
    ulk::Ptr<FakeReporter> m_reporter = New<FakeReporter>();
    ulk::Ptr<FakeInfrastructure> m_infrastructure = New<FakeInfrastructure>();
};

TEST_F(TeslGuiAppTest, answersAsAnApplicationControllerAlone) {
    const auto app = Make();
    void* out = nullptr;
    for (const ulk::iid_t iid : {0u, 105946523u}) {
        ASSERT_EQ(app->QueryInterface(iid, &out), ulk::sOk) << iid;
        EXPECT_EQ(out, static_cast<IApplicationController*>(app.get()));
        EXPECT_EQ(app->Release(), 1u);
    }
    for (const ulk::iid_t iid : {1u, ulk::IServiceLocator::Iid, 0xFFFFFFFFu}) {
        EXPECT_EQ(app->QueryInterface(iid, &out), static_cast<result_t>(0x80000001)) << iid;
        EXPECT_EQ(out, nullptr);
    }
    EXPECT_EQ(app->Configure(), static_cast<result_t>(0x80000043));
    EXPECT_EQ(app->Shutdown(), ulk::sOk);
}

TEST_F(TeslGuiAppTest, aFailedStepOfRunIsItsResult) {
    const auto app = Make();
    m_reporter->answer = ulk::eNotReady;
    EXPECT_EQ(app->Run(m_infrastructure.Get(), m_reporter.Get()), ulk::eNotReady);
    EXPECT_EQ(m_reporter->startings, 1);
    EXPECT_EQ(app->LocalServiceLocator(), nullptr);
    m_reporter->answer = ulk::sOk;
    m_infrastructure->answer = ulk::eOutOfMemory;
    EXPECT_EQ(app->Run(m_infrastructure.Get(), m_reporter.Get()), ulk::eOutOfMemory);
    EXPECT_EQ(app->LocalServiceLocator(), nullptr);
    m_infrastructure->answer = ulk::sOk;
    const result_t result = app->Run(m_infrastructure.Get(), m_reporter.Get());
    EXPECT_FALSE(ULK_SUCCEEDED(result));
    EXPECT_EQ(m_tracer->Count(300, "Cannot initialize service manager"), 1u);
    EXPECT_EQ(m_tracer->Count(300, "unknown exception"), 0u);
    EXPECT_EQ(app->LocalServiceLocator(), m_infrastructure->locator.Get());
    EXPECT_EQ(app->Tracer(), nullptr);
}

TEST_F(TeslGuiAppTest, theFirstObjectStaysUntilItIsReset) {
    const std::weak_ptr<TeslGuiApp> first = TeslGuiApp::GetInstance(Make(), true);
    EXPECT_EQ(TeslGuiApp::GetInstance(), first.lock());
    EXPECT_EQ(TeslGuiApp::GetInstance(nullptr, false), first.lock());
    (void)first.lock()->Run(m_infrastructure.Get(), m_reporter.Get());
    EXPECT_EQ(application::GetLocalServiceLocator(), m_infrastructure->locator.Get());
    EXPECT_EQ(TeslGuiApp::GetInstance(nullptr, true), nullptr);
    EXPECT_TRUE(first.expired());
    EXPECT_EQ(QCoreApplication::instance(), nullptr);
    EXPECT_EQ(application::GetLocalServiceLocator(), nullptr);
    EXPECT_THROW((void)application::AcquireRemoteServiceLocator(), ulk::RuntimeError);
}

TEST_F(TeslGuiAppTest, anIconIsDrawnInSeveralSizesFromAFileWithoutASuffix) {
    const std::shared_ptr<TeslGuiApp> app = TeslGuiApp::GetInstance(Make(), true);
    InitQmlResources();
    EXPECT_EQ(ReadIcon(QStringLiteral(":/icon-t")).availableSizes(),
              QList<QSize>({QSize(16, 16), QSize(32, 32), QSize(48, 48)}));
    EXPECT_TRUE(ReadIcon(QStringLiteral(":/no-such-icon")).isNull());
}

} // namespace
} // namespace tfs::gui
