// SPDX-License-Identifier: GPL-2.0-or-later
// tasks.json: what was kept over a restart, or a fresh beginning.
#include <service/tasks/kept_state.h>
#include <tests/fuzz/input.h>

void tfs::fuzz::Run(std::string_view input) {
    const MemoryFile file(input);
    const auto loaded = service::tasks::LoadKeptState(file.Path());
    Require(loaded.state.nextTaskId >= FirstTemporaryTaskId && loaded.state.nextRunId > 0);
    if (!loaded.problem.empty())
        Require(loaded.state.statistics.empty());
}
