// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/datetime.h>
#include <gui/common/application.h>
#include <gui/common/exception_text.h>
#include <gui/tools/screen_saver.h>

#include <QtCore/QDir>
#include <QtCore/QStandardPaths>
#include <QtGui/QImage>
#include <ctime>

namespace tfs::tools {

void ScreenSaver::TakeScreenshot(QQuickWindow* quickWindow) {
    ULK_TRACE(gui::application::GetTracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    if (quickWindow == nullptr)
        return;
    try {
        const std::string moment = ulk::datetime::Format(ulk::datetime::ToLocal(std::time(nullptr)));
        const QDir folder(QStandardPaths::writableLocation(QStandardPaths::TempLocation));
        const QString name = QString::fromStdString("screen-" + moment + ".png");
        (void)quickWindow->grabWindow().save(folder.absoluteFilePath(name));
    }
    GUI_CATCH_ALL
}

} // namespace tfs::tools
