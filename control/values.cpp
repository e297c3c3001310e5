// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/values.h>

#include <ctime>
#include <limits>

namespace tfs::control {

namespace {

constexpr std::int64_t TicksPerSecond = 10'000'000;
constexpr std::int64_t TicksOfEpoch = 116'444'736'000'000'000;

} // namespace

std::string Utf8(const ulk::types::string16_t& text) { return ulk::text::ToUtf8Lossy(text); }

std::string TaskStateName(types::TaskState::Type state) {
    const std::string_view name = types::TaskState::Table().Name(state);
    return name.empty() ? std::to_string(static_cast<int>(state)) : std::string(name);
}

std::string UtcFromEpoch(std::int64_t seconds) {
    if (seconds <= 0 || seconds > std::numeric_limits<std::time_t>::max())
        return {};
    const auto time = static_cast<std::time_t>(seconds);
    std::tm parts{};
    if (gmtime_r(&time, &parts) == nullptr)
        return {};
    char text[64];
    const std::size_t size = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return {text, size};
}

std::string UtcFromTicks(std::int64_t ticks) {
    return ticks <= TicksOfEpoch ? std::string() : UtcFromEpoch((ticks - TicksOfEpoch) / TicksPerSecond);
}

std::string BytesOf(const ulk::types::variant_t& value) {
    if (const auto* narrow = value.As<std::string>())
        return *narrow;
    if (const auto* wide = value.As<ulk::types::string16_t>())
        return Utf8(*wide);
    if (value.tag() == ulk::types::variant_t::Tag::Empty || value.tag() == ulk::types::variant_t::Tag::Vector)
        return {};
    return ulk::types::VariantToString(value);
}

} // namespace tfs::control
