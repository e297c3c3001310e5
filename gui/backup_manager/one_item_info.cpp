// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/datetime.h>
#include <gui/backup_manager/one_item_info.h>
#include <gui/common/application.h>
#include <gui/common/exception_text.h>
#include <gui/common/localized_text.h>
#include <tfs_utils/date_to_string_and_viceversa.h>

#include <limits>
#include <typeinfo>

namespace tfs::gui {
namespace {

namespace entry = tfs::localization::entry;

/// Texts are fetched once: the catalogue doesn't change after start.
struct ItemTexts {
    QString fileName = LocalizedText(entry::GuiBackupFileName);
    QString brokenFileName = LocalizedText(entry::GuiBackupFileNameBroken);
    QString dateTime = LocalizedText(entry::GuiBackupDateTime);
    QString removeDateTime = LocalizedText(entry::GuiBackupRemoveDateTime);
    QString fileSize = LocalizedText(entry::GuiBackupFileSize);
    std::string minutesFormat = LocalizedText(entry::GuiDateTimeFormatMinutes).toStdString();
    std::string dayFormat = LocalizedText(entry::GuiDateTimeFormatOnlyDate).toStdString();
};

const ItemTexts& Texts() {
    static const ItemTexts texts;
    return texts;
}

QString Moment(std::int64_t ticks, const std::string& format) {
    return QString::fromStdString(TicksToString(ticks, format.c_str()));
}

/// A moment that 64 bits don't hold becomes the last that they do, which no calendar has.
std::int64_t EndOfStay(std::int64_t addedTicks, std::uint32_t days) {
    std::int64_t stay = 0;
    std::int64_t end = 0;
    if (__builtin_mul_overflow(std::int64_t{days}, ulk::datetime::kTicksPerDay, &stay) ||
        __builtin_add_overflow(addedTicks, stay, &end))
        return std::numeric_limits<std::int64_t>::max();
    return end;
}

void AddDetails(const BackupItemInfo& item, std::uint32_t storageDays, QStringList& lines) {
    const ItemTexts& texts = Texts();
    std::string path;
    try {
        path = ulk::text::Cast<std::string>(item.objectName);
    } catch (const std::bad_cast&) {
        lines = QStringList(texts.brokenFileName);
        return;
    }
    lines << texts.fileName + QString::fromStdString(path);
    lines << texts.dateTime + Moment(item.addedTime.ticks, texts.minutesFormat);
    if (storageDays != 0)
        lines << texts.removeDateTime + Moment(EndOfStay(item.addedTime.ticks, storageDays), texts.dayFormat);
    lines << texts.fileSize + QString::number(item.fileSize);
}

} // namespace

OneItemInfo ToOneItemInfo(const BackupItemInfo& item, std::uint32_t storageDays) {
    OneItemInfo row;
    row.objectId = item.id;
    row.dangerLevel = static_cast<std::uint8_t>(item.dangerLevel);
    row.detectName = QString::fromStdString(item.detectName);
    row.objectName = item.objectName;
    try {
        AddDetails(item, storageDays, row.additionalInfo);
    } catch (const std::exception& e) {
        ULK_TRACE(application::GetTracer(), ulk::level::Failure)
            << "failed to convert BackupItemInfo to OneItemInfo: " << ExceptionText(e);
    }
    return row;
}

} // namespace tfs::gui
