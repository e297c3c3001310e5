// SPDX-License-Identifier: GPL-2.0-or-later
// One run of the rollback task: the set before comes back into use.
#pragma once

#include <service/update/bases_task_run.h>

#include <string>

namespace tfs::service::update {

class RollbackRun final : public BasesTaskRun {
public:
    using BasesTaskRun::BasesTaskRun;
    static bool IsAvailable(const UpdateArea& area) noexcept { return area.IsRollbackAvailable(); }

private:
    End Work(SignatureSets& sets) override;
    Event MakeFailure(const std::string& why) const override;
};

using RollbackRunFactory = BasesRunFactory<RollbackRun>;

} // namespace tfs::service::update
