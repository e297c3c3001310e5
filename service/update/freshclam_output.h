// SPDX-License-Identifier: GPL-2.0-or-later
// What the updater writes, told apart.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tfs::service::update {

/// Gathers bytes into lines. Whatever comes, it holds no more than one line of bounded length; the rest of a longer one
/// is dropped.
class LineReader {
public:
    /// The lines that these bytes complete, without control characters and escape codes; empty ones are left out. A
    /// carriage return ends a line too: progress is drawn over itself.
    std::vector<std::string> Add(std::string_view bytes);
    /// What is left at the end.
    std::optional<std::string> Finish();

private:
    std::optional<std::string> Take();

    std::string m_line;
};

/// What the lines of one run have said so far.
class FreshclamOutput {
public:
    /// What a line means; at most one of them is set.
    struct Step {
        std::optional<std::uint32_t> filePercent; ///< of the download under way
        std::string testedFile;                   ///< a file that has come
        std::string updatedFile;                  ///< a file that is new and good
    };
    Step Read(std::string_view line);
    /// The line that says best why it failed; may be empty.
    std::string Failure() const;
    /// Set where the servers have asked the updater to stay away for a time; it ends as if nothing were new then.
    const std::string& Refusal() const noexcept { return m_refusal; }

private:
    std::string m_refusal;
    std::string m_cause;   ///< the first failure of the last attempt
    std::string m_detail;  ///< the engine's first words on a damaged file
    std::string m_testing; ///< the file that is being tested
};

} // namespace tfs::service::update
