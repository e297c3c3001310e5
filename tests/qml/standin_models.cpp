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

constexpr int FirstRole = Qt::UserRole + 1;

const QVariantMap& Defaults() {
    static const QVariantMap defaults{
        {"taskName", "Task"},      {"taskId", 2ULL},         {"cannotBeDeleted", true},
        {"canBeStarted", true},    {"canBeStopped", true},   {"showFullInfo", false},
        {"showStartButton", true}, {"showStopButton", true}, {"currentState", TaskList::TaskStateStopped},
        {"taskReportType", 5},     {"progressValue", 0},     {"progressInfo", QStringList()},
        {"scheduleInfo", ""},      {"summary", ""},          {"resultInfo", ""},
        {"resultIsError", false},
    };
    return defaults;
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

TaskList::TaskList() { taskLists.push_back(this); }
TaskList::~TaskList() { Forget(taskLists, this); }
int TaskList::Count() { return static_cast<int>(taskLists.size()); }
TaskList* TaskList::Last() { return taskLists.empty() ? nullptr : taskLists.back(); }

int TaskList::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : m_rows.size(); }

QHash<int, QByteArray> TaskList::roleNames() const {
    QHash<int, QByteArray> names;
    int role = FirstRole;
    for (auto it = Defaults().begin(); it != Defaults().end(); ++it)
        names[role++] = it.key().toUtf8();
    return names;
}

QVariant TaskList::data(const QModelIndex& index, int role) const {
    const QString name = QString::fromUtf8(roleNames().value(role));
    return m_rows.at(index.row()).value(name, Defaults().value(name));
}

void TaskList::setRows(const QVariantList& rows) {
    beginResetModel();
    m_rows.clear();
    for (const QVariant& row : rows)
        m_rows.append(row.toMap());
    endResetModel();
}

void TaskList::changeRow(int row, const QVariantMap& values) {
    for (auto it = values.begin(); it != values.end(); ++it)
        m_rows[row][it.key()] = it.value();
    Q_EMIT dataChanged(index(row), index(row));
}

void TaskList::SetScanTasksMode(bool mode) {
    m_scanTasksMode = mode;
    Q_EMIT scanTasksModeChanged();
}

void TaskList::rollbackUpdate() {
    m_calls.append("rollbackUpdate");
    Q_EMIT callsChanged();
}

void TaskList::Note(const char* call, qulonglong id) {
    m_calls.append(QString("%1 %2").arg(call).arg(id));
    Q_EMIT callsChanged();
}

QPoint MousePosition::cursorPos() const { return QCursor::pos(); }

void RegisterStandins() {
    gui::InitQmlResources();
    qmlRegisterSingletonType(QUrl("qrc:/Fonts.qml"), "tl.customFonts", 1, 0, "RobotoFonts");
    qmlRegisterType<TaskList>("tl.qt.application.taskList", 1, 0, "TaskListModel");
    qmlRegisterType<AppInfo>("tl.qt.application.appInfo", 1, 0, "AppInfoModel");
}

} // namespace tfs::tests
