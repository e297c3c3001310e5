// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/terminal.h>

#include <cstdlib>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

namespace tfs::control {
namespace {

constexpr std::size_t UsualColumns = 80;

class OutputTerminal final : public ITerminal {
public:
    std::size_t Columns() override {
        winsize size{};
        if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
            return UsualColumns;
        return size.ws_col;
    }
};

bool CanRewriteLines() {
    const char* const kind = std::getenv("TERM");
    return kind != nullptr && *kind != '\0' && std::string_view(kind) != "dumb";
}

} // namespace

ITerminal* StandardTerminal() {
    static OutputTerminal terminal;
    return ::isatty(STDOUT_FILENO) == 1 && CanRewriteLines() ? &terminal : nullptr;
}

} // namespace tfs::control
