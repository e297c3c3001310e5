// SPDX-License-Identifier: GPL-2.0-or-later
// Run-time modules: shared libraries that are entered through one export.
#pragma once

#include <foundation/object.h>
#include <foundation/string16.h>

#include <string>
#include <string_view>

#define ULK_MODULE_EXPORT extern "C" __attribute__((visibility("default")))

namespace ulk {

/// The one export of a module. The program passes a null first argument.
using GetObjectFactoryFunction = result_t (*)(void* moduleInternal, std::uint32_t classId, IObjectFactory** factory);
inline constexpr char kObjectFactoryExport[] = "ulkGetObjectFactory";

/// Export that a module may have beside its entry: its number of live objects. While it isn't 0 the module isn't
/// unloaded.
using GetLiveObjectCountFunction = std::uint32_t (*)();
inline constexpr char kLiveObjectsExport[] = "ulkGetLiveObjectCount";

namespace detail {
/// Text of a failure of the dynamic linker; dlerror may have none to give.
std::string LinkerErrorText(const char* text);
} // namespace detail

/// Path of a module: folder, "lib", name and ".so". A name that already has a folder in it stays as it is. Throws
/// std::bad_cast where the folder doesn't convert to UTF-8, std::bad_alloc where memory is short.
std::string ModulePath(const types::string16_t& folder, std::string_view name);

/// A loaded shared library, closed by its destructor. Movable. Used by one thread at a time.
class Module {
public:
    Module() noexcept = default;
    Module(Module&& other) noexcept;
    Module& operator=(Module&& other) noexcept;
    ~Module();

    /// dlopen with RTLD_NOW. On failure returns the code and keeps the text of dlerror, or "dlerror returned
    /// nullptr".
    result_t Load(const std::string& path);
    /// dlsym, with the same treatment of failure.
    result_t Find(const char* symbol, void** out);
    /// Enters through ulkGetObjectFactory, makes an object of the class and yields its interface.
    result_t CreateObject(std::uint32_t classId, IServiceLocator* locator, iid_t iid, void** out);
    const std::string& ErrorText() const noexcept { return m_errorText; }
    /// Unloads the library, unless it says that objects of it are alive: then it stays loaded until the process ends. A
    /// count of 0 tells nothing of a thread that is still on its way out of the last Release, so that no other thread
    /// may have been using the module just now.
    void Close() noexcept;
    /// Gives the library up without closing it: it stays loaded until the process ends.
    void KeepLoaded() noexcept { m_handle = nullptr; }

private:
    void* m_handle = nullptr;
    std::string m_errorText;
};

} // namespace ulk
