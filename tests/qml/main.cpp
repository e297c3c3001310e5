// SPDX-License-Identifier: GPL-2.0-or-later
#include <tests/qml/assistive.h>
#include <tests/qml/standin_models.h>

#include <QtQml/QQmlContext>
#include <QtQml/QQmlEngine>
#include <QtQuickTest/quicktest.h>
#include <QtWidgets/QApplication>

namespace {

class Setup : public QObject {
    Q_OBJECT
public:
    // Whether the next window is one of a start into the tray.
    Q_INVOKABLE void setTrayOnly(bool trayOnly) { m_context->setContextProperty("isTrayOnly", trayOnly); }
    Q_INVOKABLE void setLanguage(const QString& language) { m_context->setContextProperty("language", language); }

public Q_SLOTS:
    void qmlEngineAvailable(QQmlEngine* engine) {
        static bool registered = false;
        if (!registered)
            tfs::tests::RegisterStandins();
        registered = true;
        QQmlContext* context = engine->rootContext();
        m_context = context;
        context->setContextProperty("shellSetup", this);
        context->setContextProperty("serviceConnection", new tfs::tests::Connection);
        context->setContextProperty("trayAvailability", new tfs::tests::TrayAvailability);
        context->setContextProperty("mousePosition", new tfs::tests::MousePosition);
        context->setContextProperty("models", new tfs::tests::Models);
        context->setContextProperty("assistive", &m_assistive);
        context->setContextProperty("isTrayOnly", false);
        context->setContextProperty("onlineHelpLink", QString());
        context->setContextProperty("language", "en");
        context->setContextProperty("iconButtonExit", "Exit");
    }

private:
    QQmlContext* m_context = nullptr;
    tfs::tests::Assistive m_assistive;
};

} // namespace

int main(int argc, char** argv) {
    // The tray icon's module wants the widgets' kind of application.
    QApplication application(argc, argv);
    Setup setup;
    return quick_test_main_with_setup(argc, argv, "tesl_qml", QUICK_TEST_SOURCE_DIR, &setup);
}

#include "main.moc"
