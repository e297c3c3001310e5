// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/tfs/value_text.h>
#include <service/settings/settings_store.h>
#include <service/settings/statement.h>
#include <tfs_common/settings_tools.h>

#include <algorithm>
#include <new>
#include <type_traits>
#include <utility>

namespace tfs::service::settings {
namespace {

using tfs::settings::AppSettings;
using tfs::settings::ChangeItem;
using tfs::settings::SettingsChangeList;
using tfs::settings::ValidationMessage;
using ulk::types::any_struct_t;

static_assert(std::is_nothrow_move_assignable_v<ServiceSettings> && std::is_nothrow_move_assignable_v<Policy>,
              "what has been decided must get into force");

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

std::vector<ChangeItem> Differences(ulk::IServiceLocator* locator, const AppSettings& before,
                                    const AppSettings& after) {
    const auto old = tools::ListSettings(locator, Holder(before));
    auto items = tools::ListSettings(locator, Holder(after));
    std::erase_if(items, [&](const ChangeItem& item) { return std::find(old.begin(), old.end(), item) != old.end(); });
    return items;
}

} // namespace

SettingsStore::SettingsStore(Options options, LoadedSettings loaded)
    : m_options(std::move(options)), m_atStart(std::move(loaded.settings)), m_stored(m_atStart),
      m_oldFile(loaded.origin == SettingsOrigin::File || loaded.origin == SettingsOrigin::Missing ? OldFile::Drop
                                                                                                  : OldFile::SetAside),
      m_current(Combine(m_stored, {})) {}

std::shared_ptr<const EffectiveSettings> SettingsStore::Current() const {
    const ulk::LockGuard lock(m_mutex);
    return m_current;
}

std::shared_ptr<const EffectiveSettings> SettingsStore::Combine(const ServiceSettings& stored,
                                                                const Policy& policy) const {
    auto effective = std::make_shared<EffectiveSettings>();
    effective->application = stored.application;
    any_struct_t updated;
    Messages ignored; // each file of the policy was tested when it was read
    if (!policy.settings.items.empty()) {
        const result_t applied = tools::UpdateSettings(m_options.locator.Get(), Holder(stored.application),
                                                       policy.settings, ignored, updated);
        if (applied == ulk::eOutOfMemory)
            throw std::bad_alloc();
        if (ULK_SUCCEEDED(applied))
            effective->application = *updated.Get<AppSettings>();
    }
    effective->allowUserManageLocalTasks = policy.allowUserManageLocalTasks.value_or(stored.allowUserManageLocalTasks);
    effective->allowUserManageGroupTasks = policy.allowUserManageGroupTasks.value_or(stored.allowUserManageGroupTasks);
    effective->isUnderPolicy = policy.inForce;
    effective->policyName = policy.name;
    return effective;
}

/// Gives the settings as the list makes them, with nothing stored yet.
result_t SettingsStore::Check(const SettingsChangeList& changes, AppSettings& updated, Messages& messages) const {
    if (changes.items.empty() && !changes.allowEmpty) {
        messages.push_back(Message("CannotParseSettings"));
        return sInvalidSettings;
    }
    any_struct_t holder;
    const result_t applied =
        tools::UpdateSettings(m_options.locator.Get(), Holder(m_stored.application), changes, messages, holder);
    if (!ULK_SUCCEEDED(applied))
        return applied == ulk::eNotFound || applied == ulk::eInvalidArgument ? sInvalidSettings : applied;
    updated = *holder.Get<AppSettings>();
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
            ServiceSettings next = m_stored;
            if (const result_t result = Check(changes, next.application, messages); result != ulk::sOk)
                return result;
            if (const result_t result = CheckStatement(changes, acceptTsn, next, messages); result != ulk::sOk)
                return result;
            if (next != m_stored) {
                // What can fail comes before the file is replaced.
                Untold change = Prepare(next, m_policy, uid);
                if (const result_t saved = Save(next); !ULK_SUCCEEDED(saved))
                    return saved;
                m_stored = std::move(next);
                PutInForce(std::move(change));
            }
        }
        Tell();
        return ulk::sOk;
    } catch (const std::bad_alloc&) {
        return ulk::eOutOfMemory;
    } catch (const std::exception&) {
        return ulk::eUnspecified;
    }
}

result_t SettingsStore::Save(const ServiceSettings& next) {
    const result_t result = SaveSettings(m_options.path, next, m_oldFile, m_options.locator.Get());
    if (ULK_SUCCEEDED(result))
        m_oldFile = OldFile::Drop;
    return result;
}

void SettingsStore::SetPolicy(Policy policy) {
    {
        const ulk::LockGuard lock(m_changeMutex);
        Untold change = Prepare(m_stored, policy, std::nullopt);
        m_policy = std::move(policy);
        PutInForce(std::move(change));
    }
    Tell();
}

/// What is to be told of a change from what is in force; empty where there is none.
SettingsStore::Untold SettingsStore::Prepare(const ServiceSettings& stored, const Policy& policy,
                                             std::optional<std::uint32_t> uid) const {
    Untold change;
    auto before = Current();
    auto after = Combine(stored, policy);
    const bool isStatementNew = stored.statement != m_stored.statement;
    if (*before == *after && !isStatementNew)
        return change;
    auto items = Differences(m_options.locator.Get(), before->application, after->application);
    if (isStatementNew && before->application.useTsn == after->application.useTsn)
        items.push_back({NetworkKey, types::ToString(after->application.useTsn)});
    change.push_back({std::move(before), std::move(after), std::move(items), uid});
    return change;
}

void SettingsStore::PutInForce(Untold change) noexcept {
    if (change.empty())
        return;
    const ulk::LockGuard lock(m_mutex);
    m_current = change.front().after;
    m_untold.splice(m_untold.end(), change);
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
