// SPDX-License-Identifier: GPL-2.0-or-later
// How a tracer is made from module `instrumental_services`.
#pragma once

#include <contract/app_core/loader.h>

namespace app_core {

inline constexpr std::uint32_t TracerClass = 0x6EF3329Bu;

/// Second interface of the tracer object; the first is ulk::ITracer.
class ITracerConfigurator : public ulk::IObject {
public:
    static constexpr ulk::iid_t Iid = 0x2C90B7D4u;
    /// Checks the settings' folder, which is created with mode 0700 where missing; the file comes with the first line.
    /// A folder or file that is a symbolic link or another user's is refused with eAccessDenied and the tracer stays
    /// silent. Files that ended processes of the program left behind are removed, but for the newest `fileCount`.
    virtual result_t Configure(const loader::TracerSettings& settings) noexcept = 0;

protected:
    ~ITracerConfigurator() = default;
};

} // namespace app_core
