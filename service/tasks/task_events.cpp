// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/tasks/task_events.h>

#include <algorithm>
#include <array>

namespace tfs::service::tasks {
namespace {

using types::AdditionalName;
using types::DetectCertainty;
using types::DetectType;
using types::EventName;
using types::EventSeverity;

Event MakeTaskEvent(EventName::Type type, const TaskIdentity& task, const Initiator& initiator) {
    Event event = MakeEvent(type, initiator);
    AddTask(event, task);
    return event;
}

template <class Enumeration>
ulk::types::variant_t TableValue(Enumeration value) {
    return static_cast<std::uint32_t>(value);
}

types::ObjectName::Type ObjectOf(const TaskIdentity& task) noexcept {
    if (task.taskType == task_type::MemoryScan)
        return types::ObjectName::MemoryModule;
    return task.taskType == task_type::BootScan ? types::ObjectName::PhysicalDisk : types::ObjectName::File;
}

struct KindOfName {
    std::string_view part;
    DetectType::Type type;
};

/// Parts of the engine's dotted names, as in "Win.Trojan.Agent-1".
constexpr std::array KindsOfNames{
    KindOfName{"Trojan", DetectType::Trojware},
    KindOfName{"Backdoor", DetectType::Trojware},
    KindOfName{"Ransomware", DetectType::Trojware},
    KindOfName{"Dropper", DetectType::Trojware},
    KindOfName{"Downloader", DetectType::Trojware},
    KindOfName{"Keylogger", DetectType::Trojware},
    KindOfName{"Rootkit", DetectType::Trojware},
    KindOfName{"Spyware", DetectType::Trojware},
    KindOfName{"Infostealer", DetectType::Trojware},
    KindOfName{"Loader", DetectType::Trojware},
    KindOfName{"Virus", DetectType::Virware},
    KindOfName{"Worm", DetectType::Virware},
    KindOfName{"Adware", DetectType::Adware},
    KindOfName{"PUA", DetectType::Adware},
    KindOfName{"Packed", DetectType::SuspiciousPackedFiles},
    KindOfName{"Packer", DetectType::SuspiciousPackedFiles},
    KindOfName{"Malware", DetectType::Malware},
    KindOfName{"Exploit", DetectType::Malware},
    KindOfName{"Coinminer", DetectType::Malware},
    KindOfName{"Phishing", DetectType::Malware},
    KindOfName{"Tool", DetectType::Malware},
    KindOfName{"Hacktool", DetectType::Malware},
    KindOfName{"Webshell", DetectType::Malware},
    KindOfName{"Macro", DetectType::Malware},
};

} // namespace

Event MakeEvent(EventName::Type type, const Initiator& initiator) {
    Event event;
    event.type = type;
    event.initiator = initiator.kind;
    event.initiatorUser = initiator.user;
    return event;
}

void AddTask(Event& event, const TaskIdentity& task) {
    event.Add(AdditionalName::TaskName, task.taskName);
    event.Add(AdditionalName::TaskId, task.taskId);
    event.Add(AdditionalName::TaskType, task.taskType);
    event.Add(AdditionalName::RuntimeTaskId, task.runId);
}

Event MakeStateChanged(const TaskIdentity& task, const Initiator& initiator, types::TaskState::Type state,
                       types::TaskState::Type previous) {
    Event event = MakeTaskEvent(EventName::TaskStateChanged, task, initiator);
    event.Add(AdditionalName::TaskState, static_cast<std::int32_t>(state));
    event.Add(AdditionalName::PrevTaskState, static_cast<std::int32_t>(previous));
    return event;
}

Event MakeTaskCreated(const TaskIdentity& task, const Initiator& initiator) {
    return MakeTaskEvent(EventName::TaskCreated, task, initiator);
}

Event MakeTaskDeleted(const TaskIdentity& task, const Initiator& initiator) {
    return MakeTaskEvent(EventName::TaskDeleted, task, initiator);
}

Event MakeTaskNotStarted(const TaskIdentity& task, const Initiator& initiator, types::TaskNotStartedReason::Type reason,
                         const std::string& information) {
    Event event = MakeTaskEvent(EventName::TaskNotStarted, task, initiator);
    event.severity = EventSeverity::High;
    event.Add(AdditionalName::TaskNotStartedReason, TableValue(reason));
    if (!information.empty())
        event.Add(AdditionalName::Information, information);
    return event;
}

Event MakeSettingsChanged(const TaskIdentity& task, const Initiator& initiator, const std::string& settings) {
    Event event = MakeTaskEvent(EventName::TaskSettingsChanged, task, initiator);
    event.Add(AdditionalName::Settings, ulk::text::ToUtf16Lossy(settings));
    return event;
}

Event MakeScheduleChanged(const TaskIdentity& task, const Initiator& initiator, const std::string& schedule) {
    Event event = MakeTaskEvent(EventName::TaskScheduleChanged, task, initiator);
    event.Add(AdditionalName::Settings, ulk::text::ToUtf16Lossy(schedule));
    return event;
}

Event MakeInterrupted(const TaskIdentity& task, const std::string& reason) {
    Event event = MakeTaskEvent(EventName::OnDemandTaskInterrupted, task, {});
    event.severity = EventSeverity::Medium;
    event.Add(AdditionalName::Reason, reason);
    return event;
}

Event MakeProgress(const TaskIdentity& task, std::uint32_t percent) {
    Event event = MakeTaskEvent(EventName::ODSProgressChanged, task, {});
    event.Add(AdditionalName::ODSProgress, static_cast<std::int32_t>(std::min<std::uint32_t>(percent, 100)));
    return event;
}

Event MakeThreatDetected(const TaskIdentity& task, const Initiator& initiator, const scan::ThreatFound& threat,
                         const ulk::types::string16_t& fileOwner) {
    const DetectType::Type type = DetectTypeOf(threat.detectName);
    Event event = MakeEvent(EventName::ThreatDetected, initiator);
    event.severity = type == DetectType::Adware || type == DetectType::SuspiciousPackedFiles ? EventSeverity::High
                                                                                             : EventSeverity::Critical;
    event.Add(AdditionalName::FileName, threat.path);
    event.Add(AdditionalName::ObjectName, TableValue(ObjectOf(task)));
    event.Add(AdditionalName::DetectName, ulk::text::ToUtf16Lossy(threat.detectName));
    event.Add(AdditionalName::DetectType, TableValue(type));
    event.Add(AdditionalName::DetectCertainty, TableValue(DetectCertaintyOf(threat.detectName)));
    event.Add(AdditionalName::DetectSource, TableValue(types::DetectSource::Local));
    if (!threat.innerName.empty())
        event.Add(AdditionalName::Information, threat.innerName);
    event.Add(AdditionalName::Size, threat.size);
    event.Add(AdditionalName::FileOwner, fileOwner);
    event.Add(AdditionalName::FileOwnerId, threat.ownerUid);
    AddTask(event, task);
    return event;
}

Event MakeObjectDeleted(const TaskIdentity& task, const Initiator& initiator, const scan::ThreatFound& threat,
                        std::uint64_t id) {
    Event event = MakeEvent(EventName::ObjectDeleted, initiator);
    event.Add(AdditionalName::FileName, threat.path);
    event.Add(AdditionalName::ObjectName, TableValue(ObjectOf(task)));
    event.Add(AdditionalName::DetectName, ulk::text::ToUtf16Lossy(threat.detectName));
    event.Add(AdditionalName::ObjectId, id);
    AddTask(event, task);
    return event;
}

Event MakeNotDisinfected(const TaskIdentity& task, const Initiator& initiator, const scan::ThreatFound& threat,
                         types::ObjectNotDisinfectedReason::Type reason, const std::string& why) {
    Event event = MakeEvent(EventName::ObjectNotDisinfected, initiator);
    event.severity = EventSeverity::High;
    event.Add(AdditionalName::FileName, threat.path);
    event.Add(AdditionalName::ObjectName, TableValue(ObjectOf(task)));
    event.Add(AdditionalName::DetectName, ulk::text::ToUtf16Lossy(threat.detectName));
    event.Add(AdditionalName::ObjectNotDisinfectedReason, TableValue(reason));
    if (!why.empty())
        event.Add(AdditionalName::Information, why);
    AddTask(event, task);
    return event;
}

Event MakeNotProcessed(const TaskIdentity& task, const Initiator& initiator, const std::string& path,
                       const std::string& reason, const std::string& detail) {
    Event event = MakeEvent(EventName::ObjectNotProcessed, initiator);
    event.severity = EventSeverity::Low;
    event.Add(AdditionalName::FileName, path);
    event.Add(AdditionalName::ObjectName, TableValue(ObjectOf(task)));
    event.Add(AdditionalName::SkipReason, reason);
    if (!detail.empty())
        event.Add(AdditionalName::ObjectProcessError, detail);
    AddTask(event, task);
    return event;
}

types::DetectType::Type DetectTypeOf(std::string_view detectName) noexcept {
    while (!detectName.empty()) {
        const std::size_t dot = detectName.find('.');
        const std::string_view part = detectName.substr(0, dot);
        for (const KindOfName& kind : KindsOfNames)
            if (part == kind.part)
                return kind.type;
        detectName.remove_prefix(dot == std::string_view::npos ? detectName.size() : dot + 1);
    }
    return DetectType::Other;
}

types::DetectCertainty::Type DetectCertaintyOf(std::string_view detectName) noexcept {
    return detectName.starts_with("Heuristics.") ? DetectCertainty::Suspicion : DetectCertainty::Sure;
}

} // namespace tfs::service::tasks
