// SPDX-License-Identifier: GPL-2.0-or-later
// The older framework's bootstrap: what "libparams.so" and "loader.so" export to the program that starts them.
#pragma once

#include <foundation/object.h>

#include <cstdint>

namespace marnow {

/// Where "libparams.so" finds the folder of modules.
inline constexpr char kPluginsPathVariable[] = "TL_PLUGINS_PATH";

/// What the framework is started with. Texts are zero-terminated UTF-8.
struct StartParameters {
    std::uint32_t size = sizeof(StartParameters); ///< lets a module refuse a record of another version
    char programName[64] = {};
    char libraryFolder[4096] = {};
};

/// Hands out the framework's root.
class IRootProvider : public ulk::IObject {
public:
    static constexpr ulk::iid_t Iid = 0x6B3D9A51u;
    /// The root: it answers whatever the locator answers that the framework was initialised with. eNotInitialized once
    /// the framework is shut down.
    virtual result_t GetRoot(ulk::IServiceLocator** root) noexcept = 0;

protected:
    ~IRootProvider() = default;
};

// Exports of "libparams.so".

/// Fills the record: the program's name, and the folder from TL_PLUGINS_PATH. eInvalidArgument for a null record or one
/// of another size, eNotFound where the variable isn't set, eInvalidSize where a text doesn't fit.
using GetStartParametersFunction = result_t (*)(StartParameters* parameters);
inline constexpr char kGetStartParametersExport[] = "marnowGetStartParameters";

// Exports of "loader.so". All may be called from any thread; one framework a process.

/// Starts the framework and keeps a reference to the locator. eInvalidState when it is running already.
using InitializeFunction = result_t (*)(const StartParameters* parameters, ulk::IServiceLocator* locator);
inline constexpr char kInitializeExport[] = "marnowInitialize";

/// eNotInitialized while the framework isn't running.
using GetRootProviderFunction = result_t (*)(IRootProvider** provider);
inline constexpr char kGetRootProviderExport[] = "marnowGetRootProvider";

/// Releases the locator. Roots still held elsewhere answer eNotInitialized from now on. eNotInitialized when it isn't
/// running.
using ShutdownFunction = result_t (*)();
inline constexpr char kShutdownExport[] = "marnowShutdown";

} // namespace marnow
