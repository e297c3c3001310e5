// SPDX-License-Identifier: GPL-2.0-or-later
// The storage objects of this module: a key-value file behind its interface. Any thread.
#pragma once

#include <contract/app_core/storage_service.h>
#include <platform/key_value_storage/key_value_file.h>

#include <new>

namespace platform::storage {

/// Answers `Interface`, and IKeyValueStorage where that is another.
template <class Interface>
class KeyValueStorage final : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, Interface> {
public:
    KeyValueStorage() = default;

    result_t QueryInterface(ulk::iid_t iid, void** out) noexcept override {
        return ulk::SimpleObjectBase<ulk::NoServiceStrategy, Interface>::QueryInterface(
            iid == app_core::IKeyValueStorage::Iid ? Interface::Iid : iid, out);
    }
    result_t Open(const std::string& path) noexcept override {
        return Guarded([&] { return m_file.Open(path); });
    }
    result_t Get(const std::string& key, std::string& value) noexcept override {
        return Guarded([&] { return m_file.Get(key, value); });
    }
    result_t Set(const std::string& key, const std::string& value) noexcept override {
        return Guarded([&] { return m_file.Set(key, value); });
    }
    result_t Remove(const std::string& key) noexcept override {
        return Guarded([&] { return m_file.Remove(key); });
    }
    void Close() noexcept override { m_file.Close(); }

private:
    ~KeyValueStorage() override = default;

    template <class Call>
    static result_t Guarded(Call&& call) noexcept {
        try {
            return call();
        } catch (const std::bad_alloc&) {
            return ulk::eOutOfMemory;
        } catch (...) {
            return ulk::eUnspecified;
        }
    }

    KeyValueFile m_file;
};

} // namespace platform::storage
