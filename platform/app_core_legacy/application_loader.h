// SPDX-License-Identifier: GPL-2.0-or-later
// Runs an application: brings up what it needs, calls it, and takes all down in reverse order.
#pragma once

#include <contract/app_core/loader.h>
#include <foundation/object.h>

namespace platform::app_core_legacy {

class ApplicationLoader final
    : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, app_core::loader::IApplicationLoader> {
public:
    /// Returns the application's value. eInvalidArgument without an application or for an unknown mode. A tracer that
    /// can't be loaded or opened doesn't keep the application from running; a refused folder is told on standard error.
    result_t Run(const app_core::loader::TracerSettings& tracer, std::uint32_t mode,
                 const app_core::loader::CrashDumpSettings& crashDumps, const ulk::types::string16_t* optional,
                 app_core::loader::IApplicationController* application) noexcept override;

private:
    ~ApplicationLoader() override = default;
};

} // namespace platform::app_core_legacy
