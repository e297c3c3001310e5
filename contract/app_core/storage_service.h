// SPDX-License-Identifier: GPL-2.0-or-later
// The storage services of module `key_value_storage`.
#pragma once

#include <foundation/object.h>

#include <string>

namespace app_core {

inline constexpr std::uint32_t KeyValueStorageClass = 0x0F4C61B2u;

/// One small key-value file. Thread-safe.
class IKeyValueStorage : public ulk::IObject {
public:
    static constexpr ulk::iid_t Iid = 0x0F4C61B2u;
    /// Opens or creates the file with mode 0600, its folder with 0700. A damaged file is set aside as "<path>.bad"
    /// and a new one begun. An empty path opens a store in memory, which ends with Close.
    virtual result_t Open(const std::string& path) noexcept = 0;
    /// eNotFound where the key has no value.
    virtual result_t Get(const std::string& key, std::string& value) noexcept = 0;
    virtual result_t Set(const std::string& key, const std::string& value) noexcept = 0;
    virtual result_t Remove(const std::string& key) noexcept = 0;
    virtual void Close() noexcept = 0;

protected:
    ~IKeyValueStorage() = default;
};

/// The two stores of a program, so that each can be looked up on the root locator.
inline constexpr std::uint32_t SettingsStorageClass = 0x0F4C61B3u;
inline constexpr std::uint32_t DataStorageClass = 0x0F4C61B4u;

class ISettingsStorage : public IKeyValueStorage {
public:
    static constexpr ulk::iid_t Iid = 0x0F4C61B3u;

protected:
    ~ISettingsStorage() = default;
};

class IDataStorage : public IKeyValueStorage {
public:
    static constexpr ulk::iid_t Iid = 0x0F4C61B4u;

protected:
    ~IDataStorage() = default;
};

} // namespace app_core
