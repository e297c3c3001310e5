// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/update/freshclam_output.h>
#include <service/update/signature_files.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace tfs::service::update {
namespace {

constexpr std::size_t LongestLine = 2048;
constexpr std::string_view ErrorMark = "ERROR: ";
constexpr std::string_view WarningMark = "WARNING: ";
constexpr std::string_view EngineMark = "[LibClamAV] ";
constexpr std::string_view CoolDown = "on cool-down until after: ";
constexpr char Escape = '\x1b';

/// Leaves out escape codes: ESC [ up to a letter, or ESC and one character.
std::string WithoutEscapes(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != Escape) {
            out += text[i];
        } else if (i + 1 < text.size() && text[++i] == '[') {
            while (i + 1 < text.size() && (text[++i] < '@' || text[i] > '~')) {
            }
        }
    }
    return out;
}

/// The file of a line like "Testing database: 'FOLDER/clamav-NUMBER.tmp-NAME' ...".
std::string TestedFile(std::string_view line) {
    constexpr std::string_view Mark = ".tmp-";
    const std::size_t begin = line.find(Mark);
    const std::size_t end = line.rfind('\'');
    if (begin == std::string_view::npos || end == std::string_view::npos || end < begin + Mark.size())
        return {};
    return std::string(line.substr(begin + Mark.size(), end - begin - Mark.size()));
}

/// Bytes of a size as progress shows it, such as "97.66KiB"; empty for anything else.
std::optional<double> ParseSize(std::string_view text) {
    const std::string copy(text);
    char* end = nullptr;
    const double number = std::strtod(copy.c_str(), &end);
    if (end == copy.c_str() || !std::isfinite(number) || number < 0)
        return std::nullopt;
    const std::string_view unit = end;
    constexpr std::array<std::string_view, 4> Units{"B", "KiB", "MiB", "GiB"};
    const auto found = std::find(Units.begin(), Units.end(), unit);
    if (found == Units.end())
        return std::nullopt;
    return std::ldexp(number, static_cast<int>(10 * (found - Units.begin())));
}

/// Percent of a progress line, which ends in "HAVE/WHOLE".
std::optional<std::uint32_t> ParseProgress(std::string_view line) {
    if (!line.starts_with("Time:"))
        return std::nullopt;
    const std::string_view last = line.substr(line.rfind(' ') + 1);
    const std::size_t slash = last.find('/');
    if (slash == std::string_view::npos)
        return std::nullopt;
    const auto have = ParseSize(last.substr(0, slash));
    const auto whole = ParseSize(last.substr(slash + 1));
    if (!have || !whole || *whole <= 0 || *have > *whole)
        return std::nullopt;
    return static_cast<std::uint32_t>(*have * 100 / *whole);
}

bool RemovePrefix(std::string_view& line, std::string_view prefix) {
    if (!line.starts_with(prefix))
        return false;
    line.remove_prefix(prefix.size());
    return true;
}

} // namespace

std::optional<std::string> LineReader::Take() {
    std::string line = CleanLine(WithoutEscapes(std::exchange(m_line, {})));
    return line.empty() ? std::nullopt : std::optional(std::move(line));
}

std::vector<std::string> LineReader::Add(std::string_view bytes) {
    std::vector<std::string> lines;
    for (const char c : bytes) {
        if (c != '\n' && c != '\r') {
            if (m_line.size() < LongestLine)
                m_line += c;
        } else if (auto line = Take()) {
            lines.push_back(std::move(*line));
        }
    }
    return lines;
}

std::optional<std::string> LineReader::Finish() { return Take(); }

FreshclamOutput::Step FreshclamOutput::Read(std::string_view line) {
    Step step;
    if (const auto percent = ParseProgress(line)) {
        step.filePercent = percent;
    } else if (const std::size_t updated = line.find(" updated (version"); updated != std::string_view::npos) {
        step.updatedFile = line.substr(0, updated);
    } else if (const std::size_t away = line.find(CoolDown); away != std::string_view::npos) {
        m_refusal =
            "the update servers allow no further update before " + std::string(line.substr(away + CoolDown.size()));
    } else if (line.starts_with("Testing database: ")) {
        m_testing = TestedFile(line);
        step.testedFile = m_testing;
    } else if (line.starts_with("Database test passed")) {
        m_testing.clear();
        m_detail.clear();
    } else if (line.starts_with("Trying again") || line.starts_with("Trying to download")) {
        m_cause.clear();
    } else if (RemovePrefix(line, ErrorMark)) {
        // The lines that follow the first only say that the whole has failed, too.
        if (m_cause.empty())
            m_cause = m_testing.empty() ? std::string(line) : m_testing + ": " + std::string(line);
    } else if (RemovePrefix(line, WarningMark) && RemovePrefix(line, EngineMark)) {
        if (m_detail.empty())
            m_detail = line;
    }
    return step;
}

std::string FreshclamOutput::Failure() const {
    if (!m_refusal.empty())
        return m_refusal;
    if (m_cause.empty())
        return {};
    std::string line = m_cause;
    // A file that can't be reached reads "Download failed (7) ERROR:  Message: ...".
    if (const std::size_t at = line.find("ERROR:"); at != std::string::npos)
        line.erase(at, ErrorMark.size());
    return CleanLine(m_detail.empty() ? line : line + " (" + m_detail + ")");
}

} // namespace tfs::service::update
