// SPDX-License-Identifier: GPL-2.0-or-later
// What every QML file sees: the model types and the context properties.
#pragma once

#include <gui/common/product_connection.h>
#include <gui/tools/cursor_pos_provider.h>
#include <gui/tools/screen_saver.h>
#include <gui/tools/tray_availability.h>

#include <QtQml/QQmlContext>

namespace tfs::gui {

/// Once, before the engine is made.
void RegisterQmlTypes();

/// The objects behind the context properties. They must outlive the engine.
struct ContextObjects {
    ProductConnection* serviceConnection;
    tfs::tools::ScreenSaver* screenSaver;
    tfs::tools::CursorPosProvider* mousePosition;
    tfs::tools::TrayAvailability* trayAvailability;
};

void SetContextProperties(QQmlContext& context, const ContextObjects& objects, bool isTrayOnly);

} // namespace tfs::gui
