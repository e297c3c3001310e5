// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/realtime/fanotify_group.h>

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/fanotify.h>
#include <unistd.h>

namespace tfs::service::realtime {
namespace {

constexpr std::uint64_t Answered = FAN_OPEN_PERM | FAN_OPEN_EXEC_PERM;
/// Events taken at a time. Few: what has been taken can't be taken by another thread where this one is held up.
constexpr std::size_t ReadSize = 16 * sizeof(fanotify_event_metadata);

int ErrorOf(int result) noexcept { return result < 0 ? errno : 0; }

} // namespace

bool AccessEvent::WaitsForAnswer() const noexcept { return (mask & Answered) != 0; }

int FanotifyGroup::Open(Kind kind) noexcept {
    const unsigned flags = FAN_CLOEXEC | FAN_NONBLOCK | FAN_UNLIMITED_MARKS |
                           (kind == Kind::Deciding ? FAN_CLASS_CONTENT : FAN_CLASS_NOTIF);
    m_descriptor.Reset(::fanotify_init(flags, O_RDONLY | O_CLOEXEC | O_NOATIME));
    return m_descriptor ? 0 : errno;
}

int FanotifyGroup::Mark(Reach reach, std::uint64_t mask, const std::string& path) noexcept {
    const unsigned flags =
        FAN_MARK_ADD | (reach == Reach::FileSystem ? FAN_MARK_FILESYSTEM : FAN_MARK_ONLYDIR) | FAN_MARK_DONT_FOLLOW;
    const std::uint64_t children = reach == Reach::Folder ? FAN_EVENT_ON_CHILD : 0;
    return ErrorOf(::fanotify_mark(m_descriptor.Get(), flags, mask | children, AT_FDCWD, path.c_str()));
}

void FanotifyGroup::DropMarks() noexcept {
    (void)::fanotify_mark(m_descriptor.Get(), FAN_MARK_FLUSH | FAN_MARK_FILESYSTEM, 0, AT_FDCWD, "/");
    DropFileMarks();
}

void FanotifyGroup::DropFileMarks() noexcept {
    (void)::fanotify_mark(m_descriptor.Get(), FAN_MARK_FLUSH, 0, AT_FDCWD, "/");
}

int FanotifyGroup::Ignore(int file) noexcept {
    // A mark that doesn't hold its file in memory costs nothing while the file isn't used.
    constexpr unsigned Flags = FAN_MARK_ADD | FAN_MARK_IGNORED_MASK | FAN_MARK_EVICTABLE;
    return ErrorOf(::fanotify_mark(m_descriptor.Get(), Flags, Answered, file, nullptr));
}

void FanotifyGroup::Heed(int file) noexcept {
    (void)::fanotify_mark(m_descriptor.Get(), FAN_MARK_REMOVE | FAN_MARK_IGNORED_MASK, Answered, file, nullptr);
}

int FanotifyGroup::Read(std::vector<AccessEvent>& events, bool& overflow) {
    alignas(fanotify_event_metadata) std::array<char, ReadSize> buffer;
    events.reserve(events.size() + ReadSize / sizeof(fanotify_event_metadata)); // nothing fails once they are taken
    ssize_t size = 0;
    do
        size = ::read(m_descriptor.Get(), buffer.data(), buffer.size());
    while (size < 0 && errno == EINTR);
    if (size < 0)
        return errno;
    const auto* event = reinterpret_cast<const fanotify_event_metadata*>(buffer.data());
    for (; FAN_EVENT_OK(event, size); event = FAN_EVENT_NEXT(event, size)) {
        if ((event->mask & FAN_Q_OVERFLOW) != 0)
            overflow = true;
        else
            events.push_back({scanner::Descriptor(event->fd), event->mask, event->pid});
    }
    return 0;
}

void FanotifyGroup::Answer(int file, bool allow) noexcept {
    const fanotify_response response{file, static_cast<std::uint32_t>(allow ? FAN_ALLOW : FAN_DENY)};
    while (::write(m_descriptor.Get(), &response, sizeof response) < 0 && errno == EINTR) {
    }
}

} // namespace tfs::service::realtime
