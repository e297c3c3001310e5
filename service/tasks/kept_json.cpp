// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/tasks/kept_json.h>

namespace tfs::service::tasks {
namespace {

using Json = nlohmann::json;

/// The counters by name, for both directions.
template <class Statistic, class Use>
void ForEachCounter(Statistic& statistic, Use use) {
    use("scannedObjects", statistic.scannedObjects);
    use("threatsFound", statistic.threatsFound);
    use("infectedObjects", statistic.infectedObjects);
    use("suspiciousObjects", statistic.suspiciousObjects);
    use("curedObjects", statistic.curedObjects);
    use("backedUpObjects", statistic.backedUpObjects);
    use("deletedObjects", statistic.deletedObjects);
    use("notCuredObjects", statistic.notCuredObjects);
    use("scanErrors", statistic.scanErrors);
    use("passwordProtectedObjects", statistic.passwordProtectedObjects);
    use("skippedObjects", statistic.skippedObjects);
}

} // namespace

Json CountersToJson(const ScanStatistic& statistic) {
    Json json = Json::object();
    ForEachCounter(statistic, [&](const char* name, std::uint64_t value) { json[name] = value; });
    return json;
}

ScanStatistic CountersFromJson(const Json& json) {
    ScanStatistic statistic;
    ForEachCounter(statistic,
                   [&](const char* name, std::uint64_t& value) { value = NumberOf<std::uint64_t>(json, name); });
    return statistic;
}

std::string TextOfBytes(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            text.push_back(c);
            continue;
        }
        text.push_back(static_cast<char>(0xC0 | (byte >> 6)));
        text.push_back(static_cast<char>(0x80 | (byte & 0x3F)));
    }
    return text;
}

std::string BytesOfText(std::string_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto lead = static_cast<unsigned char>(text[i]);
        if (lead < 0x80) {
            bytes.push_back(text[i]);
            continue;
        }
        if ((lead != 0xC2 && lead != 0xC3) || i + 1 == text.size()) // the parser has tested what follows
            throw std::invalid_argument("not a byte");
        bytes.push_back(static_cast<char>((lead << 6) | (static_cast<unsigned char>(text[++i]) & 0x3F)));
    }
    return bytes;
}

} // namespace tfs::service::tasks
