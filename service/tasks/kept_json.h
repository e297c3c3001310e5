// SPDX-License-Identifier: GPL-2.0-or-later
// Parts of the state file. Included by what reads and writes it alone.
#pragma once

#include <service/tasks/kept_task.h>

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>

namespace tfs::service::tasks {

/// A number of that key that fits; else std::invalid_argument or what the parser throws.
template <class Number>
Number NumberOf(const nlohmann::json& json, const char* key) {
    const nlohmann::json& value = json.at(key);
    if (!value.is_number_integer() || (std::is_unsigned_v<Number> && !value.is_number_unsigned()))
        throw std::invalid_argument(key);
    return value.get<Number>();
}

nlohmann::json CountersToJson(const ScanStatistic& statistic);
ScanStatistic CountersFromJson(const nlohmann::json& json);

/// Names of files are bytes and JSON is Unicode: each byte becomes the character of its number.
std::string TextOfBytes(std::string_view bytes);
/// The way back; std::invalid_argument for a character beyond a byte.
std::string BytesOfText(std::string_view text);

nlohmann::json ToJson(const KeptTask& task);
/// Throws what the parser throws, and std::invalid_argument.
KeptTask TaskFromJson(const nlohmann::json& json);

} // namespace tfs::service::tasks
