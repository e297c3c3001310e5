// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/settings/folder_watch.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <sys/inotify.h>
#include <unistd.h>

namespace tfs::service::settings {
namespace {

constexpr std::uint32_t Itself = IN_DELETE_SELF | IN_MOVE_SELF;
constexpr std::uint32_t Entries = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;
constexpr std::uint32_t Contents = Entries | IN_ATTRIB | IN_CLOSE_WRITE;

} // namespace

FolderWatch::FolderWatch(const std::string& folder) : m_chain{"/"}, m_names{""} {
    std::size_t at = 0;
    while ((at = folder.find_first_not_of('/', at)) != std::string::npos) {
        const std::size_t end = std::min(folder.find('/', at), folder.size());
        m_names.push_back(folder.substr(at, end - at));
        m_chain.push_back((m_chain.size() == 1 ? "" : m_chain.back()) + "/" + m_names.back());
        at = end;
    }
}

FolderWatch::~FolderWatch() { Close(); }

void FolderWatch::Close() noexcept {
    if (m_handle >= 0)
        ::close(m_handle);
    m_handle = -1;
}

int FolderWatch::Add(std::size_t depth, std::uint32_t mask) noexcept {
    const bool isLast = depth + 1 == m_chain.size();
    return ::inotify_add_watch(m_handle, m_chain[depth].c_str(),
                               mask | IN_ONLYDIR | (isLast ? std::uint32_t{IN_DONT_FOLLOW} : 0u));
}

result_t FolderWatch::Arm() noexcept {
    Close();
    m_handle = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (m_handle < 0)
        return ulk::ResultFromErrno(errno);
    const auto fail = [this] {
        const result_t result = ulk::ResultFromErrno(errno);
        Close();
        return result;
    };
    const std::size_t last = m_chain.size() - 1;
    m_deepest = Add(0, Itself);
    if (m_deepest < 0)
        return fail();
    bool isAwaiting = false;
    std::size_t depth = 0;
    while (depth < last) {
        const int next = Add(depth + 1, depth + 1 == last ? Itself | Contents : Itself);
        if (next >= 0) {
            m_deepest = next;
            ++depth;
            isAwaiting = false;
        } else if (errno != ENOENT && errno != ENOTDIR && errno != EACCES) {
            return fail();
        } else if (isAwaiting) {
            break; // not there before the one above was watched, and not since
        } else {
            isAwaiting = true;
            if (Add(depth, Itself | Entries | IN_ATTRIB) < 0)
                return fail();
        }
    }
    m_awaited = depth < last ? m_names[depth + 1] : "";
    return ulk::sOk;
}

bool FolderWatch::TakeChanges() noexcept {
    bool concerns = false;
    alignas(inotify_event) char buffer[4096];
    for (;;) {
        const ssize_t size = ::read(m_handle, buffer, sizeof buffer);
        if (size < 0 && errno == EINTR)
            continue;
        if (size <= 0)
            return concerns;
        const inotify_event* event = nullptr;
        for (const char* at = buffer; at < buffer + size; at += sizeof(inotify_event) + event->len) {
            event = reinterpret_cast<const inotify_event*>(at);
            const std::string_view name = event->len > 0 ? event->name : "";
            // What concerns a folder itself, or tells that changes were lost, has no name.
            const bool isEntry = event->wd == m_deepest && !name.empty();
            concerns = concerns || !isEntry || (m_awaited.empty() ? name.ends_with(".ini") : name == m_awaited);
        }
    }
}

} // namespace tfs::service::settings
