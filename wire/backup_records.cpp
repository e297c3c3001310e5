// SPDX-License-Identifier: GPL-2.0-or-later
#include <wire/backup_records.h>
#include <wire/text.h>

namespace tfs::wire {

void Write(const BackupItemInfo& item, schema::BackupItem::Builder out) {
    out.setId(item.id);
    out.setObjectName(AsData(item.objectName));
    out.setDangerLevel(item.dangerLevel);
    out.setDetectName(AsData(item.detectName));
    out.setAddedTime(item.addedTime.ticks);
    out.setFileSize(item.fileSize);
}

void Read(schema::BackupItem::Reader in, BackupItemInfo& item) {
    item.id = in.getId();
    ReadText(in.getObjectName(), item.objectName);
    item.dangerLevel = in.getDangerLevel();
    item.detectName = ReadBytes(in.getDetectName());
    item.addedTime.ticks = in.getAddedTime();
    item.fileSize = in.getFileSize();
}

void Write(const settings::BackupSettings& settings, schema::BackupSettings::Builder out) {
    out.setStorageDays(settings.storageDays);
    out.setSizeLimitMb(settings.sizeLimitMb);
}

void Read(schema::BackupSettings::Reader in, settings::BackupSettings& settings) {
    settings.storageDays = in.getStorageDays();
    settings.sizeLimitMb = in.getSizeLimitMb();
}

void WriteList(const BackupItems& items, capnp::List<schema::BackupItem>::Builder out) {
    for (std::size_t i = 0; i < items.size(); ++i)
        Write(items[i], out[static_cast<capnp::uint>(i)]);
}

void ReadList(capnp::List<schema::BackupItem>::Reader in, BackupItems& items) {
    items.clear();
    items.reserve(in.size());
    for (const auto& item : in)
        Read(item, items.emplace_back());
}

std::size_t EstimateSize(const BackupItemInfo& item) noexcept {
    return 64 + item.objectName.size() * sizeof(char16_t) + item.detectName.size();
}

} // namespace tfs::wire
