// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/qml/qml_resources.h>
#include <gui/qml/reduced_motion.h>

#include <QtCore/qglobal.h>

// The macro declares functions of the global namespace and so can't stand in one of ours.
static void InitAll() {
    Q_INIT_RESOURCE(tesl_qml);
    Q_INIT_RESOURCE(tesl_images);
    Q_INIT_RESOURCE(tesl_fonts);
}

namespace tfs::gui {

void InitQmlResources() {
    InitAll();
    RegisterMotion();
}

} // namespace tfs::gui
