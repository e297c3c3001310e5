// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/qml/qml_resources.h>
#include <tests/qml/standin_models.h>

#include <QtCore/QUrl>
#include <QtGui/QCursor>
#include <QtQml/qqml.h>
#include <algorithm>
#include <vector>

namespace tfs::tests {
namespace {

std::vector<AppInfo*> appInfos;
std::vector<TaskList*> taskLists;
std::vector<ProtectionState*> protectionStates;
QVariantList firstIssues;

QVariantMap TaskDefaults() {
    return {
        {"taskName", "Task"},      {"taskId", 2ULL},         {"cannotBeDeleted", true},
        {"canBeStarted", true},    {"canBeStopped", true},   {"showFullInfo", false},
        {"showStartButton", true}, {"showStopButton", true}, {"currentState", TaskList::TaskStateStopped},
        {"taskReportType", 5},     {"progressValue", 0},     {"progressInfo", QStringList()},
        {"scheduleInfo", ""},      {"summary", ""},          {"resultInfo", ""},
        {"resultIsError", false},
    };
}

QVariantMap IssueDefaults() {
    return {
        {"issueId", int(ProtectionState::ActionNone)},     {"issueTitle", "Issue"}, {"issueDescription", "What it is."},
        {"actionsType", int(ProtectionState::ActionNone)}, {"taskName", ""},        {"available", true},
    };
}

template <typename T>
void Forget(std::vector<T*>& alive, T* object) {
    alive.erase(std::remove(alive.begin(), alive.end(), object), alive.end());
}

} // namespace

AppInfo::AppInfo() { appInfos.push_back(this); }
AppInfo::~AppInfo() { Forget(appInfos, this); }
int AppInfo::Count() { return static_cast<int>(appInfos.size()); }
AppInfo* AppInfo::Last() { return appInfos.empty() ? nullptr : appInfos.back(); }

TaskList::TaskList() : StandinRows(TaskDefaults()) { taskLists.push_back(this); }
TaskList::~TaskList() { Forget(taskLists, this); }
int TaskList::Count() { return static_cast<int>(taskLists.size()); }
TaskList* TaskList::Last() { return taskLists.empty() ? nullptr : taskLists.back(); }

void TaskList::SetScanTasksMode(bool mode) {
    m_scanTasksMode = mode;
    Q_EMIT scanTasksModeChanged();
}

ProtectionState::ProtectionState() : StandinRows(IssueDefaults()) {
    protectionStates.push_back(this);
    setRows(firstIssues);
}
ProtectionState::~ProtectionState() { Forget(protectionStates, this); }
int ProtectionState::Count() { return static_cast<int>(protectionStates.size()); }
ProtectionState* ProtectionState::Last() { return protectionStates.empty() ? nullptr : protectionStates.back(); }
void ProtectionState::SetFirstRows(const QVariantList& rows) { firstIssues = rows; }

QPoint MousePosition::cursorPos() const { return QCursor::pos(); }

void RegisterStandins() {
    gui::InitQmlResources();
    qmlRegisterSingletonType(QUrl("qrc:/Fonts.qml"), "tl.customFonts", 1, 0, "RobotoFonts");
    qmlRegisterType<TaskList>("tl.qt.application.taskList", 1, 0, "TaskListModel");
    qmlRegisterType<ProtectionState>("tl.qt.application.protectionStateInfo", 1, 0, "ProtectionStateModel");
    qmlRegisterType<AppInfo>("tl.qt.application.appInfo", 1, 0, "AppInfoModel");
}

} // namespace tfs::tests
