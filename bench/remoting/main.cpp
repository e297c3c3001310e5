// SPDX-License-Identifier: GPL-2.0-or-later
// Measures calls and events through the remoting against bare Cap'n Proto. Ends with 1 where a goal is missed.
#include <algorithm>
#include <bench/remoting/bench_feed.h>
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

/// Deliveries a second, of all subscribers together.
void MeasureEvents(ICallPath& path, const ChildProcess& service, std::size_t subscribers, std::vector<double>& rates) {
    std::size_t deliveries = 0;
    for (std::size_t i = 0; i < subscribers; ++i)
        deliveries += PassingFilter(i);
    const auto start = Clock::now();
    path.ReceiveEvents(subscribers, [&service] { service.Publish(); });
    rates.push_back(static_cast<double>(deliveries) / Seconds(Clock::now() - start));
}

struct Side {
    const ChildProcess& process;
    const std::string& socketPath;
};

bool CompareEvents(const Side& served, const Side& bare, std::size_t subscribers, const char* name) {
    const auto proxies = ThroughProxies(served.socketPath);
    const auto direct = Directly(bare.socketPath);
    std::vector<double> ours;
    std::vector<double> theirs;
    for (int round = 0; round < 7; ++round) {
        MeasureEvents(*proxies, served.process, subscribers, ours);
        MeasureEvents(*direct, bare.process, subscribers, theirs);
    }
    const double ratio = Median(ours) / Median(theirs);
    std::printf("%s %.0f/s, bare %.0f/s, ratio %.2f (goal: at least 0.70)\n", name, Median(ours), Median(theirs),
                ratio);
    return ratio >= 0.7;
}

/// With a ring that the events don't fit into and a subscriber that never takes one.
bool MemoryStaysFlat(const std::string& socketPath) {
    const ChildProcess service("--serve-small", socketPath);
    const auto path = ThroughProxies(socketPath);
    path->ReceiveEvents(1, [&service] { service.Publish(); });
    const long before = service.Memory("VmRSS");
    const ChildProcess stuck("--stuck", socketPath);
    for (int round = 0; round < 3; ++round)
        path->ReceiveEvents(1, [&service] { service.Publish(); });
    const long peak = service.Memory("VmHWM");
    const bool flat = peak <= before + 4096;
    std::printf("service memory:  %ld kB after 100,000 events, peak %ld kB after 400,000 with one stuck: %s\n", before,
                peak, flat ? "flat" : "NOT flat");
    return flat;
}

bool Run(const std::string& folder) {
    const std::string served = folder + "/served";
    const std::string bare = folder + "/bare";
    const ChildProcess service("--serve", served);
    const ChildProcess bareService("--bare", bare);
    bool good = CompareCalls(served, bare);
    good = CompareEvents({service, served}, {bareService, bare}, 1, "one subscriber:  ") && good;
    good = CompareEvents({service, served}, {bareService, bare}, 10, "ten subscribers: ") && good;
    return MemoryStaysFlat(folder + "/small") && good;
}

} // namespace

int main(int argc, char** argv) {
    try {
        if (argc == 3 && std::strcmp(argv[1], "--serve") == 0)
            return RunService(argv[2], EventCount);
        if (argc == 3 && std::strcmp(argv[1], "--serve-small") == 0)
            return RunService(argv[2], 8192);
        if (argc == 3 && std::strcmp(argv[1], "--bare") == 0)
            return RunBareService(argv[2]);
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
