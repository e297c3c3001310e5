// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/storage/object_table.h>

#include <utility>

namespace tfs::service::storage {

void ObjectTable::Fill(std::vector<ObjectRecord> records) {
    const ulk::LockGuard lock(m_mutex);
    m_objects.clear();
    m_claimed.clear();
    m_used = 0;
    for (ObjectRecord& record : records) {
        m_used += record.identity.size;
        const BackupId id = record.id;
        m_objects.emplace(id, std::move(record));
    }
}

bool ObjectTable::Reserve(const std::string& path, std::uint64_t size, std::uint64_t limit) {
    const ulk::LockGuard lock(m_mutex);
    std::uint64_t others = m_used + m_reserved;
    for (const auto& [id, object] : m_objects)
        if (object.path == path)
            others -= object.identity.size;
    if (limit != 0 && (size > limit || others > limit - size))
        return false;
    m_reserved += size;
    return true;
}

void ObjectTable::GiveBack(std::uint64_t reserved) {
    const ulk::LockGuard lock(m_mutex);
    m_reserved -= reserved;
}

void ObjectTable::Put(ObjectRecord record) {
    const ulk::LockGuard lock(m_mutex);
    const BackupId id = record.id;
    m_claimed.erase(id);
    const std::uint64_t size = record.identity.size;
    if (m_objects.insert_or_assign(id, std::move(record)).second)
        m_used += size;
}

void ObjectTable::Erase(std::span<const BackupId> ids) {
    const ulk::LockGuard lock(m_mutex);
    for (const BackupId id : ids) {
        m_claimed.erase(id);
        if (const auto node = m_objects.extract(id))
            m_used -= node.mapped().identity.size;
    }
}

void ObjectTable::SetAnnounced(std::span<const BackupId> ids, std::int64_t time) {
    const ulk::LockGuard lock(m_mutex);
    for (const BackupId id : ids)
        if (const auto found = m_objects.find(id); found != m_objects.end())
            found->second.announcedTime = time;
}

std::vector<ObjectRecord> ObjectTable::Select(const Filter& filter) const {
    const ulk::LockGuard lock(m_mutex);
    std::vector<ObjectRecord> selected;
    for (const auto& [id, object] : m_objects)
        if (filter(object))
            selected.push_back(object);
    return selected;
}

std::vector<ObjectRecord> ObjectTable::Claim(const Filter& filter, std::size_t& skipped) {
    const ulk::LockGuard lock(m_mutex);
    skipped = 0;
    std::vector<ObjectRecord> claimed;
    for (const auto& [id, object] : m_objects) {
        if (!filter(object))
            continue;
        if (m_claimed.contains(id))
            ++skipped;
        else
            claimed.push_back(object);
    }
    for (const ObjectRecord& object : claimed)
        m_claimed.insert(object.id);
    return claimed;
}

std::optional<ObjectRecord> ObjectTable::ClaimOne(const Filter& filter) {
    const ulk::LockGuard lock(m_mutex);
    for (const auto& [id, object] : m_objects)
        if (!m_claimed.contains(id) && filter(object)) {
            m_claimed.insert(id);
            return object;
        }
    return std::nullopt;
}

void ObjectTable::Release(std::span<const BackupId> ids) {
    const ulk::LockGuard lock(m_mutex);
    for (const BackupId id : ids)
        m_claimed.erase(id);
}

} // namespace tfs::service::storage
