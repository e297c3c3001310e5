// SPDX-License-Identifier: GPL-2.0-or-later
#include <scanner/verdict_rules.h>

#include <clamav.h>
#include <system_error>

namespace tfs::scanner {
namespace {

constexpr std::string_view LimitAlert = "Heuristics.Limits.Exceeded";
constexpr std::string_view TimeAlert = "Heuristics.Limits.Exceeded.MaxScanTime";
constexpr std::string_view EncryptedAlert = "Heuristics.Encrypted.";
constexpr std::string_view UnofficialMark = ".UNOFFICIAL";

Verdict Unread(VerdictCode code, std::string detail) { return {code, {}, {}, std::move(detail), 0}; }

VerdictCode CodeOfResult(int result) {
    switch (result) {
    case CL_ETIMEOUT:
        return VerdictCode::TimeLimit;
    case CL_EMAXREC:
    case CL_EMAXSIZE:
    case CL_EMAXFILES:
    case CL_EMEM:
        return VerdictCode::Limit;
    case CL_EOPEN:
    case CL_ESTAT:
    case CL_EREAD:
    case CL_ESEEK:
    case CL_EMAP:
        return VerdictCode::ReadError;
    case CL_ECREAT:
    case CL_EWRITE:
    case CL_ETMPFILE:
    case CL_ETMPDIR:
        return VerdictCode::OutOfSpace;
    default:
        return VerdictCode::EngineFailed;
    }
}

} // namespace

bool IsScanAlert(std::string_view name) noexcept {
    return name.empty() || name.starts_with(LimitAlert) || name.starts_with(EncryptedAlert);
}

std::string_view ShownName(std::string_view name) noexcept {
    if (name.ends_with(UnofficialMark))
        name.remove_suffix(UnofficialMark.size());
    return name;
}

EngineTrouble TroubleOfMessage(std::string_view text) noexcept {
    for (const std::string_view part : {"allocate memory", "Out of memory", "out of memory", "memory allocation"})
        if (text.find(part) != text.npos)
            return EngineTrouble::OutOfMemory;
    return text.find("premature end of compressed stream") != text.npos ? EngineTrouble::CutStream
                                                                        : EngineTrouble::None;
}

Verdict Decide(const EngineOutcome& outcome) {
    if (!outcome.threat.empty())
        return {VerdictCode::Infected, std::string(ShownName(outcome.threat)), outcome.inner, {}, 0};
    switch (outcome.source) {
    case SourceTrouble::Cancelled:
        return Unread(VerdictCode::Cancelled, {});
    case SourceTrouble::ReadError:
        return Unread(VerdictCode::ReadError, outcome.sourceDetail);
    case SourceTrouble::Changed:
        return Unread(VerdictCode::Changed, outcome.sourceDetail);
    case SourceTrouble::None:
        break;
    }
    if (outcome.alert.starts_with(TimeAlert))
        return Unread(VerdictCode::TimeLimit, outcome.alert);
    if (outcome.emptyAlert || outcome.alert.starts_with(LimitAlert))
        return Unread(VerdictCode::Limit, outcome.alert);
    if (outcome.archive.cut)
        return Unread(VerdictCode::Limit, "a part is too large");
    if (outcome.fileTrouble != 0)
        return Unread(VerdictCode::OutOfSpace, std::generic_category().message(outcome.fileTrouble));
    if (outcome.trouble == EngineTrouble::OutOfMemory)
        return Unread(VerdictCode::Limit, "the memory limit was reached");
    if (outcome.alert.starts_with(EncryptedAlert))
        return Unread(VerdictCode::Encrypted, outcome.alert);
    if (outcome.archive.encrypted)
        return Unread(VerdictCode::Encrypted, "a part is encrypted");
    if (outcome.archive.unread || outcome.trouble == EngineTrouble::CutStream)
        return Unread(VerdictCode::NotUnpacked, "a part could not be unpacked");
    if (outcome.result == CL_CLEAN || outcome.result == CL_VERIFIED)
        return {};
    if (outcome.result == CL_VIRUS) // a detection that no callback announced and that has no name
        return Unread(VerdictCode::Limit, {});
    return Unread(CodeOfResult(outcome.result), outcome.resultText);
}

} // namespace tfs::scanner
