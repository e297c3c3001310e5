// SPDX-License-Identifier: GPL-2.0-or-later
// A wish to end the program that isn't lost where the event loop has yet to begin.
#pragma once

namespace tfs::gui {

/// Ends the event loop, or the next one where none runs. From any thread, at any time.
void RequestQuit();

/// Makes a request again that has come already. For the GUI thread right before the event loop: another loop that has
/// run during start-up may have swallowed it.
void RenewQuitRequest();

/// While it lives, requests reach the application that exists then.
class QuitTarget {
public:
    QuitTarget();
    ~QuitTarget();
    QuitTarget(const QuitTarget&) = delete;
    QuitTarget& operator=(const QuitTarget&) = delete;
};

} // namespace tfs::gui
