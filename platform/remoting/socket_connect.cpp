// SPDX-License-Identifier: GPL-2.0-or-later
#include <platform/remoting/socket_connect.h>
#include <wire/results.h>
#include <wire/socket_address.h>

#include <algorithm>
#include <cerrno>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace ulk::remoting {
namespace {

result_t ResultOfConnect(int error) noexcept {
    switch (error) {
    case EACCES:
    case EPERM:
        return eAccessDenied;
    case EAGAIN:
        return eTimeout;
    case EINVAL:
    case ENAMETOOLONG:
        return eInvalidArgument;
    case EMFILE:
    case ENFILE:
    case ENOMEM:
    case ENOBUFS:
        return eInsufficientResources;
    default:
        return eNotReady;
    }
}

/// How long the kernel may keep connect() waiting.
void SetWait(int socket, std::chrono::microseconds wait) noexcept {
    timeval time{};
    time.tv_sec = wait.count() / 1000000;
    time.tv_usec = wait.count() % 1000000;
    ::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &time, sizeof(time));
}

} // namespace

result_t ConnectSocket(const std::string& path, std::chrono::steady_clock::time_point deadline, int& socket) noexcept {
    try {
        tfs::wire::SocketAddress address;
        if (const int error = address.Set(path); error != 0)
            return ResultOfConnect(error);
        const int made = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (made < 0)
            return ResultOfConnect(errno);
        int error = 0;
        do {
            const auto left =
                std::chrono::duration_cast<std::chrono::microseconds>(deadline - std::chrono::steady_clock::now());
            if (left.count() <= 0) {
                error = EAGAIN;
                break;
            }
            SetWait(made, left);
            error = ::connect(made, address.Get(), address.Size()) == 0 ? 0 : errno;
        } while (error == EINTR);
        if (error != 0) {
            ::close(made);
            return ResultOfConnect(error);
        }
        SetWait(made, std::chrono::microseconds(0));
        socket = made;
        return sOk;
    } catch (...) {
        return tfs::wire::ResultFromCurrentException();
    }
}

} // namespace ulk::remoting
