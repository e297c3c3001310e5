// SPDX-License-Identifier: GPL-2.0-or-later
// What the test module and its test agree on.
#pragma once

#include <foundation/object.h>

namespace ulk::test {

inline constexpr std::uint32_t EchoClass = 0x7E570001u;
/// A class for which the export claims success without giving a factory.
inline constexpr std::uint32_t NoFactoryClass = 0x7E570002u;

class IEcho : public IObject {
public:
    static constexpr iid_t Iid = 0x7E570003u;
    virtual bool HasLocator() const = 0;
    virtual std::uint32_t LiveObjectsOfModule() const = 0;
    /// Throws GetInterfaceException with eLocked.
    virtual void Throw() const = 0;

protected:
    ~IEcho() = default;
};

} // namespace ulk::test
