// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/check.h>
#include <foundation/datetime.h>
#include <gui/common/application.h>
#include <gui/common/localized_text.h>
#include <gui/common/policy.h>
#include <gui/protection_info/protection_state_info_provider.h>
#include <gui/protection_info/protection_state_model.h>
#include <gui/task_manager/task_command.h>
#include <gui/task_manager/tasklist_actions.h>

#include <iterator>
#include <utility>

namespace tfs::gui {
namespace {

namespace entry = tfs::localization::entry;
using std::chrono::steady_clock;

constexpr int TickMs = 1000;
/// With the second of the tick this is half the age that the main page allows itself.
constexpr std::chrono::nanoseconds LongestAge{30'999'999'999};

ulk::ITracer* Tracer() noexcept { return application::GetTracer(); }

/// True as well where it can't be read.
bool IsUserAllowedToManageLocalTasks() {
    bool allowUserManageLocalTasks = true;
    bool allowUserManageGroupTasks = true;
    try {
        bool local = true;
        bool group = true;
        if (ULK_SUCCEEDED(ULK_CHECK_TRACE(Tracer(), policy::IsUserManageTasksAllowed(local, group),
                                          "cannot get info about task management policy"))) {
            allowUserManageLocalTasks = local;
            allowUserManageGroupTasks = group;
        }
    }
    GUI_CATCH_ALL
    ULK_TRACE(Tracer(), ulk::level::Detail) << "allowUserManageLocalTasks = " << allowUserManageLocalTasks
                                            << ", allowUserManageGroupTasks = " << allowUserManageGroupTasks;
    return allowUserManageLocalTasks;
}

} // namespace

ProtectionStateModel::ProtectionStateModel(QObject* parent)
    : ProtectionStateModel([] { return steady_clock::now(); }, parent) {}

ProtectionStateModel::ProtectionStateModel(SteadyClock clock, QObject* parent)
    : QAbstractListModel(parent), m_pageHeader(LocalizedText(entry::GuiProtectionStateHeader)),
      m_emptyIssuesTitle(LocalizedText(entry::GuiProtectionStateOK)),
      m_runTaskButtonName(LocalizedText(entry::GuiProtectionStateStartTaskButton)),
      m_stopTaskButtonName(LocalizedText(entry::GuiTaskListStopTask)),
      m_fixLicenseLinkName(LocalizedText(entry::GuiProtectionStateFixLicenseLinkName)),
      m_manageBackupLinkName(LocalizedText(entry::GuiProtectionStateManageBackupLinkName)),
      m_enableComponentButtonName(LocalizedText(entry::GuiProtectionStateEnableComponentButton)),
      m_startInProgress(LocalizedText(entry::GuiSettingsWaitingToStart)), m_clock(std::move(clock)),
      // By the event loop: the measuring thread must not wait for a lock that a refresh holds while it asks for it.
      m_backupFill([this] {
          QMetaObject::invokeMethod(
              this, [this] { NoteChange(); }, Qt::QueuedConnection);
      }) {
    ULK_TRACE(Tracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    try {
        m_remoteSl = application::AcquireRemoteServiceLocator();
        Subscribe();
    }
    GUI_CATCH_ALL
    SetProtectionStateInfo();
    connect(&m_timer, &QTimer::timeout, this, &ProtectionStateModel::UpdateProtectionStateInfo);
    m_timer.start(TickMs);
}

ProtectionStateModel::~ProtectionStateModel() {
    try {
        m_subscription.Close();
    }
    GUI_CATCH_ALL
    ULK_TRACE(Tracer(), ulk::level::Detail) << "~ProtectionStateModel";
}

QHash<int, QByteArray> ProtectionStateModel::roleNames() const {
    return {
        {IssueIdRole, "issueId"},         {IssueTitleRole, "issueTitle"}, {IssueDescriptionRole, "issueDescription"},
        {ActionsTypeRole, "actionsType"}, {TaskNameRole, "taskName"},     {AvailableRole, "available"},
    };
}

int ProtectionStateModel::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : m_issues.size(); }

QVariant ProtectionStateModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const auto issue = std::next(m_issues.constBegin(), index.row());
    switch (role) {
    case IssueIdRole:
        return issue.key();
    case IssueTitleRole:
        return issue->issueTitle;
    case IssueDescriptionRole:
        return issue->issueDescription;
    case ActionsTypeRole:
        return issue->actionsType;
    case TaskNameRole:
        return issue->taskName;
    case AvailableRole:
        return issue->available;
    default:
        return {};
    }
}

void ProtectionStateModel::startTask(QString taskName) {
    ULK_TRACE(Tracer(), ulk::level::Detail) << "startTask";
    RunTaskCommand("cannot start task: ",
                   [&] { return OnDemandTaskListActions().StartTask(m_remoteSl.Get(), taskName.toStdString()); });
}

void ProtectionStateModel::stopTask(QString taskName) {
    ULK_TRACE(Tracer(), ulk::level::Detail) << "stopTask";
    RunTaskCommand("cannot stop task: ",
                   [&] { return OnDemandTaskListActions().StopTask(m_remoteSl.Get(), taskName.toStdString()); });
}

void ProtectionStateModel::UpdateProtectionStateInfo() {
    ULK_TRACE(Tracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    if (m_isRefreshing)
        return;
    const ulk::LockGuard lock(m_changeMutex);
    const bool isChanged = m_lastUpdateTime != steady_clock::time_point();
    if (!isChanged && m_clock() - m_lastRefreshTime <= LongestAge)
        return;
    SetProtectionStateInfo();
    m_lastUpdateTime = {};
    m_lastRefreshTime = m_clock();
}

void ProtectionStateModel::SetProtectionStateInfo() noexcept {
    m_isRefreshing = true;
    try {
        const ulk::LockGuard lock(m_issuesMutex);
        for (const IssueVerdict& verdict : JudgeIssues(GatherFacts()))
            Apply(verdict);
    }
    GUI_CATCH_ALL
    m_isRefreshing = false;
}

ProtectionFacts ProtectionStateModel::GatherFacts() {
    ProtectionStateInfoProvider provider;
    ProtectionFacts facts;
    ULK_CHECK_THROW(provider.GetProtectionStateInfo(m_remoteSl.Get(), facts.state), "Cannot get protection state info");
    ULK_CHECK_THROW(provider.GetActiveLicenseStateInfo(m_remoteSl.Get(), facts.license), "Cannot get license state");
    facts.allowUserManageLocalTasks = IsUserAllowedToManageLocalTasks();
    // Asked only where it decides anything.
    facts.isUnderPolicy = !facts.allowUserManageLocalTasks && policy::IsUnderPolicy();
    // Not measured yet, or not to be had: as on the main page, that isn't reached. A measurement that ends tells of it.
    std::uint32_t percentage = 0;
    if (ULK_SUCCEEDED(m_backupFill.GetBackupFillPercentage(m_remoteSl.Get(), percentage)))
        facts.storageFill = percentage;
    facts.nowTicks = ulk::datetime::NowTicks();
    return facts;
}

void ProtectionStateModel::Apply(const IssueVerdict& verdict) {
    if (verdict.issue)
        SetIssue(*verdict.issue);
    else
        RemoveIssue(verdict.actionsType);
}

void ProtectionStateModel::SetIssue(const IssueInfo& issue) {
    const int key = issue.actionsType;
    const int row = RowOf(key);
    const auto found = m_issues.find(key);
    if (found == m_issues.end()) {
        beginInsertRows(QModelIndex(), row, row);
        m_issues.insert(key, issue);
        endInsertRows();
    } else if (*found != issue) {
        *found = issue;
        Q_EMIT dataChanged(index(row), index(row));
    }
}

void ProtectionStateModel::RemoveIssue(int key) {
    if (!m_issues.contains(key))
        return;
    const int row = RowOf(key);
    beginRemoveRows(QModelIndex(), row, row);
    m_issues.remove(key);
    endRemoveRows();
}

int ProtectionStateModel::RowOf(int key) const {
    return static_cast<int>(std::distance(m_issues.constBegin(), m_issues.lowerBound(key)));
}

} // namespace tfs::gui
