// SPDX-License-Identifier: GPL-2.0-or-later
#include <tests/unit/scanner/scan_files.h>

#include <array>
#include <boost/crc.hpp>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <stdlib.h>

namespace tfs::test {
namespace {

void Put(std::string& out, std::uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i)
        out += static_cast<char>((value >> (8 * i)) & 0xFF);
}

} // namespace

TemporaryFolder::TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "tesl-scan-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("mkdtemp");
    m_path = std::filesystem::canonical(pattern).string();
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::string TemporaryFolder::Write(const std::string& name, const std::string& content) const {
    const std::filesystem::path path = m_path + "/" + name;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    file << content;
    file.close();
    if (!file)
        throw std::runtime_error("write " + path.string());
    return path.string();
}

std::string TestThreat() {
    return std::string("X5O!P%@AP[4\\PZX54(P^)7CC)7}") + "$EICAR" + "-STANDARD-ANTIVIRUS-" + "TEST-FILE!" + "$H+H*";
}

std::string MarkerThreat() {
    return std::string("before tolvander harmless sample: ") + "pebble lantern orchard seven after";
}

std::string Contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string Noise(std::size_t size, std::uint32_t state) {
    std::string content(size, '\0');
    for (char& c : content)
        c = static_cast<char>((state = state * 1664525u + 1013904223u) >> 24);
    return content;
}

std::string Zip(const std::vector<std::pair<std::string, std::string>>& members, std::uint16_t method) {
    std::string out;
    std::string directory;
    for (const auto& [name, content] : members) {
        boost::crc_32_type crc;
        crc.process_bytes(content.data(), content.size());
        std::string common;
        Put(common, 10, 2); // version
        Put(common, 0, 2);  // flags
        Put(common, method, 2);
        Put(common, 0, 2);  // time
        Put(common, 33, 2); // date
        Put(common, crc.checksum(), 4);
        Put(common, content.size(), 4);
        Put(common, content.size(), 4);
        Put(common, name.size(), 2);
        Put(common, 0, 2);
        directory += "PK\x01\x02";
        Put(directory, 20, 2);
        directory += common;
        Put(directory, 0, 10);
        Put(directory, out.size(), 4);
        directory += name;
        out += "PK\x03\x04" + common + name + content;
    }
    const std::size_t at = out.size();
    out += directory + "PK\x05\x06";
    Put(out, 0, 4);
    Put(out, members.size(), 2);
    Put(out, members.size(), 2);
    Put(out, directory.size(), 4);
    Put(out, at, 4);
    Put(out, 0, 2);
    return out;
}

void RunCommand(const std::string& command) {
    if (std::system(command.c_str()) != 0)
        throw std::runtime_error(command);
}

} // namespace tfs::test
