// SPDX-License-Identifier: GPL-2.0-or-later
#include "gui_fixture.h"

#include <memory>
#include <thread>

namespace tfs::gui::test {
namespace {

class QtEnvironment : public ::testing::Environment {
public:
    void SetUp() override { m_application = std::make_unique<QCoreApplication>(m_argc, m_argv); }
    void TearDown() override { m_application.reset(); }

private:
    int m_argc = 1;
    char m_name[5] = "test";
    char* m_argv[2] = {m_name, nullptr};
    std::unique_ptr<QCoreApplication> m_application;
};

[[maybe_unused]] const ::testing::Environment* const qtEnvironment =
    ::testing::AddGlobalTestEnvironment(new QtEnvironment);

constexpr auto Deadline = std::chrono::seconds(20);

} // namespace

bool WaitUntil(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + Deadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

FakeApplication::FakeApplication() {
    local->Put<ulk::ITracer>(tracer.Get());
    local->Put<ulk::IAllocator>(allocator.Get());
    remote->Put<ITfsTaskManager>(tasks.Get());
    remote->Put<IPolicyProvider>(policy.Get());
    remote->Put<IAppInfoProvider>(appInfo.Get());
    remote->Put<IPolicyManager>(policyManager.Get());
    remote->Put<IAppSettingsHandler>(settings.Get());
    remote->Put<IEventSubscriber>(subscriber.Get());
    application::Set(this);
}

FakeApplication::~FakeApplication() { application::Set(nullptr); }

ulk::Ptr<ulk::IServiceLocator> FakeApplication::GetRemoteServiceLocator() {
    if (!connected)
        ThrowNoConnection();
    return ulk::Ptr<ulk::IServiceLocator>(remote.Get());
}

void GuiTest::PushAndWait(const Event& event) {
    const std::size_t before = m_app.tracer->Count(": done");
    ASSERT_TRUE(m_app.subscriber->Push(event));
    ASSERT_TRUE(WaitUntil([&] { return m_app.tracer->Count(": done") > before; }));
}

} // namespace tfs::gui::test
