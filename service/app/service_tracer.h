// SPDX-License-Identifier: GPL-2.0-or-later
// The service's tracer, from the run-time module that the front end uses too.
#pragma once

#include <foundation/module.h>
#include <foundation/trace.h>

#include <cstdint>
#include <string>

namespace tfs::service::app {

/// Owns the module and the tracer in it; both go with it, so it outlives whoever traces.
class ServiceTracer {
public:
    /// Level 0 leaves the tracer off. On failure there is no tracer, `problem` says why, and the service goes on:
    /// it protects without a trace as well.
    result_t Open(const std::string& libraryFolder, const std::string& logFolder, std::int32_t level,
                  std::string& problem);
    /// May be null.
    ulk::Ptr<ulk::ITracer> Get() const noexcept { return m_tracer; }

private:
    ulk::Module m_module;
    ulk::Ptr<ulk::ITracer> m_tracer;
};

} // namespace tfs::service::app
