// SPDX-License-Identifier: GPL-2.0-or-later
// Settings files and the lists of changes that they make: applied wholly or not at all, and what has been applied can
// be told and applied again.
#include <foundation/check.h>
#include <tests/fuzz/input.h>
#include <tfs_common/settings_tools.h>

#include <sstream>
#include <stdexcept>

namespace {

using tfs::settings::AppSettings;
using tfs::settings::SettingsChangeList;
using ulk::types::any_struct_t;
using Messages = ulk::types::vector_t<tfs::settings::ValidationMessage>;

bool ReadList(std::string_view input, SettingsChangeList& list) {
    try {
        std::istringstream stream{std::string(input)};
        tfs::tools::ReadIniImpl(nullptr, stream, {}, list);
        return true;
    } catch (const std::out_of_range&) {
        tfs::fuzz::Require(list.items.empty());
        return false;
    }
}

any_struct_t Defaults() {
    any_struct_t holder;
    holder.Set(AppSettings());
    return holder;
}

void ApplyAgain(const any_struct_t& updated) {
    SettingsChangeList told;
    told.typeNumber = AppSettings::TypeNumber;
    told.items = tfs::tools::ListSettings(nullptr, updated);
    Messages messages;
    any_struct_t again;
    tfs::fuzz::Require(ULK_SUCCEEDED(tfs::tools::UpdateSettings(nullptr, Defaults(), told, messages, again)));
    tfs::fuzz::Require(*again.Get<AppSettings>() == *updated.Get<AppSettings>());
}

} // namespace

void tfs::fuzz::Run(std::string_view input) {
    SettingsChangeList list;
    list.typeNumber = AppSettings::TypeNumber;
    if (!ReadList(input, list))
        return;
    Messages messages;
    any_struct_t updated;
    const result_t result = tools::UpdateSettings(nullptr, Defaults(), list, messages, updated);
    Require(ULK_SUCCEEDED(result) != updated.empty());
    Require(messages.size() <= tools::GreatestMessageCount);
    Messages found;
    Require((tools::ValidateChangeList(nullptr, Defaults(), list, found) == ulk::sOk) == ULK_SUCCEEDED(result));
    if (!updated.empty())
        ApplyAgain(updated);
}
