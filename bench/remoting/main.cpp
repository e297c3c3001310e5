// SPDX-License-Identifier: GPL-2.0-or-later
// Measures calls and events through the remoting against bare Cap'n Proto. Ends with 1 where a goal is missed.
#include <algorithm>
#include <bench/remoting/bench_events.h>
#include <bench/remoting/bench_service.h>
#include <bench/remoting/measured.h>
#include <bench/verdict.h>
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

constexpr int Rounds = 7;

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
    for (int round = 0; round < 200; ++round) {
        MeasureCalls(*proxies, 50, ours);
        MeasureCalls(*direct, 50, theirs);
    }
    const double ratio = Median(ours) / Median(theirs);
    std::printf("call, median:             proxies %.1f us, direct %.1f us, ratio %.2f (goal: at most 1.30)\n",
                Median(ours), Median(theirs), ratio);
    return ratio <= 1.3;
}

struct Side {
    const ChildProcess& process;
    const std::string& socketPath;
};

/// Of all subscribers together, for EventCount events.
double Deliveries(std::size_t subscribers) {
    std::size_t deliveries = 0;
    for (std::size_t i = 0; i < subscribers; ++i)
        deliveries += PassingFilter(i);
    return static_cast<double>(deliveries);
}

/// From the first publication until the last subscriber has all its events, in seconds.
double MeasureEvents(ICallPath& path, const ChildProcess& service, std::size_t subscribers, Command publish) {
    service.Tell(Command::Prepare);
    Clock::time_point start;
    path.ReceiveEvents(subscribers, [&] {
        start = Clock::now();
        service.Tell(publish);
    });
    return Seconds(Clock::now() - start);
}

bool TellRates(const char* name, std::size_t subscribers, double ours, const char* reference, double theirs) {
    const double deliveries = Deliveries(subscribers);
    const double ratio = theirs / ours;
    std::printf("%s %.0f/s, %s %.0f/s, ratio %.2f (goal: at least 0.70)\n", name, deliveries / ours, reference,
                deliveries / theirs, ratio);
    std::fflush(stdout);
    return ratio >= 0.7;
}

/// What the bus carries that it need not store.
bool CompareEvents(const Side& served, const Side& bare, std::size_t subscribers, const char* name) {
    const auto proxies = ThroughProxies(served.socketPath);
    const auto direct = Directly(bare.socketPath);
    std::vector<double> ours;
    std::vector<double> theirs;
    for (int round = 0; round < Rounds; ++round) {
        ours.push_back(MeasureEvents(*proxies, served.process, subscribers, Command::PublishTransient));
        theirs.push_back(MeasureEvents(*direct, bare.process, subscribers, Command::PublishStored));
    }
    return TellRates(name, subscribers, Median(ours), "bare", Median(theirs));
}

/// What it stores as well, of which more is published at once than its ring holds. Beside it stands as much work with
/// nothing between: the storing alone, and then the bare calls.
bool CompareStoredEvents(const Side& served, const Side& bare, std::size_t subscribers, const char* name) {
    const auto proxies = ThroughProxies(served.socketPath);
    const auto direct = Directly(bare.socketPath);
    std::vector<double> ours;
    std::vector<double> theirs;
    for (int round = 0; round < Rounds; ++round) {
        served.process.Tell(Command::Settle);
        ours.push_back(MeasureEvents(*proxies, served.process, subscribers, Command::PublishStored));
        served.process.Tell(Command::Settle);
        served.process.Tell(Command::Prepare);
        const auto start = Clock::now();
        served.process.Tell(Command::PublishStored);
        served.process.Tell(Command::Settle);
        const double storing = Seconds(Clock::now() - start);
        theirs.push_back(storing + MeasureEvents(*direct, bare.process, subscribers, Command::PublishStored));
    }
    return TellRates(name, subscribers, Median(ours), "storing, then bare", Median(theirs));
}

/// Of a service that stores what it carries, while one of its subscribers never takes an event.
bool MemoryStaysFlat(const std::string& socketPath) {
    constexpr long Leeway = 4096;
    const ChildProcess service("--serve", socketPath);
    const auto path = ThroughProxies(socketPath);
    const auto carry = [&] { path->ReceiveEvents(1, [&service] { service.Tell(Command::PublishStored); }); };
    carry();
    const long before = service.Memory("VmHWM");
    const ChildProcess stuck("--stuck", socketPath);
    for (int round = 0; round < 4; ++round)
        carry();
    const long peak = service.Memory("VmHWM");
    std::printf("service memory:           peak %ld kB of 100,000 events, %ld kB of 400,000 more with one subscriber "
                "stuck (goal: at most %ld kB more)\n",
                before, peak, Leeway);
    return peak <= before + Leeway;
}

bool Run(const std::string& folder) {
    const std::string served = folder + "/served";
    const std::string storing = folder + "/storing";
    const std::string bare = folder + "/bare";
    const ChildProcess service("--serve-all", served);
    const ChildProcess storingService("--serve", storing);
    const ChildProcess bareService("--bare", bare);
    const Side ours{service, served};
    const Side oursStoring{storingService, storing};
    const Side theirs{bareService, bare};
    bool good = CompareCalls(served, bare);
    good = CompareEvents(ours, theirs, 1, "one subscriber:          ") && good;
    good = CompareEvents(ours, theirs, 10, "ten subscribers:         ") && good;
    good = CompareStoredEvents(oursStoring, theirs, 1, "stored, one subscriber:  ") && good;
    good = CompareStoredEvents(oursStoring, theirs, 10, "stored, ten subscribers: ") && good;
    return MemoryStaysFlat(folder + "/small") && good;
}

} // namespace

int main(int argc, char** argv) {
    try {
        if (argc == 3 && std::strcmp(argv[1], "--serve") == 0)
            return RunService(argv[2], 0);
        if (argc == 3 && std::strcmp(argv[1], "--serve-all") == 0)
            return RunService(argv[2], EventCount);
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
        return TellVerdict(good);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "remoting_bench: %s\n", e.what());
        return 1;
    }
}
