// SPDX-License-Identifier: GPL-2.0-or-later
// The sets of signatures on disk: the one in use, the one before it, the one that is being fetched.
#pragma once

#include <foundation/result.h>
#include <service/update/signature_files.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tfs::service::update {

/// Below the bases folder each set is a folder of its own, `sets/NUMBER`; two symbolic links beside it, `current` and
/// `previous`, name the sets in use by relative targets and are replaced by rename alone. So whatever ends the service
/// at whatever point, `current` names one whole set. Numbers grow with time. Owned by the service's application object;
/// touches the disk; called by one thread at a time.
class SignatureSets {
public:
    /// Paths end in '/'.
    SignatureSets(std::string basesFolder, std::string seedFolder);

    /// Makes what is missing: without a current set, the signature files that lie in the bases folder itself (as an
    /// administrator puts official ones) become the first set, and without such those of the seed folder. Half-made
    /// sets and sets that nothing names are removed. On failure `problem` is one line for people; on success it is
    /// empty, or one line that names files of the bases folder that weren't taken because they aren't to be trusted.
    result_t Open(std::string& problem) noexcept;

    /// The folder of the set in use, without a trailing '/'; the bases folder itself where there is none.
    std::string CurrentFolder() const;
    bool IsRollbackAvailable() const noexcept;

    /// A new folder that begins as a copy of the current set (hard links where that is safe), for an updater to work
    /// on; nobody else may enter it. One at a time; one left behind is removed.
    result_t BeginNew(std::string& folder, std::string& problem) noexcept;
    /// Makes the folder of BeginNew a numbered set, durable on disk and not yet in use; what is no signature file is
    /// removed. `folder` is where it is then. eInvalidState without BeginNew, eNotFound where it holds no signature
    /// file, eInvalidType for files that no updater would make. After a failure Discard is all that is left to do.
    result_t Keep(std::string& folder, std::string& problem) noexcept;
    void Discard() noexcept;
    /// The kept set becomes current and the current one previous; older ones are removed. eInvalidState without Keep.
    /// After a failure the old set is current, and the kept one stays until Discard.
    result_t Adopt(std::string& problem) noexcept;

    /// The folder of the set before, without a trailing '/'; empty where there is none.
    std::string PreviousFolder() const;
    /// The set before becomes current, and there is none before it any more. eNotFound where there is none.
    result_t RollBack(std::string& problem) noexcept;

private:
    using Number = std::uint64_t;
    static constexpr char SetsFolder[] = "sets";
    static constexpr char NewFolder[] = ".new";

    void OpenAll(std::string& problem);
    void RequireSafe(const Descriptor& folder, const std::string& path) const;
    void ChooseCurrent();
    void MakeFirst(std::string& notes);
    std::size_t TakeFiles(const std::string& from, bool trusted, std::string& notes);
    void CopyCurrent(int target);
    void SaveMemory();
    void CleanFolder(int folder, const std::string& path);
    void TakeOver(int folder, const std::string& name);
    void MakeNumbered();
    void Point(const char* link, Number number);
    void Unpoint(const char* link);
    std::optional<Number> Target(const char* link) const;
    bool IsWhole(Number number) const;
    std::vector<Number> Numbers() const;
    void RemoveUnnamed() noexcept;
    void RemoveSet(Number number);
    std::string SetPath(Number number) const;
    std::string NewPath() const;

    const std::string m_bases;
    const std::string m_seeds;
    Descriptor m_basesFolder;
    Descriptor m_setsFolder;
    std::optional<Number> m_current;
    std::optional<Number> m_previous;
    std::optional<Number> m_kept;
    bool m_begun = false;
};

} // namespace tfs::service::update
