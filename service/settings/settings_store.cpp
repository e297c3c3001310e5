// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/settings/file_io.h>
#include <service/settings/settings_store.h>
#include <service/settings/statement.h>
#include <tfs_common/settings_tools.h>

#include <algorithm>
#include <new>
#include <utility>

namespace tfs::service::settings {
namespace {

using tfs::settings::AppSettings;
using tfs::settings::ChangeItem;
using tfs::settings::SettingsChangeList;
using tfs::settings::ValidationMessage;
using ulk::types::any_struct_t;

constexpr char NetworkKey[] = "UseTSN";
constexpr char NetworkOff[] = "Off";
constexpr char DatabaseKey[] = "EventsStoragePath";

any_struct_t Holder(const AppSettings& settings) {
    any_struct_t holder;
    holder.Set(settings);
    return holder;
}

template <class... Arguments>
ValidationMessage Message(const char* key, const Arguments&... arguments) {
    return {key, {ulk::text::ToUtf16Lossy(arguments)...}};
}

/// Each fault once, and no more than an answer has room for.
void Add(std::vector<ValidationMessage>& messages, ValidationMessage message) {
    if (messages.size() < tools::GreatestMessageCount &&
        std::find(messages.begin(), messages.end(), message) == messages.end())
        messages.push_back(std::move(message));
}

/// The last value that the list has for a key; null where it has none.
const std::string* LastValue(const SettingsChangeList& changes, std::string_view key) {
    const auto found = std::find_if(changes.items.rbegin(), changes.items.rend(),
                                    [key](const ChangeItem& item) { return item.key == key; });
    return found == changes.items.rend() ? nullptr : &found->value;
}

/// What the list's own rules don't know: the settings file is UTF-8, and a database needs a file name.
bool IsUsable(const ChangeItem& item) {
    std::u16string converted;
    return ULK_SUCCEEDED(ulk::text::Convert(std::string_view(item.value), converted)) &&
           (item.key != DatabaseKey || !item.value.ends_with('/'));
}

std::vector<ChangeItem> Differences(const AppSettings& before, const AppSettings& after) {
    const auto old = tools::ListSettings(nullptr, Holder(before));
    auto items = tools::ListSettings(nullptr, Holder(after));
    std::erase_if(items, [&](const ChangeItem& item) { return std::find(old.begin(), old.end(), item) != old.end(); });
    return items;
}

} // namespace

SettingsStore::SettingsStore(Options options, LoadedSettings loaded)
    : m_options(std::move(options)), m_atStart(std::move(loaded.settings)), m_stored(m_atStart),
      m_mustKeepAside(loaded.origin == SettingsOrigin::Invalid) {
    const ulk::LockGuard lock(m_changeMutex);
    const ulk::LockGuard inner(m_mutex);
    m_current = Combine();
}

std::shared_ptr<const EffectiveSettings> SettingsStore::Current() const {
    const ulk::LockGuard lock(m_mutex);
    return m_current;
}

std::shared_ptr<const EffectiveSettings> SettingsStore::Combine() const {
    auto effective = std::make_shared<EffectiveSettings>();
    effective->application = m_stored.application;
    any_struct_t updated;
    Messages ignored; // each file of the policy was tested when it was read
    if (!m_policy.settings.items.empty() && ULK_SUCCEEDED(tools::UpdateSettings(nullptr, Holder(m_stored.application),
                                                                                m_policy.settings, ignored, updated)))
        effective->application = *updated.Get<AppSettings>();
    effective->allowUserManageLocalTasks =
        m_policy.allowUserManageLocalTasks.value_or(m_stored.allowUserManageLocalTasks);
    effective->allowUserManageGroupTasks =
        m_policy.allowUserManageGroupTasks.value_or(m_stored.allowUserManageGroupTasks);
    effective->isUnderPolicy = m_policy.inForce;
    effective->policyName = m_policy.name;
    return effective;
}

result_t SettingsStore::Check(const SettingsChangeList& changes, Messages& messages) const {
    if (changes.items.empty() && !changes.allowEmpty) {
        messages.push_back(Message("CannotParseSettings"));
        return sInvalidSettings;
    }
    const result_t valid = tools::ValidateChangeList(nullptr, Holder(m_stored.application), changes, messages);
    if (valid != ulk::sOk)
        return valid == ulk::eNotFound ? sInvalidSettings : valid;
    for (const ChangeItem& item : changes.items)
        if (!IsUsable(item))
            Add(messages, Message("InvalidSettings1", item.key + "=" + item.value));
    if (!messages.empty())
        return sInvalidSettings;
    for (const ChangeItem& item : changes.items)
        if (m_policy.Locks(item.key))
            Add(messages, Message("SetSettingsBlockedByPolicy1", item.key));
    return messages.empty() ? ulk::sOk : eBlockedByPolicy;
}

result_t SettingsStore::CheckStatement(const SettingsChangeList& changes, bool acceptTsn, ServiceSettings& next,
                                       Messages& messages) const {
    const std::string* const mode = LastValue(changes, NetworkKey);
    if (mode == nullptr || *mode == NetworkOff)
        return ulk::sOk;
    std::string sha256 = HashOfStatement(m_options.statementPath);
    if (!sha256.empty() && next.statement && next.statement->sha256 == sha256)
        return ulk::sOk;
    // Nobody can have read a statement that isn't there.
    if (!acceptTsn || sha256.empty()) {
        messages.push_back(Message("TsnNotAccepted1", m_options.statementPath));
        return eTsnNotAccepted;
    }
    next.statement = AcceptNow(std::move(sha256));
    return ulk::sOk;
}

result_t SettingsStore::Apply(const SettingsChangeList& changes, bool acceptTsn, std::uint32_t uid,
                              Messages& messages) noexcept {
    messages.clear();
    try {
        {
            const ulk::LockGuard lock(m_changeMutex);
            if (const result_t result = Check(changes, messages); result != ulk::sOk)
                return result;
            ServiceSettings next = m_stored;
            if (const result_t result = CheckStatement(changes, acceptTsn, next, messages); result != ulk::sOk)
                return result;
            any_struct_t updated;
            const result_t result =
                tools::UpdateSettings(nullptr, Holder(m_stored.application), changes, messages, updated);
            if (!ULK_SUCCEEDED(result))
                return result;
            next.application = *updated.Get<AppSettings>();
            if (const result_t stored = Store(std::move(next)); !ULK_SUCCEEDED(stored))
                return stored;
            PutInForce(uid);
        }
        Tell();
        return ulk::sOk;
    } catch (const std::bad_alloc&) {
        return ulk::eOutOfMemory;
    } catch (const std::exception&) {
        return ulk::eUnspecified;
    }
}

result_t SettingsStore::Store(ServiceSettings next) {
    if (next == m_stored)
        return ulk::sOk;
    if (m_mustKeepAside) // somebody wrote it by hand and may want to mend it
        m_mustKeepAside = !KeepFileAside(m_options.path);
    const result_t result = SaveSettings(m_options.path, next);
    if (ULK_SUCCEEDED(result))
        m_stored = std::move(next);
    return result;
}

void SettingsStore::SetPolicy(Policy policy) {
    {
        const ulk::LockGuard lock(m_changeMutex);
        m_policy = std::move(policy);
        PutInForce(std::nullopt);
    }
    Tell();
}

void SettingsStore::PutInForce(std::optional<std::uint32_t> uid) {
    auto after = Combine();
    const ulk::LockGuard lock(m_mutex);
    auto before = std::exchange(m_current, std::move(after));
    if (*before == *m_current)
        return;
    auto items = Differences(before->application, m_current->application);
    m_untold.push_back({std::move(before), m_current, std::move(items), uid});
}

void SettingsStore::Tell() {
    ulk::LockGuard lock(m_mutex);
    if (std::exchange(m_isTelling, true))
        return;
    while (!m_untold.empty()) {
        const SettingsChange change = std::move(m_untold.front());
        m_untold.pop_front();
        lock.unlock();
        for (const Listener& listener : m_listeners)
            listener(change);
        lock.lock();
    }
    m_isTelling = false;
}

} // namespace tfs::service::settings
