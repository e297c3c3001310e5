// SPDX-License-Identifier: GPL-2.0-or-later
// Scans folders through the service's scanner and says how long it took: bench_scan SCANNER BASES TEMPORARY PATH...
#include <service/scan/scan_run.h>
#include <service/scan/scanner_service.h>

#include <chrono>
#include <cstdio>
#include <exception>
#include <string>

namespace {

using namespace tfs::service::scan;

class Listener final : public IScanObserver {
public:
    void OnThreat(const ThreatFound& threat) override {
        std::fprintf(stderr, "threat: %s [%s] %s\n", threat.path.c_str(), threat.innerName.c_str(),
                     threat.detectName.c_str());
    }
    void OnNotProcessed(const NotProcessed& object) override {
        std::fprintf(stderr, "not processed: %s: %s (%s)\n", object.path.c_str(), ReasonText(object.reason),
                     object.detail.c_str());
    }
    void OnProgress(const ScanProgress&) override {}
};

int Measure(int argc, char** argv) {
    if (argc < 5) {
        std::fprintf(stderr, "usage: bench_scan SCANNER BASES TEMPORARY PATH...\n");
        return 2;
    }
    ScannerConfig config;
    config.program = argv[1];
    config.basesFolder = argv[2];
    config.temporaryFolder = argv[3];
    ScannerService scanner(config, {});
    if (ULK_FAILED(scanner.Start())) {
        std::fprintf(stderr, "scanner: %s\n", scanner.State().error.c_str());
        return 1;
    }
    Listener listener;
    ScanOptions options;
    options.areas.assign(argv + 4, argv + argc);
    const auto begin = std::chrono::steady_clock::now();
    const ScanResult result = MakeScanRun(scanner, options, listener)->Run();
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    const ScanProgress& counters = result.counters;
    std::printf("seconds=%.4f files=%llu bytes=%llu threats=%llu notprocessed=%llu skipped=%llu completed=%d\n",
                seconds, static_cast<unsigned long long>(counters.scannedObjects),
                static_cast<unsigned long long>(counters.scannedBytes),
                static_cast<unsigned long long>(counters.threats),
                static_cast<unsigned long long>(counters.notProcessed),
                static_cast<unsigned long long>(counters.skipped), result.end == ScanEnd::Completed ? 1 : 0);
    return result.end == ScanEnd::Completed ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return Measure(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_scan: %s\n", error.what());
        return 1;
    }
}
