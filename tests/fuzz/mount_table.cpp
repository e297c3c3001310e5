// SPDX-License-Identifier: GPL-2.0-or-later
// The mount table, into which users put names of their own by mounting.
#include <service/tasks/local_mounts.h>
#include <tests/fuzz/input.h>

void tfs::fuzz::Run(std::string_view input) {
    const std::vector<std::string> areas{"/", "/home/user"};
    const auto found = service::tasks::WithLocalMounts(areas, input);
    Require(found.size() >= areas.size() && std::equal(areas.begin(), areas.end(), found.begin()));
    for (const std::string& path : found)
        Require(path.starts_with('/'));
}
