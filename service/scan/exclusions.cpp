// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/exclusions.h>
#include <service/scan/scan_run.h>

#include <algorithm>
#include <fnmatch.h>
#include <utility>

namespace tfs::service::scan {
namespace {

constexpr std::size_t LongestMask = 4096;
/// Each one multiplies what a match may cost.
constexpr std::ptrdiff_t MostStars = 16;

/// Length of the bracket expression at the beginning of `mask`; 0 where it is not closed.
std::size_t BracketLength(std::string_view mask) {
    std::size_t at = 1;
    if (at < mask.size() && (mask[at] == '!' || mask[at] == '^'))
        ++at;
    if (at < mask.size() && mask[at] == ']') // the first one stands for itself
        ++at;
    for (; at < mask.size() && mask[at] != '/'; ++at) {
        if (mask[at] == ']')
            return at + 1;
        if (mask[at] == '\\')
            ++at;
        else if (mask[at] == '[' && at + 1 < mask.size() && std::string_view(":.=").find(mask[at + 1]) != mask.npos) {
            const std::size_t end = mask.find(std::string{mask[at + 1], ']'}, at + 2);
            if (end == mask.npos)
                return 0;
            at = end + 1;
        }
    }
    return 0;
}

} // namespace

std::string NormalisedPath(std::string_view path) {
    std::string result;
    for (const char c : path)
        if (c != '/' || result.empty() || result.back() != '/')
            result += c;
    if (result.size() > 1 && result.back() == '/')
        result.pop_back();
    return result;
}

std::string CheckMask(const std::string& mask) {
    if (mask.empty())
        return "the mask is empty";
    if (mask.size() > LongestMask)
        return "the mask is too long";
    if (mask.find('\0') != mask.npos)
        return "the mask holds a zero byte";
    if (mask.front() != '/' && mask.find('/') != mask.npos)
        return "a mask with a slash must begin with one";
    if (std::count(mask.begin(), mask.end(), '*') > MostStars)
        return "the mask holds too many stars";
    for (std::size_t at = 0; at < mask.size();) {
        if (mask[at] == '\\') {
            if (at + 1 == mask.size())
                return "the mask ends in a backslash";
            at += 2;
        } else if (mask[at] == '[') {
            const std::size_t length = BracketLength(std::string_view(mask).substr(at));
            if (length == 0)
                return "a bracket of the mask is not closed";
            at += length;
        } else {
            ++at;
        }
    }
    const std::string steps = mask + '/';
    if (steps.find("/./") != steps.npos || steps.find("/../") != steps.npos || mask == "." || mask == "..")
        return "no name of a file is . or ..";
    return {};
}

Exclusions::Exclusions(const std::vector<std::string>& paths, const std::vector<std::string>& masks)
    : m_locale(masks.empty() ? locale_t{} : ::newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t{})) {
    for (const std::string& path : paths)
        m_paths.insert(NormalisedPath(path));
    for (const std::string& mask : masks)
        if (CheckMask(mask).empty())
            (mask.front() == '/' ? m_pathMasks : m_nameMasks)
                .push_back(mask.front() == '/' ? NormalisedPath(mask) : mask);
}

Exclusions::Exclusions(Exclusions&& other) noexcept
    : m_paths(std::move(other.m_paths)), m_nameMasks(std::move(other.m_nameMasks)),
      m_pathMasks(std::move(other.m_pathMasks)), m_locale(std::exchange(other.m_locale, locale_t{})) {}

Exclusions::~Exclusions() {
    if (m_locale != locale_t{})
        ::freelocale(m_locale);
}

bool Exclusions::Matches(const std::string& mask, const char* text) const {
    return ::fnmatch(mask.c_str(), text, FNM_PATHNAME) == 0;
}

bool Exclusions::Excludes(const std::string& path) const {
    if (!m_paths.empty() && m_paths.contains(path))
        return true;
    if (m_nameMasks.empty() && m_pathMasks.empty())
        return false;
    const locale_t before = m_locale != locale_t{} ? ::uselocale(m_locale) : locale_t{};
    const char* name = path.c_str() + path.rfind('/') + 1;
    const bool excluded =
        std::any_of(m_nameMasks.begin(), m_nameMasks.end(), [&](const auto& mask) { return Matches(mask, name); }) ||
        std::any_of(m_pathMasks.begin(), m_pathMasks.end(),
                    [&](const auto& mask) { return Matches(mask, path.c_str()); });
    if (before != locale_t{})
        ::uselocale(before);
    return excluded;
}

bool Exclusions::ExcludesAnyOf(const std::string& path) const {
    if (Excludes("/"))
        return true;
    for (std::size_t end = path.find('/', 1); end != path.npos; end = path.find('/', end + 1))
        if (Excludes(path.substr(0, end)))
            return true;
    return Excludes(path);
}

} // namespace tfs::service::scan
