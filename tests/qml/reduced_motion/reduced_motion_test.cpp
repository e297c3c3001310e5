// SPDX-License-Identifier: GPL-2.0-or-later
// Who may ask for less motion, and how. Runs on a session bus of its own.
#include <gui/qml/reduced_motion.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QMap>
#include <QtCore/QTemporaryDir>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusVariant>
#include <gtest/gtest.h>

namespace tfs::gui {
namespace {

// A portal that knows some keys and answers each in a variant of its own, as portals do.
class Portal : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")
public:
    QMap<QString, QVariant> values;

public Q_SLOTS:
    QDBusVariant Read(const QString& space, const QString& key) {
        return QDBusVariant(QVariant::fromValue(QDBusVariant(values.value(space + '/' + key))));
    }
};

class ReducedMotion : public testing::Test {
protected:
    ReducedMotion() {
        qunsetenv("TESL_REDUCED_MOTION");
        qputenv("XDG_CONFIG_HOME", m_folder.path().toLocal8Bit());
        qputenv("XDG_CONFIG_DIRS", m_folder.path().toLocal8Bit());
    }

    void Write(const QString& name, const char* text) {
        const QString path = m_folder.filePath(name);
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    }

    QTemporaryDir m_folder;
};

TEST_F(ReducedMotion, isNotWantedWhereNobodyAsks) { EXPECT_FALSE(ReducedMotionWanted()); }

TEST_F(ReducedMotion, isAskedForByFiles) {
    const struct {
        const char* file;
        const char* text;
        bool wanted;
    } rows[] = {
        {"kdeglobals", "[KDE]\nAnimationDurationFactor=0\n", true},
        {"kdeglobals", "[KDE]\nAnimationDurationFactor=0.5\n", false},
        {"kdeglobals", "[KDE]\nAnimationDurationFactor=none\n", false},
        {"kdeglobals", "AnimationDurationFactor=0\n", false},
        {"kdeglobals", "\xff\xfe[KDE", false},
        {"gtk-3.0/settings.ini", "[Settings]\ngtk-enable-animations=0\n", true},
        {"gtk-3.0/settings.ini", "[Settings]\ngtk-enable-animations=true\n", false},
        {"gtk-4.0/settings.ini", "[Settings]\ngtk-enable-animations=false\n", true},
    };
    for (const auto& row : rows) {
        Write(row.file, row.text);
        EXPECT_EQ(ReducedMotionWanted(), row.wanted) << row.file << ": " << row.text;
        QFile::remove(m_folder.filePath(row.file));
    }
}

TEST_F(ReducedMotion, followsTheNewerOfTwoGtkFiles) {
    Write("gtk-4.0/settings.ini", "[Settings]\ngtk-enable-animations=true\n");
    Write("gtk-3.0/settings.ini", "[Settings]\ngtk-enable-animations=false\n");
    EXPECT_FALSE(ReducedMotionWanted());
}

TEST_F(ReducedMotion, environmentOverrulesTheDesktop) {
    Write("kdeglobals", "[KDE]\nAnimationDurationFactor=0\n");
    qputenv("TESL_REDUCED_MOTION", "0");
    EXPECT_FALSE(ReducedMotionWanted());
    qputenv("TESL_REDUCED_MOTION", "yes");
    EXPECT_TRUE(ReducedMotionWanted());
    Write("kdeglobals", "");
    EXPECT_FALSE(ReducedMotionWanted());
    qputenv("TESL_REDUCED_MOTION", "1");
    EXPECT_TRUE(ReducedMotionWanted());
}

TEST_F(ReducedMotion, isAskedForByThePortal) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    Portal portal;
    ASSERT_TRUE(bus.registerObject("/org/freedesktop/portal/desktop", &portal, QDBusConnection::ExportAllSlots));
    ASSERT_TRUE(bus.registerService("org.freedesktop.portal.Desktop"));
    const struct {
        const char* key;
        QVariant value;
        bool wanted;
    } rows[] = {
        {"org.gnome.desktop.interface/enable-animations", false, true},
        {"org.gnome.desktop.interface/enable-animations", true, false},
        {"org.gnome.desktop.interface/enable-animations", QString("false"), false},
        {"org.freedesktop.appearance/reduced-motion", 1U, true},
        {"org.freedesktop.appearance/reduced-motion", 0U, false},
    };
    for (const auto& row : rows) {
        // A portal has an answer to every question of the test: an empty one can't travel.
        portal.values = {{"org.gnome.desktop.interface/enable-animations", true},
                         {"org.freedesktop.appearance/reduced-motion", 0U}};
        portal.values[row.key] = row.value;
        EXPECT_EQ(ReducedMotionWanted(), row.wanted) << row.key;
    }
    bus.unregisterObject("/org/freedesktop/portal/desktop");
    EXPECT_FALSE(ReducedMotionWanted());
    bus.unregisterService("org.freedesktop.portal.Desktop");
    EXPECT_FALSE(ReducedMotionWanted());
}

} // namespace
} // namespace tfs::gui

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

#include "reduced_motion_test.moc"
