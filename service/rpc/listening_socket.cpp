// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/rpc/listening_socket.h>
#include <wire/socket_address.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace tfs::service::rpc {
namespace {

/// Removes a socket that nobody listens on; sOk where nothing is in the way afterwards.
result_t RemoveStale(const std::string& path, int folder, const std::string& name) {
    struct stat status {};
    if (::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT ? ulk::sOk : ulk::ResultFromErrno(errno);
    if (!S_ISSOCK(status.st_mode))
        return ulk::eAlreadyExists;
    wire::SocketAddress address;
    if (const int error = address.Set(path); error != 0)
        return ulk::ResultFromErrno(error);
    const int probe = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (probe < 0)
        return ulk::ResultFromErrno(errno);
    const int error = ::connect(probe, address.Get(), address.Size()) == 0 ? 0 : errno;
    ::close(probe);
    // Only a refusal says that nobody listens; a full queue is a live service.
    if (error != ECONNREFUSED)
        return ulk::eAlreadyExists;
    return ::unlinkat(folder, name.c_str(), 0) == 0 ? ulk::sOk : ulk::ResultFromErrno(errno);
}

} // namespace

result_t ListeningSocket::Open(const std::string& path) {
    Close();
    const std::size_t slash = path.rfind('/');
    const std::string folderPath = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    m_name = path.substr(slash == std::string::npos ? 0 : slash + 1);
    if (m_name.empty() || path.find('\0') != std::string::npos)
        return ulk::eInvalidArgument;
    m_folder = ::open(folderPath.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (m_folder < 0)
        return ulk::ResultFromErrno(errno);
    struct stat status {};
    if (::fstat(m_folder, &status) != 0)
        return ulk::ResultFromErrno(errno);
    if ((status.st_mode & S_IWOTH) != 0)
        return ulk::eAccessDenied;
    if (const result_t result = RemoveStale(path, m_folder, m_name); !ULK_SUCCEEDED(result))
        return result;

    wire::SocketAddress address;
    if (const int error = address.Set(path); error != 0)
        return ulk::ResultFromErrno(error);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (socket < 0)
        return ulk::ResultFromErrno(errno);
    const auto fail = [socket](int error) {
        ::close(socket);
        return error == EADDRINUSE ? ulk::eAlreadyExists : ulk::ResultFromErrno(error);
    };
    if (::bind(socket, address.Get(), address.Size()) != 0)
        return fail(errno);
    if (::fstatat(m_folder, m_name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return fail(errno);
    m_socket = socket;
    m_device = status.st_dev;
    m_inode = status.st_ino;
    if (::fchmodat(m_folder, m_name.c_str(), 0666, 0) != 0 || ::listen(socket, 128) != 0) {
        const int error = errno;
        Close();
        return ulk::ResultFromErrno(error);
    }
    return ulk::sOk;
}

void ListeningSocket::Close() noexcept {
    if (m_socket >= 0) {
        struct stat status {};
        if (::fstatat(m_folder, m_name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISSOCK(status.st_mode) &&
            status.st_dev == m_device && status.st_ino == m_inode)
            ::unlinkat(m_folder, m_name.c_str(), 0);
        ::close(std::exchange(m_socket, -1));
    }
    if (m_folder >= 0)
        ::close(std::exchange(m_folder, -1));
}

} // namespace tfs::service::rpc
