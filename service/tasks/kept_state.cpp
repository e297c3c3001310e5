// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/settings/file_io.h>
#include <service/tasks/kept_json.h>
#include <service/tasks/kept_state.h>

#include <ctime>
#include <stdexcept>

namespace tfs::service::tasks {
namespace {

using Json = nlohmann::json;

constexpr int FileVersion = 1;
constexpr std::size_t MaxFileSize = 64 * 1024 * 1024;

Json ToJson(const KeptStatistic& kept) {
    const OxsStatistic& statistic = kept.statistic;
    return Json{{"taskId", statistic.taskId},
                {"taskName", ulk::text::ToUtf8Lossy(statistic.taskName)},
                {"taskType", ulk::text::ToUtf8Lossy(statistic.taskType)},
                {"isTemporary", statistic.isTemporary},
                {"startTime", statistic.startTime},
                {"finishTime", statistic.finishTime},
                {"scannedBytes", statistic.scannedBytes},
                {"counters", CountersToJson(statistic.scan)},
                {"runId", kept.runId},
                {"ownerUid", kept.ownerUid}};
}

KeptStatistic StatisticFromJson(const Json& json) {
    KeptStatistic kept;
    OxsStatistic& statistic = kept.statistic;
    statistic.taskId = NumberOf<std::uint64_t>(json, "taskId");
    statistic.taskName = ulk::text::ToUtf16Lossy(json.at("taskName").get<std::string>());
    statistic.taskType = ulk::text::ToUtf16Lossy(json.at("taskType").get<std::string>());
    statistic.isTemporary = json.at("isTemporary").get<bool>();
    statistic.startTime = NumberOf<std::int64_t>(json, "startTime");
    statistic.finishTime = NumberOf<std::int64_t>(json, "finishTime");
    statistic.scannedBytes = NumberOf<std::uint64_t>(json, "scannedBytes");
    statistic.scan = CountersFromJson(json.at("counters"));
    kept.runId = NumberOf<std::uint64_t>(json, "runId");
    kept.ownerUid = NumberOf<std::uint32_t>(json, "ownerUid");
    return kept;
}

KeptState FromJson(const Json& root) {
    if (NumberOf<int>(root, "version") != FileVersion)
        throw std::invalid_argument("version");
    KeptState state;
    state.nextTaskId = NumberOf<std::uint64_t>(root, "nextTaskId");
    state.nextRunId = NumberOf<std::uint64_t>(root, "nextRunId");
    state.lastFullScan = NumberOf<std::int64_t>(root, "lastFullScan");
    state.odsTotal = CountersFromJson(root.at("odsTotal"));
    for (const Json& item : root.at("statistics"))
        state.statistics.push_back(StatisticFromJson(item));
    if (root.contains("lastUpdate")) // older files have neither this nor tasks
        state.lastUpdate = NumberOf<std::int64_t>(root, "lastUpdate");
    if (const auto tasks = root.find("tasks"); tasks != root.end())
        for (const Json& item : *tasks)
            state.tasks.push_back(TaskFromJson(item));
    if (state.nextTaskId < FirstTemporaryTaskId || state.nextRunId == 0)
        throw std::invalid_argument("ids");
    return state;
}

LoadedState Afresh(std::string problem) {
    LoadedState loaded;
    const auto now = static_cast<std::uint64_t>(std::max<std::time_t>(std::time(nullptr), 0));
    loaded.state.nextTaskId += now;
    loaded.state.nextRunId += now;
    loaded.problem = std::move(problem);
    return loaded;
}

} // namespace

LoadedState LoadKeptState(const std::string& path) {
    std::string text;
    const result_t result = settings::ReadWholeFile(path, MaxFileSize, text);
    if (result == ulk::eFileNotFound)
        return {};
    if (!ULK_SUCCEEDED(result))
        return Afresh("Task state can't be read: " + path + ": " + std::string(ulk::ResultText(result)));
    try {
        return {FromJson(Json::parse(text)), {}};
    } catch (const std::exception&) { // the parser's and ours alike: the file is of no use
        const std::string aside = settings::SetFileAside(path);
        return Afresh("Task state is damaged: " + path +
                      (aside.empty() ? ", and can't be set aside" : ", set aside as " + aside));
    }
}

namespace {

std::string Print(const KeptState& state, bool withTemporary) {
    Json statistics = Json::array();
    for (const KeptStatistic& kept : state.statistics)
        statistics.push_back(ToJson(kept));
    Json tasks = Json::array();
    for (const KeptTask& task : state.tasks)
        if (withTemporary || !task.owner)
            tasks.push_back(ToJson(task));
    const Json root{{"version", FileVersion},
                    {"nextTaskId", state.nextTaskId},
                    {"nextRunId", state.nextRunId},
                    {"lastFullScan", state.lastFullScan},
                    {"lastUpdate", state.lastUpdate},
                    {"odsTotal", CountersToJson(state.odsTotal)},
                    {"statistics", std::move(statistics)},
                    {"tasks", std::move(tasks)}};
    return root.dump(1) + "\n";
}

} // namespace

result_t SaveKeptState(const std::string& path, const KeptState& state) noexcept {
    try {
        std::string text = Print(state, true);
        if (text.size() > MaxFileSize) // what can't be read again is worth less than what is left out
            text = Print(state, false);
        return settings::WriteFileAtomically(path, text);
    } catch (const std::exception&) {
        return ulk::eOutOfMemory;
    }
}

} // namespace tfs::service::tasks
