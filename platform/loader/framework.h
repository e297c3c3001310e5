// SPDX-License-Identifier: GPL-2.0-or-later
// The older framework, reduced to what its modules still ask for: a root on which the program's services are found.
#pragma once

#include <contract/marnow.h>
#include <foundation/object.h>
#include <foundation/sync.h>

#include <string>

namespace platform::loader {

/// The root. Any thread. Answers through the program's locator until it is detached from it.
class Root final : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, ulk::IServiceLocator> {
public:
    explicit Root(ulk::IServiceLocator* locator) : m_locator(locator) {}

    result_t GetInterface(ulk::iid_t iid, std::uint32_t reserved, void** out) noexcept override;
    void Detach() noexcept;

private:
    ~Root() override = default;

    ulk::Mutex m_mutex;
    ulk::Ptr<ulk::IServiceLocator> m_locator ULK_GUARDED_BY(m_mutex);
};

/// The running framework; one a process. Any thread.
class Framework {
public:
    result_t Initialize(const marnow::StartParameters* parameters, ulk::IServiceLocator* locator);
    result_t GetRootProvider(marnow::IRootProvider** provider);
    /// The root while the framework runs.
    result_t GetRoot(ulk::IServiceLocator** root);
    result_t Shutdown();

private:
    ulk::Mutex m_mutex;
    ulk::Ptr<Root> m_root ULK_GUARDED_BY(m_mutex);
};

Framework& ProcessFramework();

} // namespace platform::loader
