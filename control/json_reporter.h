// SPDX-License-Identifier: GPL-2.0-or-later
// Answers for programs: one JSON document on standard output, errors too; of events that come one document a line.
#pragma once

#include <control/reporter.h>

#include <nlohmann/json.hpp>
#include <ostream>

namespace tfs::control {

/// Gathers the document and writes it in Finish. Texts that aren't UTF-8 have U+FFFD for each wrong byte; beside a
/// path "pathHex" then holds the exact bytes. Times are UTC text, null where unknown or never.
class JsonReporter : public IReporter {
public:
    /// The stream outlives the object.
    explicit JsonReporter(std::ostream& out) : m_out(out) {}

    void Help(const std::string& text) override;
    void Version(const std::string& version) override;
    void TaskList(const std::vector<TaskRow>& tasks) override;
    void TaskCommandTaken(const std::string& verb, const core::TaskInfo& task) override;
    void TaskState(const TaskRow& row, const std::optional<OxsStatistic>& lastRun) override;
    void TaskCreated(const core::TaskInfo& task) override;
    void TaskDeleted(const core::TaskInfo& task) override;
    void StatisticsTold(const std::vector<OxsStatistic>& statistics) override;
    void StatisticsDeleted(const OxsStatistic& statistic) override;
    void AppInfoTold(const AppInfo& appInfo, const overview::Overview& overview) override;
    void SettingsTold(const std::vector<settings::ChangeItem>& settings) override;
    void SettingsChanged(const std::string& message) override;
    void SettingsWritten(const std::string& file) override;
    void EventsTold(const std::vector<Event>& events) override;
    void EventsBegin() override;
    bool EventCame(const Event& event) override;
    void Finding(const ScanFinding& finding) override;
    void ScanEnded(const ScanSummary& summary) override;
    void UpdateSource(const std::string& source) override;
    void UpdateEnded(const UpdateSummary& summary) override;
    void Progress(const std::string& task, const TaskProgress& progress) override;
    void StopAsked() override;
    void Error(ExitCode code, const std::string& text) override;
    bool Finish() override;

private:
    std::ostream& m_out;
    nlohmann::json m_document = nlohmann::json::object();
    bool m_lines = false; ///< one document a line
};

} // namespace tfs::control
