// SPDX-License-Identifier: GPL-2.0-or-later
import QtQuick 2.15

TaskListPage {
    Component.onCompleted: tasks.scanTasksMode = true
}
