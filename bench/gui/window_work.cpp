// SPDX-License-Identifier: GPL-2.0-or-later
// Preloaded into a Qt Quick program: measures what its window costs while nobody touches it, how smoothly pages come
// and go, and what it costs while it is hidden, and asks the program to end. TESL_BENCH_REPORT names the file for the
// figures, a line each: a name and a number. TESL_BENCH_SECONDS says for how long each state is watched, and
// TESL_BENCH_PAGE which page to open first.
#include <QtCore/QTimer>
#include <QtGui/QColor>
#include <QtQuick/QQuickItem>
#include <algorithm>
#include <bench/gui/processor_time.h>
#include <bench/gui/window_finder.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace {

using tfs::bench::ProcessorTime;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

/// By then the polls, the animations and the first answers of the service are over.
constexpr std::chrono::seconds SettlingTime(3);
/// A page slides for half a second; what comes with it follows.
constexpr std::chrono::milliseconds SlideTime(500);
constexpr std::chrono::milliseconds PauseTime(1000);
constexpr int Slides = 6;
constexpr int OtherSize = 16;

/// When frames came out. Drawn on another thread than is asked.
class Frames {
public:
    void Add() {
        const std::lock_guard lock(m_mutex);
        m_times.push_back(Clock::now());
    }
    std::vector<Clock::time_point> Take() {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_times, {});
    }

private:
    std::mutex m_mutex;
    std::vector<Clock::time_point> m_times;
};

/// Goes through the states one after the other. Lives on the GUI thread, as the application's child.
class Watch : public QObject {
public:
    explicit Watch(QQuickWindow& window)
        : QObject(QCoreApplication::instance()), m_window(window),
          m_file(std::fopen(std::getenv("TESL_BENCH_REPORT"), "we")),
          m_length(std::chrono::seconds(std::max(1, std::atoi(std::getenv("TESL_BENCH_SECONDS"))))) {
        connect(
            &window, &QQuickWindow::frameSwapped, this, [this] { m_frames.Add(); }, Qt::DirectConnection);
        After(SettlingTime, [this] { OpenPage(); });
    }

private:
    template <class Step>
    void After(std::chrono::milliseconds time, Step step) {
        QTimer::singleShot(time, Qt::PreciseTimer, this, step);
    }

    void Write(const char* name, double value) { (void)std::fprintf(m_file.get(), "%s %.3f\n", name, value); }

    /// A line for each item: its kind, its place in the window, its size, the radius of its corners, whether it has a
    /// border, and its colour. What isn't to be seen is a plain item.
    static void List(const QQuickItem& item, bool isSeen, std::ofstream& list) {
        const std::string name = item.metaObject()->className();
        isSeen = isSeen && item.isVisible() && item.opacity() > 0;
        const bool isShape = name == "QQuickText" || name == "QQuickImage" || item.inherits("QQuickRectangle");
        const QRectF area = item.mapRectToScene(QRectF(QPointF(), item.size()));
        const auto* const border = item.property("border").value<QObject*>();
        const bool hasBorder = border != nullptr && border->property("width").toReal() > 0 &&
                               border->property("color").value<QColor>().alpha() > 0;
        list << (!isShape || !isSeen                ? "QQuickItem"
                 : item.inherits("QQuickRectangle") ? "QQuickRectangle"
                                                    : name)
             << ' ' << area.x() << ' ' << area.y() << ' ' << area.width() << ' ' << area.height() << ' '
             << item.property("radius").toReal() << ' ' << hasBorder << ' '
             << item.property("color").value<QColor>().name(QColor::HexArgb).toStdString() << '\n';
        for (const QQuickItem* const child : item.childItems())
            List(*child, isSeen, list);
    }

    static QQuickItem* Find(QQuickItem& item, const QString& name) {
        if (item.objectName() == name)
            return &item;
        for (QQuickItem* const child : item.childItems())
            if (QQuickItem* const found = Find(*child, name))
                return found;
        return nullptr;
    }

    void OpenPage() {
        m_stack = Find(*m_window.contentItem(), QStringLiteral("stack"));
        const char* const page = std::getenv("TESL_BENCH_PAGE");
        if (m_stack != nullptr && page != nullptr)
            QMetaObject::invokeMethod(m_stack, "push", Q_ARG(QVariant, QString::fromLocal8Bit(page)));
        After(SettlingTime, [this] { Rest(); });
    }

    void Rest() {
        if (const char* const path = std::getenv("TESL_BENCH_ITEMS")) {
            std::ofstream list(path);
            List(*m_window.contentItem(), true, list);
        }
        Measure("rest", [this] { LoseActivity(); });
    }

    /// Another window becomes the active one: this one then repaints itself more often.
    void LoseActivity() {
        m_other.setGeometry(0, 0, OtherSize, OtherSize);
        m_other.show();
        m_other.requestActivate();
        After(PauseTime, [this] {
            Write("inactive", m_window.isActive() ? 0 : 1);
            Measure("inactive", [this] {
                m_other.hide();
                m_window.requestActivate();
                After(PauseTime, [this] { Slide(0); });
            });
        });
    }

    template <class Next>
    void Measure(const std::string& state, Next next) {
        (void)m_frames.Take();
        const double processor = ProcessorTime();
        const auto begin = Clock::now();
        After(m_length, [this, state, next, processor, begin] {
            const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
            Write((state + "_percent").c_str(), (ProcessorTime() - processor) / 10 / seconds);
            Write((state + "_frames").c_str(), static_cast<double>(m_frames.Take().size()) / seconds);
            next();
        });
    }

    void Slide(int done) {
        if (m_stack == nullptr || std::getenv("TESL_BENCH_PAGE") != nullptr || done == Slides) {
            m_window.hide();
            After(SettlingTime, [this] { Measure("hidden", [] { QCoreApplication::quit(); }); });
            return;
        }
        (void)m_frames.Take();
        const double processor = ProcessorTime();
        if (done % 2 == 0)
            QMetaObject::invokeMethod(m_stack, "push", Q_ARG(QVariant, QStringLiteral("ScanTasks")));
        else
            QMetaObject::invokeMethod(m_stack, "pop");
        After(SlideTime, [this, done, processor] {
            const auto times = m_frames.Take();
            double longest = 0;
            for (std::size_t i = 1; i < times.size(); ++i)
                longest = std::max(longest, Milliseconds(times[i] - times[i - 1]).count());
            Write("slide_frames", static_cast<double>(times.size()));
            Write("slide_gap", longest);
            Write("slide_processor", ProcessorTime() - processor);
            After(PauseTime, [this, done] { Slide(done + 1); });
        });
    }

    struct Close {
        void operator()(std::FILE* file) const { (void)std::fclose(file); }
    };

    QQuickWindow& m_window;
    QWindow m_other;
    std::unique_ptr<std::FILE, Close> m_file;
    std::chrono::milliseconds m_length;
    Frames m_frames;
    QQuickItem* m_stack = nullptr;
};

void BeginWatching() {
    if (std::getenv("TESL_BENCH_REPORT") != nullptr && std::getenv("TESL_BENCH_SECONDS") != nullptr)
        new tfs::bench::WindowFinder([](QQuickWindow& window) { new Watch(window); });
}
Q_COREAPP_STARTUP_FUNCTION(BeginWatching)

} // namespace
