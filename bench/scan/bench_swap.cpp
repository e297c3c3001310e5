// SPDX-License-Identifier: GPL-2.0-or-later
// How long a verdict takes while one signature set is exchanged for another, and while none is:
// bench_swap SCANNER FIRST-BASES SECOND-BASES TEMPORARY FILE SWAPS
#include <service/scan/dispatcher.h>
#include <service/scan/scanner_service.h>

#include <algorithm>
#include <atomic>
#include <bench/median.h>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <future>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace tfs::service::scan;
using namespace std::chrono_literals;

/// Asks for one file at a time, as somebody does who opens files, and waits for each verdict.
class Asker final : public IScanClient {
public:
    void OnVerdict(std::uint64_t token, FileVerdict verdict) override {
        const std::lock_guard lock(m_mutex);
        m_answered = token;
        m_isClean = verdict.code == VerdictCode::Clean;
        m_changed.notify_one();
    }
    void OnBytes(std::uint64_t, std::uint64_t) override {}

    void Ask(ScannerService::Impl& scanner, const std::shared_ptr<ClientState>& client, const std::string& path) {
        FileJob job;
        job.token = ++m_asked;
        job.size = std::filesystem::file_size(path);
        job.file.Reset(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
        if (!job.file || !scanner.Submit(client, std::move(job)))
            throw std::runtime_error("the file can't be scanned");
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_answered == m_asked; });
        if (!m_isClean)
            throw std::runtime_error("the file isn't clean");
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::uint64_t m_asked = 0;
    std::uint64_t m_answered = 0;
    bool m_isClean = false;
};

void Print(const char* name, std::vector<double>& times) {
    std::sort(times.begin(), times.end());
    std::printf("%s_verdicts=%zu %s_median_ms=%.3f %s_p999_ms=%.3f %s_worst_ms=%.3f\n", name, times.size(), name,
                times[times.size() / 2], name, times[times.size() * 999 / 1000], name, times.back());
}

int Measure(char** argv) {
    ScannerConfig config;
    config.program = argv[1];
    config.basesFolder = argv[2];
    config.temporaryFolder = argv[4];
    const std::string folders[] = {argv[3], argv[2]};
    const int swaps = std::atoi(argv[6]);
    ScannerService scanner(config, {});
    if (ULK_FAILED(scanner.Start()))
        throw std::runtime_error("scanner: " + scanner.State().error);
    const auto asker = std::make_shared<Asker>();
    const auto client = scanner.Inner()->Attach(asker);
    std::vector<double> usual;
    std::vector<double> during;
    const auto ask = [&] { return tfs::bench::MillisecondsOf([&] { asker->Ask(*scanner.Inner(), client, argv[5]); }); };
    for (int i = 0; i < 200; ++i) // the workers get ready
        ask();
    for (int swap = 0; swap < swaps; ++swap) {
        std::string why;
        auto replaced = std::async(std::launch::async, [&] { return scanner.Replace(folders[swap % 2], {}, why); });
        const auto begin = std::chrono::steady_clock::now();
        while (replaced.wait_for(0s) != std::future_status::ready)
            during.push_back(ask());
        if (ULK_FAILED(replaced.get()))
            throw std::runtime_error("the signatures can't be exchanged: " + why);
        // The old scanner goes meanwhile, which is part of the exchange too.
        const auto length = std::chrono::steady_clock::now() - begin;
        for (const auto end = begin + length * 5 / 4; std::chrono::steady_clock::now() < end;)
            during.push_back(ask());
        for (const auto end = std::chrono::steady_clock::now() + length; std::chrono::steady_clock::now() < end;)
            usual.push_back(ask());
    }
    Print("usual", usual);
    Print("swap", during);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        if (argc == 7)
            return Measure(argv);
        std::fprintf(stderr, "usage: bench_swap SCANNER FIRST-BASES SECOND-BASES TEMPORARY FILE SWAPS\n");
        return 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_swap: %s\n", error.what());
        return 1;
    }
}
