// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/app_info/app_info_model.h>
#include <gui/common/localized_text.h>
#include <gui/protection_info/protection_state_model.h>
#include <gui/qml_bootstrap.h>
#include <gui/task_manager/tasklist_model.h>
#include <gui/tools/interceptor_link.h>

#include <QtQml/qqml.h>

namespace tfs::gui {

void RegisterQmlTypes() {
    qmlRegisterSingletonType(QUrl(QStringLiteral("qrc:/Fonts.qml")), "tl.customFonts", 1, 0, "RobotoFonts");
    qmlRegisterType<TaskListModel>("tl.qt.application.taskList", 1, 0, "TaskListModel");
    qmlRegisterType<ProtectionStateModel>("tl.qt.application.protectionStateInfo", 1, 0, "ProtectionStateModel");
    qmlRegisterType<AppInfoModel>("tl.qt.application.appInfo", 1, 0, "AppInfoModel");
}

void SetContextProperties(QQmlContext& context, const ContextObjects& objects, bool isTrayOnly) {
    namespace entry = tfs::localization::entry;
    context.setContextProperty(QStringLiteral("serviceConnection"), objects.serviceConnection);
    context.setContextProperty(QStringLiteral("screenSaver"), objects.screenSaver);
    context.setContextProperty(QStringLiteral("isTrayOnly"), isTrayOnly);
    context.setContextProperty(QStringLiteral("mousePosition"), objects.mousePosition);
    context.setContextProperty(QStringLiteral("onlineHelpLink"),
                               GetInterceptorLink("online_help&helpid=") + LocalizedText(entry::GuiRootHelpTopicId));
    context.setContextProperty(QStringLiteral("language"),
                               QString::fromStdString(tfs::localization::GetCurrentLanguage()));
    context.setContextProperty(QStringLiteral("teslDisplayName"), LocalizedText(entry::GuiTeslProductTitleLocalized));
    context.setContextProperty(QStringLiteral("iconButtonExit"), LocalizedText(entry::GuiSysTrayExit));
    context.setContextProperty(QStringLiteral("trayAvailability"), objects.trayAvailability);
}

} // namespace tfs::gui
