// SPDX-License-Identifier: GPL-2.0-or-later
#include "fake_backup.h"

#include <stdexcept>

namespace tfs::gui::test {

bool FakeBackup::Passes(const QueryFilter& filter, const BackupItemInfo& item) const {
    bool all = true;
    bool any = false;
    bool alternatives = false;
    for (const QueryClause& clause : filter) {
        const auto* const id = clause.value.As<std::uint64_t>();
        const auto children = m_children.find(item.id);
        bool meets = false;
        if (id != nullptr && clause.field == u"ObjectId" && clause.operation == u"==")
            meets = item.id == *id;
        else if (id != nullptr && clause.field == u"ChildrenList" && clause.operation == u"contains")
            meets = children != m_children.end() && children->second.count(*id) != 0;
        else
            throw std::invalid_argument("a clause that the service doesn't know");
        const bool isAlternative = clause.logic == u"OR";
        alternatives |= isAlternative;
        any |= isAlternative && meets;
        all &= isAlternative || meets;
    }
    return all && (any || !alternatives);
}

void FakeBackup::Note(const std::string& call) {
    m_calls.push_back(call);
    if (throws)
        throw std::runtime_error("thrown by the transport");
}

result_t FakeBackup::Query(const QueryFilter& filter, BackupItems& items) {
    std::unique_lock lock(m_mutex);
    Note("query");
    m_opened.wait(lock, [this] { return !m_shut; });
    if (!ULK_SUCCEEDED(queryFailure.load()))
        return queryFailure;
    BackupItems found;
    for (const auto& [id, item] : m_items) {
        if (Passes(filter, item))
            found.push_back(item);
    }
    items = std::move(found);
    return ulk::sOk;
}

result_t FakeBackup::Remove(const QueryFilter& filter) {
    const std::lock_guard lock(m_mutex);
    Note("remove " + std::to_string(filter.size()));
    if (!ULK_SUCCEEDED(removeFailure.load()))
        return removeFailure;
    std::erase_if(m_items, [&](const auto& entry) { return Passes(filter, entry.second); });
    return ulk::sOk;
}

result_t FakeBackup::Restore(BackupId id) {
    const std::lock_guard lock(m_mutex);
    Note("restore " + std::to_string(id));
    const auto failure = restoreFailures.find(id);
    return failure == restoreFailures.end() ? ulk::sOk : failure->second;
}

result_t FakeBackup::GetSettings(settings::BackupSettings& backupSettings) {
    const std::lock_guard lock(m_mutex);
    if (!ULK_SUCCEEDED(settingsFailure.load()))
        return settingsFailure;
    backupSettings = m_settings;
    return ulk::sOk;
}

void FakeBackup::Add(BackupId id, const char16_t* name, std::uint64_t size) {
    const std::lock_guard lock(m_mutex);
    BackupItemInfo& item = m_items[id];
    item.id = id;
    item.objectName = name;
    item.fileSize = size;
}

void FakeBackup::SetSettings(std::uint32_t storageDays, std::uint32_t sizeLimitMb) {
    const std::lock_guard lock(m_mutex);
    m_settings = {storageDays, sizeLimitMb};
}

void FakeBackup::AddChild(BackupId container, BackupId child) {
    const std::lock_guard lock(m_mutex);
    m_children[container].insert(child);
}

std::vector<std::string> FakeBackup::Calls() const {
    const std::lock_guard lock(m_mutex);
    return m_calls;
}

void FakeBackup::Shut(bool shut) {
    {
        const std::lock_guard lock(m_mutex);
        m_shut = shut;
    }
    m_opened.notify_all();
}

} // namespace tfs::gui::test
