// SPDX-License-Identifier: GPL-2.0-or-later
// tesl-service: starts the service, waits for a signal, stops it.
#include <contract/product_paths.h>
#include <service/app/exit_codes.h>
#include <service/app/service_app.h>
#include <service/app/service_manager.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <signal.h>
#include <string>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

namespace {

namespace app = tfs::service::app;

/// Blocks the signals that end the service, so that every thread made later leaves them to Wait.
sigset_t BlockSignals() {
    ::signal(SIGPIPE, SIG_IGN);
    ::signal(SIGHUP, SIG_IGN); // a terminal that goes away is no reason to stop protecting
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

void WaitForSignal(const sigset_t& signals) {
    const auto interval = app::service_manager::AliveInterval();
    for (;;) {
        timespec timeout{3600, 0};
        if (interval) {
            timeout.tv_sec = static_cast<time_t>(interval->count() / 1000000);
            timeout.tv_nsec = static_cast<long>(interval->count() % 1000000 * 1000);
        }
        if (::sigtimedwait(&signals, nullptr, &timeout) > 0)
            return;
        if (errno == EAGAIN && interval)
            app::service_manager::TellAlive();
    }
}

int Run() {
    ::umask(077);
    const sigset_t signals = BlockSignals();
    app::ServiceOptions options;
    options.developmentRun = tfs::paths::Root[0] != '\0';
    options.onFailure = [] { ::kill(::getpid(), SIGTERM); }; // ends the wait below
    app::ServiceApp service(app::ServicePaths::OfProduct(), options);
    std::string problem;
    const result_t result = service.Start(problem);
    if (!problem.empty())
        std::fprintf(stderr, "tesl-service: %s\n", problem.c_str());
    if (!ULK_SUCCEEDED(result))
        return result == ulk::eLocked ? app::ExitAlreadyRunning : app::ExitFailure;
    app::service_manager::TellReady();
    WaitForSignal(signals);
    app::service_manager::TellStopping();
    const result_t failure = service.Failure();
    if (!ULK_SUCCEEDED(failure))
        std::fprintf(stderr, "tesl-service: can't go on serving: %s\n", ulk::ResultText(failure).data());
    service.Stop();
    return ULK_SUCCEEDED(failure) ? app::ExitOk : app::ExitFailure;
}

} // namespace

int main(int argc, char** argv) {
    try {
        CLI::App line("The protection service of Tolvander Endpoint Security. Runs in the foreground until SIGTERM or "
                      "SIGINT.",
                      "tesl-service");
        line.set_version_flag("--version", std::string("tesl-service " TESL_VERSION));
        bool foreground = true;
        line.add_flag("--foreground", foreground, "stay in the foreground (always the case)");
        line.footer(
            "Exit codes: 0 stopped by a signal, 1 couldn't start or go on, 2 unknown option, 3 already running.");
        try {
            line.parse(argc, argv);
        } catch (const CLI::ParseError& e) {
            return line.exit(e) == 0 ? app::ExitOk : app::ExitUsage;
        }
        return Run();
    } catch (const std::exception& e) {
        std::fprintf(stderr, "tesl-service: %s\n", e.what());
        return app::ExitFailure;
    }
}
