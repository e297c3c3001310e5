// SPDX-License-Identifier: GPL-2.0-or-later
// Answers for people: lines on standard output, errors on standard error.
#pragma once

#include <control/progress_line.h>
#include <control/reporter.h>

#include <ostream>

namespace tfs::control {

class TextReporter : public IReporter {
public:
    /// All arguments outlive the object. `terminal` is where `out` leads; null where that is none.
    TextReporter(std::ostream& out, std::ostream& err, ITerminal* terminal = nullptr)
        : m_out(out), m_err(err), m_progress(out, terminal) {}

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
    void Line(const std::string& label, const std::string& value);
    void RunLines(const OxsStatistic& run);

    std::ostream& m_out;
    std::ostream& m_err;
    ProgressLine m_progress;
};

} // namespace tfs::control
