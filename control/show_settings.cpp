// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/escape.h>
#include <control/show_settings.h>
#include <tfs_common/settings_tools.h>
#include <tfs_common/translator.h>

#include <algorithm>
#include <fstream>
#include <sstream>

namespace tfs::control {
namespace {

namespace entry = localization::entry;
using settings::ChangeItem;

const ChangeItem& Find(const std::vector<ChangeItem>& items, const std::string& key) {
    const auto found =
        std::find_if(items.begin(), items.end(), [&key](const ChangeItem& item) { return item.key == key; });
    if (found == items.end())
        throw Failure(
            ExitCode::InvalidSettings,
            localization::Format(localization::GetLocalizedString(entry::UnknownSettings1), EscapeForTerminal(key)));
    return *found;
}

/// Read back it must be the same, or a file would quietly change the setting.
void CheckLine(const ChangeItem& item) {
    std::istringstream line(item.key + '=' + item.value + '\n');
    settings::SettingsChangeList read;
    try {
        tools::ReadIniImpl(nullptr, line, {}, read);
    } catch (const std::out_of_range&) { // too long a line
    }
    if (read.items != std::vector<ChangeItem>{item})
        throw Failure(ExitCode::InvalidSettings,
                      "The value of setting '" + EscapeForTerminal(item.key) + "' cannot be kept in a file.");
}

void WriteSettings(const std::vector<ChangeItem>& items, const std::string& file) {
    for (const ChangeItem& item : items)
        CheckLine(item);
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    for (const ChangeItem& item : items)
        out << item.key << '=' << item.value << '\n';
    out.close();
    if (!out)
        throw Failure(
            ExitCode::OutputFailed,
            localization::Format(localization::GetLocalizedString(entry::CannotWriteToFile), EscapeForTerminal(file)));
}

} // namespace

void ShowSettings(const CommandContext& context, const std::vector<ChangeItem>& all,
                  const std::vector<std::string>& keys, const std::string& file) {
    std::vector<ChangeItem> wanted;
    for (const std::string& key : keys)
        wanted.push_back(Find(all, key));
    const std::vector<ChangeItem>& told = keys.empty() ? all : wanted;
    if (file.empty()) {
        context.reporter.SettingsTold(told);
        return;
    }
    WriteSettings(told, file);
    context.reporter.SettingsWritten(file);
}

} // namespace tfs::control
