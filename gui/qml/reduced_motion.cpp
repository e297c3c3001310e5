// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/qml/reduced_motion.h>

#include <QtCore/QByteArray>
#include <QtCore/QSettings>
#include <QtCore/QStandardPaths>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusPendingCall>
#include <QtDBus/QDBusVariant>
#include <QtQml/QJSEngine>
#include <QtQml/QJSValue>
#include <QtQml/qqml.h>
#include <optional>

namespace tfs::gui {
namespace {

constexpr int PortalDeadlineMs = 100;

// The value of a key in the user's file of this name, else in the system's.
std::optional<QString> DesktopSetting(const char* file, const char* key) {
    const QStringList paths =
        QStandardPaths::locateAll(QStandardPaths::GenericConfigLocation, QString::fromLatin1(file));
    for (const QString& path : paths) {
        const QVariant value = QSettings(path, QSettings::IniFormat).value(QString::fromLatin1(key));
        if (value.isValid())
            return value.toString();
    }
    return std::nullopt;
}

bool WantedByKde() {
    const std::optional<QString> factor = DesktopSetting("kdeglobals", "KDE/AnimationDurationFactor");
    bool isNumber = false;
    const double value = factor ? factor->toDouble(&isNumber) : 0;
    return isNumber && value <= 0;
}

bool WantedByGtk() {
    for (const char* const file : {"gtk-4.0/settings.ini", "gtk-3.0/settings.ini"})
        if (const std::optional<QString> enabled = DesktopSetting(file, "Settings/gtk-enable-animations"))
            return !QVariant(*enabled).toBool();
    return false;
}

// The two questions to the settings portal. They are sent when the object is made, so that the answers come while the
// start does other things.
class PortalQuestions {
public:
    PortalQuestions() {
        // Asking for a bus where there is none would start one.
        if (qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS"))
            return;
        m_motion = Ask("org.freedesktop.appearance", "reduced-motion");
        m_animations = Ask("org.gnome.desktop.interface", "enable-animations");
    }

    // Waits for the answers.
    bool IsLessWanted() {
        if (!m_motion || !m_animations)
            return false;
        if (Answer(*m_motion).toUInt() == 1)
            return true;
        const QVariant animations = Answer(*m_animations);
        return animations.type() == QVariant::Bool && !animations.toBool();
    }

private:
    static QDBusPendingCall Ask(const char* space, const char* key) {
        QDBusMessage question = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.portal.Desktop"), QStringLiteral("/org/freedesktop/portal/desktop"),
            QStringLiteral("org.freedesktop.portal.Settings"), QStringLiteral("Read"));
        question << QString::fromLatin1(space) << QString::fromLatin1(key);
        question.setAutoStartService(false);
        return QDBusConnection::sessionBus().asyncCall(question, PortalDeadlineMs);
    }

    // Out of the variant or two that it comes in. Invalid without a portal that knows the key.
    static QVariant Answer(QDBusPendingCall& call) {
        call.waitForFinished();
        const QDBusMessage answer = call.reply();
        QVariant value = answer.type() == QDBusMessage::ReplyMessage ? answer.arguments().value(0) : QVariant();
        while (value.userType() == qMetaTypeId<QDBusVariant>())
            value = value.value<QDBusVariant>().variant();
        return value;
    }

    std::optional<QDBusPendingCall> m_motion;
    std::optional<QDBusPendingCall> m_animations;
};

std::optional<bool> WantedByEnvironment() {
    const QByteArray value = qgetenv("TESL_REDUCED_MOTION");
    return value == "1" || value == "0" ? std::optional(value == "1") : std::nullopt;
}

bool IsWanted(PortalQuestions& portal) { return WantedByKde() || WantedByGtk() || portal.IsLessWanted(); }

} // namespace

bool ReducedMotionWanted() {
    if (const std::optional<bool> wanted = WantedByEnvironment())
        return *wanted;
    PortalQuestions portal;
    return IsWanted(portal);
}

void RegisterMotion() {
    static std::optional<PortalQuestions> asked;
    if (!WantedByEnvironment())
        asked.emplace();
    static const int type = qmlRegisterSingletonType("tl.motion", 1, 0, "Motion", [](QQmlEngine*, QJSEngine* scripts) {
        const bool wanted = asked && !WantedByEnvironment() ? IsWanted(*asked) : ReducedMotionWanted();
        asked.reset();
        QJSValue motion = scripts->newObject();
        motion.setProperty(QStringLiteral("reduced"), wanted);
        return motion;
    });
    Q_UNUSED(type)
}

} // namespace tfs::gui
