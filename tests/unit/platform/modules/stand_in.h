// SPDX-License-Identifier: GPL-2.0-or-later
// What the stand-in module offers beside the remoting classes.
#pragma once

#include <foundation/object.h>

#include <functional>

namespace test {

class IProbe : public ulk::IObject {
public:
    static constexpr ulk::iid_t Iid = 0x71E57001u;
    /// The code of the lookup of itself that the object did while it was made.
    virtual result_t OwnLookUp() noexcept = 0;

protected:
    ~IProbe() = default;
};

/// Classes whose objects do what a test says; each answers to any identifier.
inline constexpr std::uint32_t kFirstScripted = 0x71E57100u;
inline constexpr std::uint32_t kLastScripted = 0x71E571FFu;

/// The module exports the address of its one as kScriptExport. Calls come from whichever thread makes or releases.
struct Script {
    std::function<void(std::uint32_t classId)> onEntry; ///< may throw
    std::function<void(std::uint32_t classId, ulk::IServiceLocator* locator)> onMake;
    std::function<void(std::uint32_t classId)> onRelease;
};
using GetScriptFunction = Script* (*)();
inline constexpr char kScriptExport[] = "testGetScript";

} // namespace test
