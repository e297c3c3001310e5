// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/storage/blob_header.h>
#include <service/storage/failure.h>

#include <nlohmann/json.hpp>

namespace tfs::service::storage {
namespace {

using Json = nlohmann::json;

/// Paths and attributes are bytes and no texts.
Json Bytes(const std::string& bytes) { return Json::binary({bytes.begin(), bytes.end()}); }

std::string BytesOf(const Json& value) {
    const auto& bytes = value.get_binary();
    return {bytes.begin(), bytes.end()};
}

Json FromMoment(const Moment& moment) { return {moment.seconds, moment.nanoseconds}; }

Moment MomentOf(const Json& value) { return {value.at(0).get<std::int64_t>(), value.at(1).get<std::int64_t>()}; }

Json FromTraits(const FileTraits& traits) {
    Json attributes = Json::array();
    for (const auto& [name, value] : traits.attributes)
        attributes.push_back({Bytes(name), Bytes(value)});
    return {{"mode", traits.mode},
            {"uid", traits.uid},
            {"gid", traits.gid},
            {"accessed", FromMoment(traits.accessed)},
            {"attributes", std::move(attributes)}};
}

void ReadTraits(const Json& value, FileTraits& traits) {
    traits.mode = value.at("mode").get<std::uint32_t>();
    traits.uid = value.at("uid").get<std::uint32_t>();
    traits.gid = value.at("gid").get<std::uint32_t>();
    traits.accessed = MomentOf(value.at("accessed"));
    for (const Json& attribute : value.at("attributes"))
        traits.attributes.emplace_back(BytesOf(attribute.at(0)), BytesOf(attribute.at(1)));
}

} // namespace

std::vector<std::uint8_t> FormatHeader(const BlobHeader& header) {
    return Json::to_cbor({{"id", header.id},
                          {"path", Bytes(header.path)},
                          {"detectName", Bytes(header.detectName)},
                          {"dangerLevel", header.dangerLevel},
                          {"addedTime", header.addedTime},
                          {"device", header.identity.device},
                          {"inode", header.identity.inode},
                          {"size", header.identity.size},
                          {"modified", FromMoment(header.identity.modified)},
                          {"changed", FromMoment(header.identity.changed)},
                          {"traits", FromTraits(header.traits)}});
}

BlobHeader ParseHeader(std::span<const std::uint8_t> document) {
    try {
        const Json root = Json::from_cbor(document.begin(), document.end());
        BlobHeader header;
        header.id = root.at("id").get<BackupId>();
        header.path = BytesOf(root.at("path"));
        header.detectName = BytesOf(root.at("detectName"));
        header.dangerLevel = root.at("dangerLevel").get<std::uint32_t>();
        header.addedTime = root.at("addedTime").get<std::int64_t>();
        header.identity = {root.at("device").get<std::uint64_t>(), root.at("inode").get<std::uint64_t>(),
                           root.at("size").get<std::uint64_t>(), MomentOf(root.at("modified")),
                           MomentOf(root.at("changed"))};
        ReadTraits(root.at("traits"), header.traits);
        header.traits.size = header.identity.size;
        header.traits.modified = header.identity.modified;
        return header;
    } catch (const Json::exception& e) {
        throw Failure(ulk::eInvalidState, std::string("the object's description is damaged: ") + e.what());
    }
}

} // namespace tfs::service::storage
