// SPDX-License-Identifier: GPL-2.0-or-later
// Result codes: what a function of the framework returns, the text of each code, and the way from errno.
#pragma once

#include <cstdint>
#include <string_view>

using result_t = std::int32_t;

/// True for zero and for every positive code; negative means failure.
#define ULK_SUCCEEDED(result) (static_cast<result_t>(result) >= 0)
#define ULK_FAILED(result) (!ULK_SUCCEEDED(result))

namespace ulk {

constexpr result_t MakeResult(std::uint32_t code) noexcept { return static_cast<result_t>(code); }

inline constexpr result_t sOk = 0;
inline constexpr result_t sFalse = 1;
inline constexpr result_t eNoInterface = MakeResult(0x80000001u);
inline constexpr result_t eUnexpected = MakeResult(0x80000040u);
inline constexpr result_t eOutOfMemory = MakeResult(0x80000041u);
inline constexpr result_t eNotSupported = MakeResult(0x80000042u);
inline constexpr result_t eNotImplemented = MakeResult(0x80000043u);
inline constexpr result_t eBufferTooSmall = MakeResult(0x80000044u);
inline constexpr result_t eAccessDenied = MakeResult(0x80000045u);
inline constexpr result_t eInvalidArgument = MakeResult(0x80000046u);
inline constexpr result_t eUnspecified = MakeResult(0x8000004Bu);
inline constexpr result_t eNotFound = MakeResult(0x8000004Cu);
inline constexpr result_t eLocked = MakeResult(0x8000004Fu);
inline constexpr result_t eCancelled = MakeResult(0x80000051u);
inline constexpr result_t eInvalidVersion = MakeResult(0x8000005Bu);
inline constexpr result_t eInvalidSize = MakeResult(0x8000005Cu);
inline constexpr result_t eInvalidType = MakeResult(0x8000005Du);
inline constexpr result_t eNotReady = MakeResult(0x80000063u);
inline constexpr result_t eAlreadyDone = MakeResult(0x80000067u);
inline constexpr result_t eInvalidState = MakeResult(0x8000006Au);
inline constexpr result_t eNotInitialized = MakeResult(0x8000006Bu);
inline constexpr result_t eInsufficientResources = MakeResult(0x8000006Cu);
inline constexpr result_t eClassNotFound = MakeResult(0x80000100u);
inline constexpr result_t eTimeout = MakeResult(0x80000221u);
inline constexpr result_t ePlatform = MakeResult(0x80010100u);
inline constexpr result_t eFileNotFound = MakeResult(0x80010102u);
inline constexpr result_t ePathNotFound = MakeResult(0x80010103u);
inline constexpr result_t eAlreadyExists = MakeResult(0x80010105u);
inline constexpr result_t eSymbolNotFound = MakeResult(0x80010107u);
inline constexpr result_t eModuleNotFound = MakeResult(0x80010112u);

/// Text of a code, for example "Access denied". Codes without a text read "Unknown platform result code" in
/// facility 1 and "Unknown result code" elsewhere. Never fails; the text is static.
std::string_view ResultText(result_t result) noexcept;

/// Code of an errno value; the one mapping used by every wrapper of a system call. Values up to 65535 without a
/// code of their own are folded into 0x8006xxxx, larger and negative ones are 0x80010100.
result_t ResultFromErrno(int error) noexcept;

} // namespace ulk
