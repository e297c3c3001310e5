// SPDX-License-Identifier: GPL-2.0-or-later
// One run of the update task: fetch, compare, keep, test by loading and swap, adopt.
#pragma once

#include <foundation/sync.h>
#include <service/update/bases_task_run.h>
#include <service/update/update_source.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tfs::service::update {

/// Settings are an UpdateSettings, or absent for the defaults. Whatever fails, the set in use stays.
class UpdateRun final : public BasesTaskRun {
public:
    using BasesTaskRun::BasesTaskRun;
    static bool Accepts(const ulk::types::any_struct_t& settings, std::string& problem);
    void Stop() noexcept override;

private:
    bool Prepare() override;
    End Work(SignatureSets& sets) override;

    FetchResult FetchFromAny(SignatureSets& sets, std::string& folder);
    FetchResult Fetch(SignatureSets& sets, const UpdateSource& source, std::string& folder);
    Event MakeFailure(const std::string& why) const override;
    void TellSuccess();

    UpdateSettings m_settings;
    std::vector<UpdateSource> m_sources;
    std::vector<std::string> m_files; ///< that are new, of the source that is asked
    ulk::Mutex m_mutex;
    std::unique_ptr<SetFetcher> m_fetcher ULK_GUARDED_BY(m_mutex); ///< made once, before the first fetch
};

using UpdateRunFactory = BasesRunFactory<UpdateRun>;

} // namespace tfs::service::update
