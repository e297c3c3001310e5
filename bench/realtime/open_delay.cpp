// SPDX-License-Identifier: GPL-2.0-or-later
// How long it takes to open a file, or to start a program: open_delay open|exec ROUNDS PATH...
// Prints median and 99th percentile in microseconds of all paths in all rounds.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

bool Open(const char* path) {
    const int file = ::open(path, O_RDONLY | O_CLOEXEC);
    if (file >= 0)
        ::close(file);
    return file >= 0;
}

bool Start(const char* path) {
    char name[] = "program";
    char* const arguments[] = {name, nullptr};
    pid_t process = -1;
    int status = 0;
    return ::posix_spawn(&process, path, nullptr, nullptr, arguments, environ) == 0 &&
           ::waitpid(process, &status, 0) == process && status == 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 4)
        return 2;
    const bool opens = std::strcmp(argv[1], "open") == 0;
    const int rounds = std::atoi(argv[2]);
    std::vector<double> times;
    for (int round = 0; round < rounds; ++round) {
        for (int i = 3; i < argc; ++i) {
            const auto begin = std::chrono::steady_clock::now();
            if (!(opens ? Open(argv[i]) : Start(argv[i]))) {
                std::perror(argv[i]);
                return 1;
            }
            times.push_back(
                std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count());
        }
    }
    std::sort(times.begin(), times.end());
    std::printf("%.2f %.2f\n", times[times.size() / 2], times[times.size() * 99 / 100]);
    return 0;
}
