// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/app_info/app_info_values.h>
#include <gui/common/localized_text.h>

namespace tfs::gui {

AppInfoValues AppInfoValues::Initial() {
    namespace entry = tfs::localization::entry;
    const QString unknown = LocalizedText(entry::GuiMainLastRunTaskTimeUnknown);
    AppInfoValues values;
    values.infoLastScanTime = LocalizedFormat(entry::GuiMainLastRunScanTask, unknown);
    values.infoLastScanResult = LocalizedText(entry::GuiTaskResultOk);
    values.infoLastUpdateTime = LocalizedFormat(entry::GuiMainLastRunUpdateTask, unknown);
    values.infoDatabasesState = LocalizedText(entry::GuiAppInfoAVBasesAreUpToDate);
    return values;
}

} // namespace tfs::gui
