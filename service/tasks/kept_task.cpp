// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/tasks/kept_json.h>

#include <string_view>

namespace tfs::service::tasks {
namespace {

using Json = nlohmann::json;

std::string TextAt(const Json& json, const char* key) {
    return BytesOfText(json.at(key).get_ref<const std::string&>());
}

Json ToJson(const KeptRun& run) {
    return Json{{"suspended", run.suspended},
                {"checkpoint", TextOfBytes(run.checkpoint)},
                {"counters", CountersToJson(run.counters)},
                {"scannedBytes", run.bytes},
                {"percent", run.percent}};
}

KeptRun RunFromJson(const Json& json) {
    KeptRun run;
    run.suspended = json.at("suspended").get<bool>();
    run.checkpoint = TextAt(json, "checkpoint");
    run.counters = CountersFromJson(json.at("counters"));
    run.bytes = NumberOf<std::uint64_t>(json, "scannedBytes");
    run.percent = NumberOf<std::uint32_t>(json, "percent");
    return run;
}

Json ToJson(const TaskSchedule& schedule) {
    return Json{{"mode", schedule.mode},
                {"firstValue", schedule.firstValue},
                {"secondValue", schedule.secondValue},
                {"flag", schedule.flag}};
}

TaskSchedule ScheduleFromJson(const Json& json) {
    TaskSchedule schedule;
    schedule.mode = NumberOf<std::uint32_t>(json, "mode");
    schedule.firstValue = NumberOf<std::int64_t>(json, "firstValue");
    schedule.secondValue = NumberOf<std::int64_t>(json, "secondValue");
    schedule.flag = NumberOf<std::uint8_t>(json, "flag");
    return schedule;
}

} // namespace

Json ToJson(const KeptTask& task) {
    Json json{{"taskId", task.taskId},
              {"taskName", ulk::text::ToUtf8Lossy(task.taskName)},
              {"taskType", ulk::text::ToUtf8Lossy(task.taskType)},
              {"scheduleServed", task.scheduleServed}};
    if (task.owner)
        json["owner"] = Json{{"uid", task.owner->uid}, {"isAdministrator", task.owner->isAdministrator}};
    Json& settings = json["settings"] = Json::array();
    for (const tfs::settings::ChangeItem& item : task.settings)
        settings.push_back(Json::array({TextOfBytes(item.key), TextOfBytes(item.value)}));
    if (task.schedule)
        json["schedule"] = ToJson(*task.schedule);
    if (task.run)
        json["run"] = ToJson(*task.run);
    if (task.stoppedByUser)
        json["stoppedByUser"] = true;
    return json;
}

KeptTask TaskFromJson(const Json& json) {
    KeptTask task;
    task.taskId = NumberOf<std::uint64_t>(json, "taskId");
    task.taskName = ulk::text::ToUtf16Lossy(json.at("taskName").get<std::string>());
    task.taskType = ulk::text::ToUtf16Lossy(json.at("taskType").get<std::string>());
    task.scheduleServed = NumberOf<std::int64_t>(json, "scheduleServed");
    if (const auto owner = json.find("owner"); owner != json.end())
        task.owner = KeptOwner{NumberOf<std::uint32_t>(*owner, "uid"), owner->at("isAdministrator").get<bool>()};
    for (const Json& item : json.at("settings"))
        task.settings.push_back({BytesOfText(item.at(0).get_ref<const std::string&>()),
                                 BytesOfText(item.at(1).get_ref<const std::string&>())});
    if (const auto schedule = json.find("schedule"); schedule != json.end())
        task.schedule = ScheduleFromJson(*schedule);
    if (const auto run = json.find("run"); run != json.end())
        task.run = RunFromJson(*run);
    if (const auto stopped = json.find("stoppedByUser"); stopped != json.end())
        task.stoppedByUser = stopped->get<bool>();
    return task;
}

} // namespace tfs::service::tasks
