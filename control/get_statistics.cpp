// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/get_statistics.h>
#include <control/task_text.h>
#include <control/values.h>

#include <algorithm>

namespace tfs::control {
namespace {

const OxsStatistic& Find(const std::vector<OxsStatistic>& all, const std::string& idOrName) {
    const auto found = std::find_if(all.begin(), all.end(), [&idOrName](const OxsStatistic& statistic) {
        return std::to_string(statistic.taskId) == idOrName || Utf8(statistic.taskName) == idOrName;
    });
    if (found == all.end())
        throw Failure(ExitCode::NotFound, "There are no statistics of " + TaskQuoted(idOrName) + ".");
    return *found;
}

} // namespace

ExitCode GetStatistics(const CommandContext& context, const std::vector<std::string>& idsOrNames) {
    std::vector<OxsStatistic> all;
    ThrowIfFailed(Service<ITfsTaskManager>(context)->GetStatistics(all), "Cannot read the statistics");
    std::sort(all.begin(), all.end(), [](const OxsStatistic& a, const OxsStatistic& b) { return a.taskId < b.taskId; });
    std::vector<OxsStatistic> wanted;
    for (const std::string& idOrName : idsOrNames)
        wanted.push_back(Find(all, idOrName));
    context.reporter.StatisticsTold(idsOrNames.empty() ? all : wanted);
    return ExitCode::Ok;
}

} // namespace tfs::control
