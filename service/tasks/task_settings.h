// SPDX-License-Identifier: GPL-2.0-or-later
// What settings of tasks must be to be of use, beyond what each single value may be. Pure, any thread.
#pragma once

#include <contract/tfs/settings.h>
#include <contract/tfs/tasks.h>

#include <string>
#include <string_view>
#include <vector>

namespace tfs::service::tasks {

using ValidationMessages = std::vector<tfs::settings::ValidationMessage>;

/// A line for each fault of the settings of a task of that type; none where they are good. Whether a path exists is
/// seen when the task runs.
ValidationMessages FaultsOf(const ulk::types::any_struct_t& settings, std::u16string_view taskType);

/// `settings` with the list applied, tested as a whole. sOk, sInvalidSettings with a line for each fault, or
/// eInvalidType for a list of other settings; `updated` is as before then.
result_t ChangeSettings(const ulk::types::any_struct_t& settings, std::u16string_view taskType,
                        const tfs::settings::SettingsChangeList& changes, ValidationMessages& messages,
                        ulk::types::any_struct_t& updated);

/// "key=value, key=value" of what `after` has and `before` hasn't.
std::string DescribeChanges(const std::vector<tfs::settings::ChangeItem>& before,
                            const std::vector<tfs::settings::ChangeItem>& after);

} // namespace tfs::service::tasks
