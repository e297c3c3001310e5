// SPDX-License-Identifier: GPL-2.0-or-later
// Preloaded into a Qt Quick program: measures from the entry of main to the first frame that a window shows, without a
// line in the program itself. One line goes to the file that TESL_BENCH_REPORT names: milliseconds to the first frame,
// milliseconds of processor time to it on all threads, resident and anonymous memory in KiB at that frame, the same two
// once the window has stood for a while. After it the program is asked to end.
#include <QtCore/QCoreApplication>
#include <QtCore/QTimer>
#include <QtQuick/QQuickWindow>
#include <bench/gui/processor_time.h>
#include <bench/gui/window_finder.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fstream>
#include <string>

namespace {

using tfs::bench::ProcessorTime;
using Clock = std::chrono::steady_clock;
using Main = int(int, char**, char**);

/// By then the polls, the animations and the first answers of the service are over.
constexpr std::chrono::seconds SettlingTime(2);

Main* realMain = nullptr;
Clock::time_point mainEntered;
double processorAtMain = 0;

struct Memory {
    long resident = 0;
    long anonymous = 0;
};

Memory ReadMemory() {
    Memory memory;
    std::ifstream status("/proc/self/status");
    for (std::string name; status >> name;) {
        if (name == "VmRSS:")
            status >> memory.resident;
        else if (name == "RssAnon:")
            status >> memory.anonymous;
    }
    return memory;
}

void Report(double milliseconds, double processor, const Memory& atFrame, const Memory& settled) {
    const char* const path = std::getenv("TESL_BENCH_REPORT");
    std::FILE* const file = path != nullptr ? std::fopen(path, "we") : nullptr;
    if (file == nullptr)
        return;
    (void)std::fprintf(file, "%.3f %.3f %ld %ld %ld %ld\n", milliseconds, processor, atFrame.resident,
                       atFrame.anonymous, settled.resident, settled.anonymous);
    (void)std::fclose(file);
}

/// Waits for the first frame of a window. Lives on the GUI thread, as the application's child.
class FrameWatch : public QObject {
public:
    explicit FrameWatch(QQuickWindow& window) : QObject(QCoreApplication::instance()) {
        // On the thread that draws, which needn't be this one: the clock stops when the frame is out.
        m_connection = connect(
            &window, &QQuickWindow::frameSwapped, this, [this] { FrameShown(); }, Qt::DirectConnection);
    }

private:
    void FrameShown() {
        const std::chrono::duration<double, std::milli> passed = Clock::now() - mainEntered;
        const double processor = ProcessorTime() - processorAtMain;
        disconnect(m_connection);
        const Memory atFrame = ReadMemory();
        QTimer::singleShot(SettlingTime, Qt::PreciseTimer, QCoreApplication::instance(), [passed, processor, atFrame] {
            Report(passed.count(), processor, atFrame, ReadMemory());
            QCoreApplication::quit();
        });
    }

    QMetaObject::Connection m_connection;
};

void BeginWatching() {
    if (realMain == nullptr)
        return; // the program was begun another way: better no figures than wrong ones
    new tfs::bench::WindowFinder([](QQuickWindow& window) { new FrameWatch(window); });
}
Q_COREAPP_STARTUP_FUNCTION(BeginWatching)

int TimedMain(int argc, char** argv, char** environment) {
    processorAtMain = ProcessorTime();
    mainEntered = Clock::now();
    return realMain(argc, argv, environment);
}

} // namespace

/// In the C library's place: its own, with the program's main wrapped.
extern "C" [[gnu::visibility("default")]] int __libc_start_main(Main* main, int argc, char** argv, void (*init)(),
                                                                void (*fini)(), void (*loaderFini)(), void* stackEnd) {
    realMain = main;
    using Start = int(Main*, int, char**, void (*)(), void (*)(), void (*)(), void*);
    auto* const start = reinterpret_cast<Start*>(::dlsym(RTLD_NEXT, "__libc_start_main"));
    return start(&TimedMain, argc, argv, init, fini, loaderFini, stackEnd);
}
