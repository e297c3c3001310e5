// SPDX-License-Identifier: GPL-2.0-or-later
#include <tfs_common/config_data.h>
#include <tfs_common/regular_file.h>

#include <algorithm>
#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <charconv>
#include <limits>
#include <optional>
#include <sstream>
#include <type_traits>
#include <unistd.h>

namespace tfs::loader {
namespace {

using Tree = boost::property_tree::ptree;

/// A configuration is a few lines; whatever is larger isn't one.
constexpr std::size_t MaxFileSize = 1 << 20;
constexpr std::uint64_t LeastScanMemoryLimit = 2048;
constexpr unsigned MegabyteShift = 20;

template <class Integer>
std::optional<Integer> ParseInteger(const std::string& token) {
    Integer value{};
    const char* const end = token.data() + token.size();
    const auto [stopped, error] = std::from_chars(token.data(), end, value);
    if (error != std::errc() || stopped != end)
        return std::nullopt;
    return value;
}

std::optional<bool> ParseBool(const std::string& token) {
    if (token == "1" || token == "true" || token == "yes")
        return true;
    if (token == "0" || token == "false" || token == "no")
        return false;
    return std::nullopt;
}

std::optional<std::string> Read(const Tree& tree, const char* key) {
    if (const auto value = tree.get_optional<std::string>(key))
        return *value;
    return std::nullopt;
}

void ReadText(const Tree& tree, const char* key, std::string& field) {
    if (auto value = Read(tree, key))
        field = std::move(*value);
}

void ReadBool(const Tree& tree, const char* key, bool& field) {
    if (const auto value = Read(tree, key))
        field = ParseBool(*value).value_or(field);
}

void ReadGuid(const Tree& tree, const char* key, ulk::Guid& field) {
    if (const auto value = Read(tree, key))
        field = ulk::GuidFromString(*value);
}

void ReadScanMemoryLimit(const Tree& tree, std::int64_t& field) {
    const auto token = Read(tree, "General.ScanMemoryLimit");
    const auto value = token ? ParseInteger<std::uint64_t>(*token) : std::nullopt;
    constexpr auto most = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) >> MegabyteShift;
    if (value && *value <= most)
        field = static_cast<std::int64_t>(std::max(*value, LeastScanMemoryLimit) << MegabyteShift);
}

void ReadWatchdogPingTimeout(const Tree& tree, std::int32_t& field) {
    const auto token = Read(tree, "General.WatchdogPingTimeout");
    const auto seconds = token ? ParseInteger<std::int32_t>(*token) : std::nullopt;
    if (seconds && *seconds >= 0 && *seconds <= std::numeric_limits<std::int32_t>::max() / 1000)
        field = *seconds * 1000;
}

void ReadKeys(const Tree& tree, ConfigData& config) {
    ReadText(tree, "General.SocketPath", config.socketPath);
    ReadText(tree, "General.PackageType", config.packageType);
    ReadText(tree, "General.Locale", config.locale);
    ReadScanMemoryLimit(tree, config.scanMemoryLimit);
    ReadBool(tree, "General.UseFanotify", config.useFanotify);
    ReadBool(tree, "General.UseGui", config.useGui);
    ReadWatchdogPingTimeout(tree, config.watchdogPingTimeout);
    ReadGuid(tree, "General.PCID", config.pcid);
    ReadGuid(tree, "General.MachineId", config.machineId);
    ReadText(tree, "General.SambaConfigPath", config.sambaConfigPath);
    ReadText(tree, "General.NfsExportPath", config.nfsExportsPath);
    ReadText(tree, "General.UpdateFolder", config.updateFolder);
    ReadText(tree, "General.LicenseFolder", config.licenseFolder);
    ReadText(tree, "General.ActivationAddress", config.activationAddress);
    config.agreementAccepted = Read(tree, "AcceptedAgreement.EulaId").has_value();
}

void ReadFile(const std::string& path, ConfigData& config) {
    // A path that isn't UTF-8 throws here and counts as a file that can't be read.
    (void)ulk::text::Cast<ulk::types::string16_t>(std::string_view(path));
    std::string text;
    if (!ULK_SUCCEEDED(ReadRegularFile(path, MaxFileSize, text)))
        return;
    std::istringstream stream(text);
    Tree tree;
    boost::property_tree::ini_parser::read_ini(stream, tree);
    ReadKeys(tree, config);
}

} // namespace

std::shared_ptr<const ConfigData> LoadConfigData(const std::string& path) { return LoadConfigData(path, ::getuid()); }

std::shared_ptr<const ConfigData> LoadConfigData(const std::string& path, uid_t uid) {
    auto config = std::make_shared<ConfigData>();
    try {
        ReadFile(path, *config);
    } catch (const std::exception&) {
        // Half a configuration would be worse than none.
        config = std::make_shared<ConfigData>();
    }
    if (uid != 0)
        config->logFolder = ulk::text::Cast<ulk::types::string16_t>(
            std::string_view(std::string(paths::UserLogFolder) + std::to_string(uid)));
    return config;
}

} // namespace tfs::loader
