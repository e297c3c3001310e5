// SPDX-License-Identifier: GPL-2.0-or-later
// What the application loader and an application agree on.
#pragma once

#include <foundation/object.h>
#include <foundation/string16.h>

#include <cstdint>
#include <string>

namespace app_core::loader {

/// Class and interface of the application loader in module `app_core_legacy`.
inline constexpr std::uint32_t ApplicationLoaderClass = 0x79470E9Cu;

/// How the tracer is to write; fields in the order in which they are filled.
struct TracerSettings {
    std::int32_t level = 0;
    bool enabled = false;
    /// Program name, ".", pid, ".": the trace file's name begins with it.
    ulk::types::string16_t fileStem;
    ulk::types::string16_t folder;
    std::uint64_t fileSizeLimit = 250000000; ///< bytes
    std::uint32_t fileCount = 2;
    ulk::types::string16_t lineFormat;
    /// Path of the module that carries the tracer.
    ulk::types::string16_t modulePath;
};

struct CrashDumpSettings {
    ulk::types::string16_t folder;
    ulk::types::string16_t namePattern;
    std::uint32_t limit = 10; ///< at most so many dumps are kept
};

/// How an application is run; the only mode there is.
inline constexpr std::uint32_t RunModeForeground = 1;

enum class application_state : std::uint32_t { Starting = 0 };
enum class application_control_code : std::uint32_t { None = 0 };

class IApplicationStateReporter : public ulk::IObject {
public:
    static constexpr ulk::iid_t Iid = 0x41C8D2E7u;
    /// `value` is a hint in milliseconds for how long the state may last.
    virtual result_t StateChanged(application_state state, std::uint32_t value, application_control_code controlCode,
                                  result_t result) noexcept = 0;

protected:
    ~IApplicationStateReporter() = default;
};

class IApplicationInfrastructureLoader : public ulk::IObject {
public:
    static constexpr ulk::iid_t Iid = 0x1FA07C35u;
    virtual result_t GetRootServiceLocator(ulk::IServiceLocator** locator) noexcept = 0;
    /// Loads a module and lets the root locator answer `iid` with an object of class `classId` made by it, once,
    /// at the first lookup. Path in UTF-8.
    virtual result_t RegisterService(ulk::iid_t iid, const std::string& modulePath, std::uint32_t classId) noexcept = 0;

protected:
    ~IApplicationInfrastructureLoader() = default;
};

/// The application, as the loader calls it.
class IApplicationController : public ulk::IObject {
public:
    static constexpr ulk::iid_t Iid = 105946523u;
    /// Left unimplemented by applications: returns eNotImplemented.
    virtual result_t Configure() noexcept = 0;
    virtual result_t Run(IApplicationInfrastructureLoader* infrastructureLoader,
                         IApplicationStateReporter* stateReporter) noexcept = 0;
    virtual result_t Shutdown() noexcept = 0;

protected:
    ~IApplicationController() = default;
};

class IApplicationLoader : public ulk::IObject {
public:
    static constexpr ulk::iid_t Iid = 0x8A2F6563u;
    /// Configures the tracer, then calls the application's Run on the calling thread and returns its value.
    virtual result_t Run(const TracerSettings& tracer, std::uint32_t mode, const CrashDumpSettings& crashDumps,
                         const ulk::types::string16_t* optional, IApplicationController* application) noexcept = 0;

protected:
    ~IApplicationLoader() = default;
};

} // namespace app_core::loader
