// SPDX-License-Identifier: GPL-2.0-or-later
// The service's settings in the test's own process: answers what it is told to and keeps what it was asked.
#pragma once

#include <contract/tfs/settings.h>
#include <foundation/object.h>

#include <vector>

namespace tfs::control::test {

class FakeSettings : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, IAppSettingsHandler> {
public:
    settings::AppSettings settings;
    result_t setResult = ulk::sOk;
    std::vector<settings::ValidationMessage> messages;
    std::vector<settings::SettingsChangeList> asked;
    bool acceptedTsn = false;

    result_t GetAppSettings(ulk::types::any_struct_t& holder) override {
        holder.Set(settings);
        return ulk::sOk;
    }
    result_t SetAppSettings(const settings::SettingsChangeList& changes,
                            ulk::types::vector_t<settings::ValidationMessage>& told, bool acceptTsn) override {
        asked.push_back(changes);
        acceptedTsn = acceptTsn;
        told = messages;
        return setResult;
    }
};

} // namespace tfs::control::test
