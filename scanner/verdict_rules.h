// SPDX-License-Identifier: GPL-2.0-or-later
// From what the engine says to a verdict: anything that was not wholly read is never clean. Pure functions.
#pragma once

#include <contract/scanner_protocol.h>
#include <scanner/archive_watch.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace tfs::scanner {

struct Verdict {
    VerdictCode code = VerdictCode::Clean;
    std::string threat; ///< name, with Infected
    std::string inner;  ///< member of a container, with Infected
    std::string detail; ///< words of the system or the engine
    std::uint64_t bytes = 0;
};

/// What went wrong with reading the file.
enum class SourceTrouble { None, Cancelled, ReadError, Changed };

/// What the engine wrote to its log during a scan that casts doubt on "clean".
enum class EngineTrouble { None, OutOfMemory, CutStream };

struct EngineOutcome {
    int result = 0;         ///< cl_error_t
    std::string resultText; ///< the engine's text of it
    std::string threat;     ///< first real detection
    std::string inner;
    std::string alert;       ///< the engine's first alert that only says what could not be scanned
    bool emptyAlert = false; ///< the engine reported a detection without a name: the file is over its size limit
    SourceTrouble source = SourceTrouble::None;
    std::string sourceDetail;
    EngineTrouble trouble = EngineTrouble::None;
    ArchiveTroubles archive;
    int fileTrouble = 0; ///< errno of a temporary file that couldn't be made or written
};

/// True for the engine's names that stand for "over a limit" or "encrypted" and not for a threat.
bool IsScanAlert(std::string_view name) noexcept;
/// The name shown to people: without the engine's mark of a set that is not its maker's.
std::string_view ShownName(std::string_view name) noexcept;
/// Which trouble a line of the engine's log tells of.
EngineTrouble TroubleOfMessage(std::string_view text) noexcept;
/// A real detection counts whatever else went wrong; after that everything unread has its reason.
Verdict Decide(const EngineOutcome& outcome);

} // namespace tfs::scanner
