// SPDX-License-Identifier: GPL-2.0-or-later
// service.json: settings that hold together, from the file or by default, and that can be written as they are.
#include <service/settings/service_settings.h>
#include <service/settings/settings_json.h>
#include <tests/fuzz/input.h>

void tfs::fuzz::Run(std::string_view input) {
    using namespace tfs::service::settings;
    const MemoryFile file(input);
    const LoadedSettings loaded = LoadSettings(file.Path());
    Require(ValidateSettings(loaded.settings).empty());
    Require(loaded.origin != SettingsOrigin::Missing);
    Require((loaded.origin == SettingsOrigin::File) == loaded.problem.empty());
    if (loaded.origin == SettingsOrigin::File)
        Require(ParseSettings(FormatSettings(loaded.settings)) == loaded.settings);
    else
        Require(loaded.settings == ServiceSettings());
}
