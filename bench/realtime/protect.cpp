// SPDX-License-Identifier: GPL-2.0-or-later
// Protects a folder in real time until its standard input ends: protect SCANNER BASES MODE FOLDER. Says "ready" on
// standard output when it does, and its counters at the end.
#include <service/realtime/realtime_run.h>

#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <thread>

namespace {

using namespace tfs;
namespace tasks = service::tasks;

class Engine final : public tasks::IScanEngine {
public:
    explicit Engine(std::shared_ptr<service::scan::ScannerService> scanner) : m_scanner(std::move(scanner)) {}
    result_t WaitUntilReady(const std::function<bool()>&, std::string&) override { return ulk::sOk; }
    std::shared_ptr<service::scan::ScannerService> Scanner() const override { return m_scanner; }
    std::unique_ptr<service::scan::IScanRun> MakeRun(tasks::ScanKind, service::scan::ScanOptions options,
                                                     service::scan::IScanObserver& observer) override {
        return service::scan::MakeScanRun(*m_scanner, std::move(options), observer);
    }

private:
    std::shared_ptr<service::scan::ScannerService> m_scanner;
};

class Host final : public tasks::IRunHost {
public:
    void OnRunBegun(const tasks::TaskIdentity&) override {
        std::puts("ready");
        std::fflush(stdout);
    }
    void OnRunCounters(const tasks::TaskIdentity&, const ScanStatistic& counters, std::uint64_t) override {
        m_counters = counters;
    }
    void OnRunProgress(const tasks::TaskIdentity&, const tasks::RunProgress&) override {}
    void OnRunCheckpoint(const tasks::TaskIdentity&, const std::string&, const ScanStatistic&, std::uint64_t) override {
    }
    void OnRunEnded(const tasks::TaskIdentity&, const tasks::RunOutcome& outcome) override {
        std::printf("scanned=%llu letthrough=%llu %s\n", static_cast<unsigned long long>(m_counters.scannedObjects),
                    static_cast<unsigned long long>(m_counters.skippedObjects), outcome.error.c_str());
    }
    void PublishFinding(Event) override {}
    void PublishProgress(Event) override {}

private:
    ScanStatistic m_counters;
};

int Protect(int argc, char** argv) {
    if (argc != 5) {
        std::fprintf(stderr, "usage: protect SCANNER BASES MODE FOLDER\n");
        return 2;
    }
    service::scan::ScannerConfig config;
    config.program = argv[1];
    config.basesFolder = argv[2];
    config.settleSeconds = 1;
    auto scanner = std::make_shared<service::scan::ScannerService>(config, ulk::Ptr<ulk::ITracer>());
    if (ULK_FAILED(scanner->Start())) {
        std::fprintf(stderr, "scanner: %s\n", scanner->State().error.c_str());
        return 1;
    }
    FileMonitoringSettings settings;
    settings.areas = {argv[4]};
    settings.actionOnThreat = types::ThreatAction::Block;
    settings.mode = std::string(argv[3]) == "Open" ? types::FileScanMode::Open : types::FileScanMode::SmartCheck;
    tasks::RunOrder order;
    order.settings.Set(settings);
    Engine engine(scanner);
    Host host;
    service::realtime::RealtimeRun run(std::move(order), {}, engine, host);
    std::thread worker([&] { run.Execute(); });
    while (std::getchar() != EOF) {
    }
    run.Stop();
    worker.join();
    scanner->Stop();
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return Protect(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
