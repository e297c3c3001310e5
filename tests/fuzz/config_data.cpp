// SPDX-License-Identifier: GPL-2.0-or-later
// tesl.ini: whatever stands in it, a usable configuration comes of it.
#include <tests/fuzz/input.h>
#include <tfs_common/config_data.h>

void tfs::fuzz::Run(std::string_view input) {
    const MemoryFile file(input);
    const auto config = tfs::loader::LoadConfigData(file.Path(), 1000);
    Require(config != nullptr);
    Require(config->scanMemoryLimit > 0 && config->watchdogPingTimeout >= 0);
    Require(config->logFolder == tfs::loader::LoadConfigData("", 1000)->logFolder);
}
