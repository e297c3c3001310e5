// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/get_statistics.h>
#include <control/task_text.h>
#include <control/values.h>

#include <algorithm>

namespace tfs::control {
namespace {

std::vector<OxsStatistic> ReadAll(ITfsTaskManager& tasks) {
    std::vector<OxsStatistic> all;
    ThrowIfFailed(tasks.GetStatistics(all), "Cannot read the statistics");
    return all;
}

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
    std::vector<OxsStatistic> all = ReadAll(*Service<ITfsTaskManager>(context));
    std::sort(all.begin(), all.end(), [](const OxsStatistic& a, const OxsStatistic& b) { return a.taskId < b.taskId; });
    std::vector<OxsStatistic> wanted;
    for (const std::string& idOrName : idsOrNames)
        wanted.push_back(Find(all, idOrName));
    context.reporter.StatisticsTold(idsOrNames.empty() ? all : wanted);
    return ExitCode::Ok;
}

ExitCode DeleteStatistics(const CommandContext& context, const std::string& idOrName) {
    const auto tasks = Service<ITfsTaskManager>(context);
    const std::vector<OxsStatistic> all = ReadAll(*tasks);
    const OxsStatistic& statistic = Find(all, idOrName);
    ThrowIfFailed(tasks->DeleteStatistic(statistic), "Cannot delete the statistics of " + TaskQuoted(idOrName));
    context.reporter.StatisticsDeleted(statistic);
    return ExitCode::Ok;
}

} // namespace tfs::control
