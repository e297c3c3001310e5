// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/update/signature_files.h>
#include <service/update/update_source.h>

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace tfs::service::update {
namespace {

using types::UpdateSourceKind;

constexpr char OfficialHost[] = "database.clamav.net";
constexpr std::string_view FileScheme = "file://";
constexpr std::size_t LongestLocation = 1024;
constexpr std::size_t MostSources = 100;
constexpr std::uint32_t LongestTimeout = 600;

bool IsWeb(std::string_view text) { return text.starts_with("http://") || text.starts_with("https://"); }

/// What may stand in a URL; a blank or a quote would end the value in the updater's configuration.
bool IsUrlCharacter(char c) {
    return c > ' ' && c < 0x7F && std::string_view("\"'<>\\^`{|}#").find(c) == std::string_view::npos;
}

std::optional<UpdateSource> ParseWeb(std::string_view text) {
    const std::size_t host = text.find("//") + 2;
    const std::size_t hostEnd = std::min(text.find('/', host), text.size());
    // A user's name and password would stand in every message about the source.
    const bool hasUser = text.substr(host, hostEnd - host).find('@') != std::string_view::npos;
    if (hostEnd == host || hasUser || !std::all_of(text.begin(), text.end(), IsUrlCharacter))
        return std::nullopt;
    while (text.size() > hostEnd && text.back() == '/')
        text.remove_suffix(1);
    const std::string_view last = text.size() > hostEnd ? text.substr(text.rfind('/') + 1) : std::string_view();
    if (HasSignatureSuffix(last) && !IsSignatureFile(last))
        return std::nullopt;
    return UpdateSource{IsSignatureFile(last) ? UpdateSource::Kind::File : UpdateSource::Kind::Mirror,
                        std::string(text)};
}

int HexDigit(char c) {
    const std::string_view digits = "0123456789abcdef";
    const char lower = c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
    const std::size_t at = digits.find(lower);
    return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

std::optional<std::string> Unescape(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            out += text[i];
            continue;
        }
        const int high = i + 2 < text.size() ? HexDigit(text[i + 1]) : -1;
        const int low = i + 2 < text.size() ? HexDigit(text[i + 2]) : -1;
        if (high < 0 || low < 0)
            return std::nullopt;
        out += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return out;
}

std::optional<UpdateSource> ParseFolder(std::string_view text) {
    std::optional<std::string> path(text);
    if (text.starts_with(FileScheme)) {
        text.remove_prefix(FileScheme.size());
        if (text.starts_with("localhost/"))
            text.remove_prefix(std::string_view("localhost").size());
        path = Unescape(text);
    }
    if (!path || !path->starts_with('/') || path->find('\0') != std::string::npos)
        return std::nullopt;
    while (path->size() > 1 && path->back() == '/')
        path->pop_back();
    return UpdateSource{UpdateSource::Kind::Folder, std::move(*path)};
}

std::optional<UpdateSource> Parse(const std::string& text, UpdateSourceKind::Type kind) {
    if (text.size() > LongestLocation)
        return std::nullopt;
    if (IsWeb(text))
        return ParseWeb(text);
    return kind == UpdateSourceKind::Custom ? ParseFolder(text) : std::nullopt;
}

} // namespace

std::optional<ProxyAddress> ParseProxy(const std::string& url) {
    std::string_view rest = url;
    const std::size_t schemeEnd = rest.find("://");
    if (!IsWeb(rest) || rest.size() > LongestLocation || !std::all_of(rest.begin(), rest.end(), IsUrlCharacter))
        return std::nullopt;
    ProxyAddress proxy;
    proxy.server = rest.substr(0, schemeEnd + 3);
    rest.remove_prefix(schemeEnd + 3);
    if (rest.ends_with('/'))
        rest.remove_suffix(1);
    if (const std::size_t at = rest.rfind('@'); at != std::string_view::npos) {
        const std::string_view credentials = rest.substr(0, at);
        const std::size_t colon = credentials.find(':');
        const auto user = Unescape(credentials.substr(0, colon));
        const auto password = colon == std::string_view::npos ? std::string() : Unescape(credentials.substr(colon + 1));
        const auto fits = [](const auto& text) {
            return text && std::all_of(text->begin(), text->end(), [](char c) { return c > ' ' && c < 0x7F; });
        };
        if (!fits(user) || user->empty() || !fits(password))
            return std::nullopt;
        proxy.user = *user;
        proxy.password = *password;
        rest.remove_prefix(at + 1);
    }
    const std::size_t colon = rest.rfind(':');
    if (colon == std::string_view::npos || colon == 0 || rest.find('/') != std::string_view::npos)
        return std::nullopt;
    proxy.server += rest.substr(0, colon);
    const std::string_view port = rest.substr(colon + 1);
    const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), proxy.port);
    if (error != std::errc() || end != port.data() + port.size() || proxy.port == 0)
        return std::nullopt;
    return proxy;
}

namespace {

/// Empty without a proxy. Throws std::invalid_argument with a line that doesn't repeat what may be secret.
std::optional<ProxyAddress> ProxyOf(const UpdateSettings& settings) {
    if (!settings.useProxy)
        return std::nullopt;
    auto proxy = ParseProxy(settings.proxyServer);
    if (!proxy)
        throw std::invalid_argument("the proxy's address is not of the form http://HOST:PORT");
    if (!proxy->user.empty())
        throw std::invalid_argument("the proxy's address may not hold a password: everybody may read settings");
    return proxy;
}

} // namespace

result_t SourcesOf(const UpdateSettings& settings, std::vector<UpdateSource>& sources, std::string& problem) {
    std::vector<UpdateSource> found;
    const auto refuse = [&problem](const std::string& line) {
        problem = CleanLine(line);
        return ulk::eInvalidArgument;
    };
    if (settings.connectionTimeout == 0 || settings.connectionTimeout > LongestTimeout)
        return refuse("the connection time-out must be from 1 to 600 seconds");
    std::optional<ProxyAddress> proxy;
    try {
        proxy = ProxyOf(settings);
    } catch (const std::invalid_argument& e) {
        return refuse(e.what());
    }
    const UpdateSourceKind::Type kind = settings.sourceType;
    if (kind != UpdateSourceKind::TLServers) {
        if (kind != UpdateSourceKind::SCServer && kind != UpdateSourceKind::Custom)
            return refuse("the kind of update source is unknown");
        if (settings.customSources.empty())
            return refuse("no update source is set");
        if (settings.customSources.size() > MostSources)
            return refuse("there are too many update sources");
        for (const std::string& text : settings.customSources) {
            auto source = Parse(text, kind);
            if (!source)
                return refuse("the update source is neither a web address nor an absolute path: " + text);
            if (source->kind != UpdateSource::Kind::Folder && !settings.ignoreProxyForCustom)
                source->proxy = proxy;
            found.push_back(std::move(*source));
        }
    }
    if (kind == UpdateSourceKind::TLServers || settings.useOfficialWhenUnavailable)
        found.push_back(
            {UpdateSource::Kind::Official, OfficialHost, settings.ignoreProxyForOfficial ? std::nullopt : proxy});
    sources = std::move(found);
    return ulk::sOk;
}

} // namespace tfs::service::update
