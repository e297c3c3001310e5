// SPDX-License-Identifier: GPL-2.0-or-later
// A program that has the catalogue of texts and the tables of values, and does nothing with them.
#include <contract/tfs/value_tables.h>
#include <tfs_common/setting_keys.h>
#include <tfs_common/translator.h>

#include <iterator>

int main() {
    using namespace tfs;
    const bool hasAll = !localization::GetLocalizedString(0).empty() && types::FindTable("EventName") != nullptr &&
                        std::size(settings::SettingKeys) > 0 && localization::GetPluralFormIndex(1) == 0;
    return hasAll ? 0 : 1;
}
