// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/escape.h>
#include <control/failure.h>
#include <control/json_reporter.h>
#include <control/program.h>
#include <control/text_reporter.h>

#include <memory>

namespace tfs::control {

namespace {

ExitCode RunCommand(const std::vector<std::string>& arguments, IReporter& reporter, ServiceRunner serviceRunner) {
    const CommandLine line = ParseCommandLine(arguments);
    switch (line.command) {
    case CommandKind::Help:
        reporter.Help(HelpText(line.helpAbout));
        return ExitCode::Ok;
    case CommandKind::Version:
        reporter.Version(TESL_VERSION);
        return ExitCode::Ok;
    default:
        return serviceRunner(line, reporter);
    }
}

ExitCode RunReported(const std::vector<std::string>& arguments, IReporter& reporter, ServiceRunner serviceRunner) {
    try {
        return RunCommand(arguments, reporter, serviceRunner);
    } catch (const Failure& failure) {
        reporter.Error(failure.Code(), failure.what());
        return failure.Code();
    } catch (const std::exception& error) {
        reporter.Error(ExitCode::Internal, "Internal failure: " + EscapeForTerminal(error.what()) + ".");
        return ExitCode::Internal;
    }
}

} // namespace

int RunProgram(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err,
               ServiceRunner serviceRunner, ITerminal* terminal) noexcept {
    try {
        std::unique_ptr<IReporter> reporter;
        if (AsksForJson(arguments))
            reporter = std::make_unique<JsonReporter>(out);
        else
            reporter = std::make_unique<TextReporter>(out, err, terminal);
        const ExitCode code = RunReported(arguments, *reporter, serviceRunner);
        return static_cast<int>(reporter->Finish() ? code : ExitCode::OutputFailed);
    } catch (...) {
        return static_cast<int>(ExitCode::Internal);
    }
}

} // namespace tfs::control
