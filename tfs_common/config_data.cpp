// SPDX-License-Identifier: GPL-2.0-or-later
#include <tfs_common/config_data.h>

#include <algorithm>
#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <limits>
#include <optional>
#include <sstream>
#include <sys/stat.h>
#include <type_traits>
#include <unistd.h>

namespace tfs::loader {
namespace {

using Tree = boost::property_tree::ptree;

/// A configuration is a few lines; whatever is larger isn't one.
constexpr std::size_t MaxFileSize = 1 << 20;
constexpr std::uint64_t LeastScanMemoryLimit = 2048;
constexpr unsigned MegabyteShift = 20;

class Descriptor {
public:
    explicit Descriptor(int fd) noexcept : m_fd(fd) {}
    ~Descriptor() {
        if (m_fd != -1)
            ::close(m_fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int Get() const noexcept { return m_fd; }

private:
    int m_fd;
};

/// The text of a regular file; nothing where it can't be had. Opening never waits for a writer of a FIFO.
std::optional<std::string> ReadRegularFile(const std::string& path) {
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    struct stat status {};
    if (file.Get() == -1 || ::fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    std::string text;
    char block[4096];
    while (text.size() <= MaxFileSize) {
        const ssize_t count = ::read(file.Get(), block, sizeof(block));
        if (count == 0)
            return text;
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return std::nullopt;
        text.append(block, static_cast<std::size_t>(count));
    }
    return std::nullopt;
}

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
    config.agreementAccepted = Read(tree, "AcceptedAgreement.EulaId").has_value();
}

void ReadFile(const std::string& path, ConfigData& config) {
    // A path that isn't UTF-8 throws here and counts as a file that can't be read.
    (void)ulk::text::Cast<ulk::types::string16_t>(std::string_view(path));
    const auto text = ReadRegularFile(path);
    if (!text)
        return;
    std::istringstream stream(*text);
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
