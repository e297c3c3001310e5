// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/update/freshclam_config.h>

#include <algorithm>
#include <stdexcept>
#include <string_view>

namespace tfs::service::update {
namespace {

constexpr char OfficialVersions[] = "current.cvd.clamav.net";
/// For a source that needs no mirror; one must be named all the same, and is never asked.
constexpr char NoMirror[] = "localhost.invalid";
constexpr char OfficialAttempts[] = "3";

class Text {
public:
    void Add(std::string_view key, std::string_view value) {
        if (value.empty() || std::any_of(value.begin(), value.end(), [](char c) { return c <= ' ' || c == 0x7F; }))
            throw std::invalid_argument("a value of the updater's configuration isn't allowed");
        m_text.append(key).append(" ").append(value).append("\n");
    }
    void Add(std::string_view key, std::uint64_t value) { Add(key, std::to_string(value)); }
    std::string Take() { return std::move(m_text); }

private:
    std::string m_text;
};

std::string DescriptorPath(int descriptor) { return "/proc/self/fd/" + std::to_string(descriptor); }

void AddCustomOnly(Text& text) {
    text.Add("DatabaseMirror", NoMirror);
    for (const char* official : {"main", "daily", "bytecode"})
        text.Add("ExcludeDatabase", official);
}

void AddSource(Text& text, const FreshclamJob& job) {
    switch (job.source.kind) {
    case UpdateSource::Kind::Official:
        text.Add("DatabaseMirror", job.source.location);
        text.Add("DNSDatabaseInfo", OfficialVersions);
        text.Add("MaxAttempts", OfficialAttempts);
        return;
    case UpdateSource::Kind::Mirror:
        text.Add("PrivateMirror", job.source.location);
        break;
    case UpdateSource::Kind::File:
        AddCustomOnly(text);
        text.Add("DatabaseCustomURL", job.source.location);
        break;
    case UpdateSource::Kind::Folder:
        AddCustomOnly(text);
        for (const std::string& file : job.files)
            text.Add("DatabaseCustomURL", "file://" + DescriptorPath(SourceDescriptor) + "/" + file);
        break;
    }
    text.Add("MaxAttempts", 1);
}

} // namespace

std::string FreshclamConfiguration(const FreshclamJob& job) {
    Text text;
    text.Add("DatabaseDirectory", DescriptorPath(DatabaseDescriptor));
    if (!job.account.name.empty())
        text.Add("DatabaseOwner", job.account.name);
    text.Add("Foreground", "yes");
    text.Add("LogSyslog", "no");
    text.Add("TestDatabases", "yes");
    text.Add("ConnectTimeout", job.timeout);
    text.Add("ReceiveTimeout", job.timeout);
    AddSource(text, job);
    if (const auto& proxy = job.source.proxy) {
        text.Add("HTTPProxyServer", proxy->server);
        text.Add("HTTPProxyPort", proxy->port);
        if (!proxy->user.empty())
            text.Add("HTTPProxyUsername", proxy->user);
        if (!proxy->password.empty())
            text.Add("HTTPProxyPassword", proxy->password);
    }
    return text.Take();
}

} // namespace tfs::service::update
