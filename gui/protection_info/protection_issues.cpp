// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/common/localized_text.h>
#include <gui/protection_info/protection_issues.h>

#include <algorithm>

namespace tfs::gui {
namespace {

using overview::IssueAction;

overview::DeviceState DeviceOf(const ProtectionFacts& facts) {
    overview::DeviceState device;
    device.appInfo = facts.state.appInfo;
    device.fileMonitoring = facts.state.fileMonitoringTask.core;
    device.update = facts.state.updateTask.core;
    device.canStartFileMonitoring = facts.state.fileMonitoringTask.canBeStarted;
    device.storageFill = facts.storageFill;
    device.isUnderPolicy = facts.isUnderPolicy;
    device.allowUserManageLocalTasks = facts.allowUserManageLocalTasks;
    device.nowTicks = facts.nowTicks;
    return device;
}

IssueInfo ToIssueInfo(const overview::Issue& issue) {
    return {QString::fromStdString(issue.title), QString::fromStdString(issue.description),
            static_cast<int>(issue.action), QString::fromStdString(issue.taskName), issue.available};
}

class Verdicts {
public:
    explicit Verdicts(std::vector<overview::Issue> issues) : m_issues(std::move(issues)) {}

    bool Stands(IssueAction action) const { return Find(action) != m_issues.end(); }
    void Add(IssueAction action) {
        IssueVerdict verdict{static_cast<int>(action), std::nullopt};
        if (const auto found = Find(action); found != m_issues.end())
            verdict.issue = ToIssueInfo(*found);
        m_verdicts.push_back(std::move(verdict));
    }
    std::vector<IssueVerdict> Take() { return std::move(m_verdicts); }

private:
    std::vector<overview::Issue>::const_iterator Find(IssueAction action) const {
        return std::find_if(m_issues.begin(), m_issues.end(),
                            [action](const overview::Issue& issue) { return issue.action == action; });
    }

    const std::vector<overview::Issue> m_issues;
    std::vector<IssueVerdict> m_verdicts;
};

std::vector<overview::Issue> IssuesOf(const ProtectionFacts& facts) {
    std::vector<overview::Issue> issues = overview::FindIssues(DeviceOf(facts));
    if (facts.license.isIssue)
        issues.push_back({IssueAction::LicenseLink,
                          ulk::text::ToUtf8Lossy(facts.license.title),
                          ulk::text::ToUtf8Lossy(facts.license.description),
                          {},
                          true});
    return issues;
}

} // namespace

std::vector<IssueVerdict> JudgeIssues(const ProtectionFacts& facts) {
    Verdicts verdicts(IssuesOf(facts));
    verdicts.Add(IssueAction::LicenseLink);
    verdicts.Add(IssueAction::EnableComponent);
    const bool isRunning = verdicts.Stands(IssueAction::StopUpdate);
    verdicts.Add(isRunning ? IssueAction::StopUpdate : IssueAction::StartUpdate);
    verdicts.Add(isRunning ? IssueAction::StartUpdate : IssueAction::StopUpdate);
    verdicts.Add(IssueAction::StartScan);
    verdicts.Add(IssueAction::None);
    verdicts.Add(IssueAction::StorageLink);
    return verdicts.Take();
}

} // namespace tfs::gui
