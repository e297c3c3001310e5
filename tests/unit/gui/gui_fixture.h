// SPDX-License-Identifier: GPL-2.0-or-later
// A test with a service behind the window's models.
#pragma once

#include "fake_services.h"

#include <gui/common/application.h>

#include <QtCore/QCoreApplication>
#include <chrono>
#include <functional>
#include <gtest/gtest.h>

namespace tfs::gui::test {

/// Turns the event loop until the condition holds; false after a generous deadline.
bool WaitUntil(const std::function<bool()>& condition);

/// The application as models see it, with its fake service.
class FakeApplication : public IApplication {
public:
    FakeApplication();
    ~FakeApplication();

    ulk::ITracer* Tracer() const noexcept override { return tracer.Get(); }
    ulk::IServiceLocator* LocalServiceLocator() const noexcept override { return local.Get(); }
    ulk::Ptr<ulk::IServiceLocator> GetRemoteServiceLocator() override;

    template <class T>
    static ulk::Ptr<T> Make() {
        return ulk::Ptr<T>::Adopt(new T);
    }

    ulk::Ptr<FakeTracer> tracer = Make<FakeTracer>();
    ulk::Ptr<FakeAllocator> allocator = Make<FakeAllocator>();
    ulk::Ptr<FakeLocator> local = Make<FakeLocator>();
    ulk::Ptr<FakeLocator> remote = Make<FakeLocator>();
    ulk::Ptr<FakeTaskManager> tasks = Make<FakeTaskManager>();
    ulk::Ptr<FakePolicyProvider> policy = Make<FakePolicyProvider>();
    ulk::Ptr<FakeAppInfoProvider> appInfo = Make<FakeAppInfoProvider>();
    ulk::Ptr<FakePolicyManager> policyManager = Make<FakePolicyManager>();
    ulk::Ptr<FakeSettingsHandler> settings = Make<FakeSettingsHandler>();
    ulk::Ptr<FakeEventSubscriber> subscriber = Make<FakeEventSubscriber>();
    std::atomic<bool> connected{true};
};

class GuiTest : public ::testing::Test {
protected:
    /// Pushes one event and waits until the subscription's thread has handled it.
    void PushAndWait(const Event& event);

    FakeApplication m_app;
};

} // namespace tfs::gui::test
