// SPDX-License-Identifier: GPL-2.0-or-later
// When the program takes SIGINT, SIGTERM and SIGUSR1, whose handler calls Qt: never in the middle of anything.
#pragma once

#include <QtCore/QSocketNotifier>
#include <memory>

namespace tfs::gui {

/// Holds the three back from the calling thread and from every thread that it starts. For main's first step: what comes
/// from then on waits for the event loop. A child made by fork has the mask of before again.
void HoldSignals();

/// Undoes it before another program is executed in this one's place. A SIGINT or SIGTERM that still waits ends the
/// process here; SIGUSR1 is ignored from here on, so that a second start can't kill the new program before it listens.
void ReleaseSignals() noexcept;

/// Lets the held signals in, one after the other, on the GUI thread between two events of its loop; the handlers still
/// run in signal context. Nests into the event loop by a descriptor that tells of waiting signals and isn't read:
/// neither of Qt's dispatchers announces the end of its waiting before it has handled events. Made after the handlers
/// are installed; throws ulk::CheckResultFailedException where there is no descriptor to be had.
class SignalWindow {
public:
    SignalWindow();
    ~SignalWindow();
    SignalWindow(const SignalWindow&) = delete;
    SignalWindow& operator=(const SignalWindow&) = delete;

private:
    int m_descriptor;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace tfs::gui
