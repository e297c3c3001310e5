// SPDX-License-Identifier: GPL-2.0-or-later
// Application settings, changes of settings as flat lists of texts, and the interface by which both travel.
#pragma once

#include <contract/tfs/value_tables.h>
#include <contract/tfs/variant.h>
#include <foundation/object.h>

#include <cstdint>
#include <string>

namespace tfs::settings {

/// The application settings of the service. A default record holds the product's defaults.
struct AppSettings {
    static constexpr std::uint32_t TypeNumber = 0x6009A125u;

    std::string sambaConfigPath = "/etc/samba/smb.conf";
    std::string nfsExportsPath = "/etc/exports";
    std::string traceFolder = "/var/log/tolvander/tesl/";
    types::TraceLevel::Type traceLevel = types::TraceLevel::None;
    std::uint32_t traceMaxFileCount = 2;
    std::uint32_t traceMaxFileSize = 250;           ///< MiB, of one file
    std::uint64_t traceFolderSizeLimit = 524288000; ///< bytes, of all trace files of the service together
    std::string eventsStoragePath = "/var/opt/tolvander/tesl/private/storage/events.db";
    std::uint32_t maxEventsNumber = 500000;
    std::string offlineTsnStatsFolder = "/var/opt/tolvander/tesl/common/offline-tsn-stats/";
    types::TsnUsage::Type useTsn = types::TsnUsage::Off;
    bool uiReportsForRootOnly = false;
    std::uint32_t limitNumberOfScanFileTasks = 100; ///< custom scans of one user at a time
    bool useSyslog = false;                         ///< stored events are written to the system log as well
    std::uint32_t daysToLive = 30;                  ///< an object is kept in Storage so long; 0: without limit
    std::uint32_t backupSizeLimit = 0;              ///< MiB, of all objects in Storage together; 0: without limit

    friend bool operator==(const AppSettings&, const AppSettings&) = default;
};

/// One change: a dotted path and a text value.
struct ChangeItem {
    std::string key;
    std::string value;
    friend bool operator==(const ChangeItem&, const ChangeItem&) = default;
};

/// A request to change settings. Items in the order added; duplicates are kept, the last one wins.
struct SettingsChangeList {
    std::uint32_t typeNumber = 0; ///< of the structure that the list is for
    ulk::types::vector_t<ChangeItem> items;
    bool allowEmpty = false; ///< an empty list is a valid request
    friend bool operator==(const SettingsChangeList&, const SettingsChangeList&) = default;
};

/// What is wrong with a request, in a form that each client shows in its own language.
struct ValidationMessage {
    std::string textKey;                                    ///< a key of the catalogue
    ulk::types::vector_t<ulk::types::string16_t> arguments; ///< of that text, in order
    friend bool operator==(const ValidationMessage&, const ValidationMessage&) = default;
};

} // namespace tfs::settings

namespace tfs {

/// Codes of IAppSettingsHandler::SetAppSettings beside the framework's own.
inline constexpr result_t sInvalidSettings = 0x2D280003;
inline constexpr result_t eBlockedByPolicy = static_cast<result_t>(0xAD280003u);
inline constexpr result_t eTsnNotAccepted = static_cast<result_t>(0xAD280009u);

class IAppSettingsHandler : public ulk::IObject {
public:
    static constexpr ulk::iid_t Iid = 0x9D6CC750u;
    /// The holder carries a settings::AppSettings.
    virtual result_t GetAppSettings(ulk::types::any_struct_t& holder) = 0;
    /// Applies the whole list or nothing. sOk; sInvalidSettings for a key that doesn't exist or a value that isn't
    /// allowed; eBlockedByPolicy for a key that a policy locks; eTsnNotAccepted where network participation is asked
    /// for and its statement was accepted neither before nor with this call; eAccessDenied for who isn't an
    /// administrator. `messages` says which key, which value and what is allowed, a line each.
    virtual result_t SetAppSettings(const settings::SettingsChangeList& changes,
                                    ulk::types::vector_t<settings::ValidationMessage>& messages, bool acceptTsn) = 0;

protected:
    ~IAppSettingsHandler() = default;
};

} // namespace tfs
