// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/tfs/value_text.h>
#include <foundation/objclient.h>
#include <service/settings/file_io.h>
#include <service/settings/policy_folder.h>
#include <tfs_common/settings_tools.h>
#include <tfs_common/validation_text.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <new>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace tfs::service::settings {
namespace {

using tfs::settings::AppSettings;
using tfs::settings::ChangeItem;

constexpr std::size_t MaxFileSize = 1024 * 1024;
constexpr std::string_view Suffix = ".ini";
constexpr std::string_view PolicySection = "Policy.";
constexpr mode_t WritableByOthers = S_IWGRP | S_IWOTH;

/// Carries the reason why something isn't applied.
struct Refusal : std::runtime_error {
    using std::runtime_error::runtime_error;
};

[[noreturn]] void RefuseByErrno(const char* what) {
    throw Refusal(std::string(what) + ": " + std::string(ulk::ResultText(ulk::ResultFromErrno(errno))));
}

void RequireTrusted(const struct stat& status, uid_t owner) {
    if (status.st_uid != owner && status.st_uid != 0)
        throw Refusal("it belongs to user " + std::to_string(status.st_uid));
    if ((status.st_mode & WritableByOthers) != 0)
        throw Refusal("others than its owner may write it");
}

struct DirCloser {
    void operator()(DIR* folder) const noexcept { ::closedir(folder); }
};
using Folder = std::unique_ptr<DIR, DirCloser>;

/// Null where there is no such folder.
Folder OpenFolder(const std::string& path, uid_t owner) {
    // The final slash would lead through a link.
    const std::string plain = path.substr(0, std::max<std::size_t>(path.find_last_not_of('/') + 1, 1));
    const int fd = ::open(plain.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0 && errno == ENOENT)
        return nullptr;
    if (fd < 0 && (errno == ENOTDIR || errno == ELOOP))
        throw Refusal("it is not a folder");
    if (fd < 0)
        RefuseByErrno("it cannot be opened");
    Folder folder(::fdopendir(fd));
    if (!folder) {
        ::close(fd);
        throw std::bad_alloc();
    }
    struct stat status {};
    if (::fstat(fd, &status) != 0)
        RefuseByErrno("it cannot be examined");
    RequireTrusted(status, owner);
    return folder;
}

std::vector<std::string> FilesIn(DIR* folder) {
    std::vector<std::string> names;
    while (const dirent* const entry = ::readdir(folder)) {
        const std::string_view name = entry->d_name;
        if (name.size() > Suffix.size() && name.ends_with(Suffix) && name.front() != '.')
            names.emplace_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string ReadTrustedFile(int folder, const std::string& name, uid_t owner) {
    // Not waiting for the writer of a pipe; what is opened is then what is examined and read.
    const Descriptor fd(::openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (fd.Get() < 0 && errno == ELOOP)
        throw Refusal("it is a symbolic link");
    if (fd.Get() < 0)
        RefuseByErrno("it cannot be opened");
    struct stat status {};
    if (::fstat(fd.Get(), &status) != 0)
        RefuseByErrno("it cannot be examined");
    if (!S_ISREG(status.st_mode))
        throw Refusal("it is not a regular file");
    RequireTrusted(status, owner);
    std::string content;
    const result_t result = ReadAll(fd.Get(), MaxFileSize, content);
    if (result == ulk::eInvalidSize)
        throw Refusal("it is larger than 1 MiB");
    if (!ULK_SUCCEEDED(result))
        throw Refusal("it cannot be read: " + std::string(ulk::ResultText(result)));
    return content;
}

/// Takes an item of the section [Policy] over.
void TakeOwnItem(const ChangeItem& item, Policy& policy) {
    const std::string_view key = std::string_view(item.key).substr(PolicySection.size());
    if (key == "Name") {
        policy.name = item.value;
        return;
    }
    const bool isLocal = key == "AllowUserManageLocalTasks";
    if (!isLocal && key != "AllowUserManageGroupTasks")
        throw Refusal("there is no key " + item.key);
    bool value = false;
    types::FromString(item.value, value);
    (isLocal ? policy.allowUserManageLocalTasks : policy.allowUserManageGroupTasks) = value;
}

void RequireValid(ulk::IServiceLocator* locator, const tfs::settings::SettingsChangeList& changes) {
    ulk::types::any_struct_t defaults;
    defaults.Set(AppSettings());
    ulk::types::vector_t<tfs::settings::ValidationMessage> messages;
    if (tools::ValidateChangeList(locator, defaults, changes, messages) == ulk::sOk)
        return;
    std::string text = localization::ValidationText(messages);
    std::replace(text.begin(), text.end(), '\n', ' ');
    throw Refusal(text.empty() ? "it has settings that are not valid" : text);
}

/// The policy of one file by itself.
Policy Parse(ulk::IServiceLocator* locator, const std::string& name, const std::string& content) {
    std::istringstream stream(content);
    ulk::Ptr<ulk::ITracer> tracer;
    (void)ulk::GetInterface(locator, tracer.Ref());
    tfs::settings::SettingsChangeList items;
    tools::ReadIniImpl(tracer.Get(), stream, {}, items);
    Policy policy;
    policy.inForce = true;
    policy.settings.typeNumber = AppSettings::TypeNumber;
    for (ChangeItem& item : items.items) {
        if (item.key.starts_with(PolicySection))
            TakeOwnItem(item, policy);
        else
            policy.settings.items.push_back(std::move(item));
    }
    RequireValid(locator, policy.settings);
    if (policy.name.empty())
        policy.name = name.substr(0, name.size() - Suffix.size());
    return policy;
}

void Merge(Policy&& from, Policy& into) {
    into.inForce = true;
    into.name = std::move(from.name);
    into.settings.typeNumber = from.settings.typeNumber;
    std::move(from.settings.items.begin(), from.settings.items.end(), std::back_inserter(into.settings.items));
    if (from.allowUserManageLocalTasks)
        into.allowUserManageLocalTasks = from.allowUserManageLocalTasks;
    if (from.allowUserManageGroupTasks)
        into.allowUserManageGroupTasks = from.allowUserManageGroupTasks;
}

/// Calls `body` and notes under `path` why it failed.
template <class Body>
void Noting(const std::string& path, Policy& policy, Body body) {
    try {
        body();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& e) {
        policy.problems.push_back({path, e.what()});
    }
}

} // namespace

Policy ReadPolicyFolder(ulk::IServiceLocator* locator, const std::string& path, uid_t owner) {
    Policy policy;
    Noting(path, policy, [&] {
        const Folder folder = OpenFolder(path, owner);
        if (!folder)
            return;
        for (const std::string& name : FilesIn(folder.get()))
            Noting(path + name, policy,
                   [&] { Merge(Parse(locator, name, ReadTrustedFile(::dirfd(folder.get()), name, owner)), policy); });
    });
    return policy;
}

} // namespace tfs::service::settings
