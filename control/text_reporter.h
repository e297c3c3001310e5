// SPDX-License-Identifier: GPL-2.0-or-later
// Answers for people: lines on standard output, errors on standard error.
#pragma once

#include <control/reporter.h>

#include <ostream>

namespace tfs::control {

class TextReporter : public IReporter {
public:
    /// Both streams outlive the object.
    TextReporter(std::ostream& out, std::ostream& err) : m_out(out), m_err(err) {}

    void Help(const std::string& text) override;
    void Version(const std::string& version) override;
    void TaskList(const std::vector<core::TaskInfo>& tasks) override;
    void TaskCommandTaken(const std::string& verb, const core::TaskInfo& task) override;
    void TaskState(const core::TaskInfo& task, const std::optional<OxsStatistic>& lastRun) override;
    void AppInfoTold(const AppInfo& appInfo) override;
    void AppSettingsTold(const std::vector<settings::ChangeItem>& settings) override;
    void AppSettingsChanged(const std::string& message) override;
    void EventsTold(const std::vector<Event>& events) override;
    void EventsBegin() override;
    bool EventCame(const Event& event) override;
    void Finding(const ScanFinding& finding) override;
    void ScanEnded(const ScanSummary& summary) override;
    void Error(ExitCode code, const std::string& text) override;
    bool Finish() override;

private:
    void Line(const std::string& label, const std::string& value);

    std::ostream& m_out;
    std::ostream& m_err;
};

} // namespace tfs::control
