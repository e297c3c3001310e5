// SPDX-License-Identifier: GPL-2.0-or-later
// Measures calls and events through the remoting against bare Cap'n Proto. Ends with 1 where a goal is missed.
#include <algorithm>
#include <bench/remoting/bench_service.h>
#include <bench/remoting/measured.h>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <vector>

namespace {

using namespace tfs::bench;
using Clock = std::chrono::steady_clock;

double Seconds(Clock::duration time) { return std::chrono::duration<double>(time).count(); }

double Median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

void MeasureCalls(ICallPath& path, unsigned count, std::vector<double>& microseconds) {
    for (; count > 0; --count) {
        const auto start = Clock::now();
        path.Call();
        microseconds.push_back(1e6 * Seconds(Clock::now() - start));
    }
}

bool CompareCalls(const std::string& served, const std::string& bare) {
    const auto proxies = ThroughProxies(served);
    const auto direct = Directly(bare);
    std::vector<double> warmUp;
    MeasureCalls(*proxies, 500, warmUp);
    MeasureCalls(*direct, 500, warmUp);
    std::vector<double> ours;
    std::vector<double> theirs;
    for (int round = 0; round < 20; ++round) {
        MeasureCalls(*proxies, 500, ours);
        MeasureCalls(*direct, 500, theirs);
    }
    const double ratio = Median(ours) / Median(theirs);
    std::printf("call, median:    proxies %.1f us, direct %.1f us, ratio %.2f (goal: at most 1.30)\n", Median(ours),
                Median(theirs), ratio);
    return ratio <= 1.3;
}

double EventsPerSecond(ICallPath& path, const std::function<void()>& publish) {
    std::vector<double> rates;
    for (int round = 0; round < 3; ++round) {
        const auto start = Clock::now();
        path.ReceiveEvents(publish);
        rates.push_back(EventCount / Seconds(Clock::now() - start));
    }
    return Median(rates);
}

bool CompareEvents(const ChildProcess& service, const std::string& served, const std::string& bare,
                   const std::string& bareBatches, const char* name) {
    const double ours = EventsPerSecond(*ThroughProxies(served), [&] { service.Publish(); });
    const double single = EventsPerSecond(*Directly(bare), [] {});
    const double batches = EventsPerSecond(*Directly(bareBatches), [] {});
    const double ratio = ours / single;
    std::printf("%s %.0f/s, bare %.0f/s, ratio %.2f (goal: at least 0.70); bare in batches of 100: %.0f/s\n", name,
                ours, single, ratio, batches);
    return ratio >= 0.7;
}

bool Run(const std::string& folder) {
    const std::string served = folder + "/served";
    const std::string bare = folder + "/bare";
    const std::string bareBatches = folder + "/batches";
    const ChildProcess service("--serve", served);
    const ChildProcess bareService("--bare", bare);
    const ChildProcess bareBatchesService("--bare-batches", bareBatches);
    bool good = CompareCalls(served, bare);
    good = CompareEvents(service, served, bare, bareBatches, "events:         ") && good;
    const long before = service.Memory("VmRSS");
    {
        const ChildProcess stuck("--stuck", served);
        good = CompareEvents(service, served, bare, bareBatches, "with one stuck: ") && good;
    }
    const long peak = service.Memory("VmHWM");
    const bool flat = peak <= before + 4096;
    std::printf("service memory:  %ld kB after 300,000 events, peak %ld kB after 600,000 with one stuck: %s\n", before,
                peak, flat ? "flat" : "NOT flat");
    return good && flat;
}

} // namespace

int main(int argc, char** argv) {
    try {
        if (argc == 3 && std::strcmp(argv[1], "--serve") == 0)
            return RunService(argv[2]);
        if (argc == 3 && std::strcmp(argv[1], "--bare") == 0)
            return RunBareService(argv[2], 1);
        if (argc == 3 && std::strcmp(argv[1], "--bare-batches") == 0)
            return RunBareService(argv[2], 100);
        if (argc == 3 && std::strcmp(argv[1], "--stuck") == 0)
            return RunStuckSubscriber(argv[2]);
        if (argc != 1) {
            std::fputs("usage: remoting_bench\n", stderr);
            return 2;
        }
        std::string folder = (std::filesystem::temp_directory_path() / "remoting-bench-XXXXXX").string();
        if (::mkdtemp(folder.data()) == nullptr)
            throw std::runtime_error("mkdtemp");
        const bool good = Run(folder);
        std::filesystem::remove_all(folder);
        return good ? 0 : 1;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "remoting_bench: %s\n", e.what());
        return 1;
    }
}
