// SPDX-License-Identifier: GPL-2.0-or-later
// What posix_spawn is given.
#pragma once

#include <csignal>
#include <spawn.h>
#include <string>
#include <vector>

namespace ulk {

/// Made and removed in pairs, so that no way out forgets one. The child begins with no signal blocked and none ignored.
struct SpawnSettings {
    /// `flags` stand beside those for the signals.
    explicit SpawnSettings(short flags) {
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawnattr_init(&attributes);
        ::posix_spawnattr_setflags(&attributes,
                                   static_cast<short>(POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | flags));
        sigset_t signals;
        sigemptyset(&signals);
        ::posix_spawnattr_setsigmask(&attributes, &signals);
        sigfillset(&signals);
        ::posix_spawnattr_setsigdefault(&attributes, &signals);
    }
    ~SpawnSettings() {
        ::posix_spawn_file_actions_destroy(&actions);
        ::posix_spawnattr_destroy(&attributes);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
};

/// The texts as exec wants them, with a null pointer behind the last. Valid as long as the texts are.
inline std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace ulk
