// SPDX-License-Identifier: GPL-2.0-or-later
// What the stand-in module offers beside the remoting classes.
#pragma once

#include <foundation/object.h>

namespace test {

class IProbe : public ulk::IObject {
public:
    static constexpr ulk::iid_t Iid = 0x71E57001u;
    /// The code of the lookup of itself that the object did while it was made.
    virtual result_t OwnLookUp() noexcept = 0;

protected:
    ~IProbe() = default;
};

} // namespace test
