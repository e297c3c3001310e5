// SPDX-License-Identifier: GPL-2.0-or-later
// tesl-control as the run-time modules see it: an application that the loader calls.
#pragma once

#include <contract/app_core/loader.h>
#include <control/command_line.h>
#include <control/reporter.h>

#include <exception>

namespace tfs::control {

/// Lives on the main thread from before the loader's Run until after it. A command's failure crosses the loader as a
/// stored exception.
class Application final
    : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, app_core::loader::IApplicationController> {
public:
    /// Both arguments outlive the object.
    Application(const CommandLine& line, IReporter& reporter) : m_line(line), m_reporter(reporter) {}

    result_t Configure() noexcept override;
    result_t Run(app_core::loader::IApplicationInfrastructureLoader* infrastructureLoader,
                 app_core::loader::IApplicationStateReporter* stateReporter) noexcept override;
    result_t Shutdown() noexcept override;

    /// What Run came to. Throws the failure that ended it.
    ExitCode Result() const;

private:
    ExitCode RunCommand(app_core::loader::IApplicationInfrastructureLoader& infrastructureLoader);

    const CommandLine& m_line;
    IReporter& m_reporter;
    ExitCode m_code = ExitCode::Internal;
    std::exception_ptr m_failure;
    bool m_hasRun = false;
};

/// Loads the run-time modules, connects to the service and runs the command. Throws Failure.
ExitCode RunWithService(const CommandLine& line, IReporter& reporter);

} // namespace tfs::control
