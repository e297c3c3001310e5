// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/tools/screen_scale.h>
#include <gui/tools/xcb_handles.h>

#include <QtCore/QByteArray>
#include <QtGui/QGuiApplication>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>
#include <xcb/randr.h>

namespace tfs::tools {
namespace {

constexpr int BaseDpi = 96;
constexpr int StepsPerScale = 4;
constexpr int StepDpi = BaseDpi / StepsPerScale;
constexpr double LeastDpi = 48;
constexpr double MostDpi = 960;
constexpr std::string_view DpiResource = "Xft.dpi:";
/// In units of four bytes. The resources of a whole desktop are a few kilobytes.
constexpr std::uint32_t ResourcesLimit = 16384;
constexpr char ForcedDpi[] = "QT_FONT_DPI";
/// By each of these the user has said already how large he wants it.
constexpr const char* UserVariables[] = {ForcedDpi,
                                         "QT_SCALE_FACTOR",
                                         "QT_SCREEN_SCALE_FACTORS",
                                         "QT_SCALE_FACTOR_ROUNDING_POLICY",
                                         "QT_AUTO_SCREEN_SCALE_FACTOR",
                                         "QT_ENABLE_HIGHDPI_SCALING"};

/// Wayland's compositor scales, also for programs of X11 that run in its session.
bool IsX11() {
    const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
    return (platform.isEmpty() || platform.startsWith("xcb")) && !qEnvironmentVariableIsEmpty("DISPLAY") &&
           qgetenv("XDG_SESSION_TYPE") != "wayland";
}

bool HasUserScaled() {
    return std::any_of(std::begin(UserVariables), std::end(UserVariables),
                       [](const char* name) { return qEnvironmentVariableIsSet(name); });
}

std::string ReadResources(xcb_connection_t* connection, xcb_window_t root) {
    const auto cookie =
        xcb_get_property(connection, 0, root, XCB_ATOM_RESOURCE_MANAGER, XCB_ATOM_STRING, 0, ResourcesLimit);
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection, cookie, nullptr));
    if (!reply)
        return {};
    return {static_cast<const char*>(xcb_get_property_value(reply.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

/// In pixels, of the monitor on which windows open; of all of them together where the server doesn't tell them apart.
QSize ReadMonitor(xcb_connection_t* connection, const xcb_screen_t& screen) {
    QSize size(screen.width_in_pixels, screen.height_in_pixels);
    const xcb_query_extension_reply_t* const extension = xcb_get_extension_data(connection, &xcb_randr_id);
    if (extension == nullptr || !extension->present)
        return size;
    const XcbReply<xcb_randr_get_monitors_reply_t> reply(
        xcb_randr_get_monitors_reply(connection, xcb_randr_get_monitors(connection, screen.root, 1), nullptr));
    if (!reply)
        return size;
    auto it = xcb_randr_get_monitors_monitors_iterator(reply.get());
    for (bool isFirst = true; it.rem > 0; xcb_randr_monitor_info_next(&it), isFirst = false)
        if (isFirst || it.data->primary)
            size = QSize(it.data->width, it.data->height);
    return size;
}

std::optional<int> ReadDpi(QSize window) {
    int number = 0;
    const XcbConnection connection(xcb_connect(nullptr, &number));
    if (xcb_connection_has_error(connection.get()))
        return std::nullopt;
    auto it = xcb_setup_roots_iterator(xcb_get_setup(connection.get()));
    while (number-- > 0 && it.rem > 1)
        xcb_screen_next(&it);
    const std::optional<double> wanted = WantedDpi(ReadResources(connection.get(), it.data->root));
    if (!wanted)
        return std::nullopt;
    return SnappedDpi(*wanted, ReadMonitor(connection.get(), *it.data), window);
}

} // namespace

std::optional<double> WantedDpi(std::string_view resources) {
    while (!resources.empty()) {
        const std::size_t end = std::min(resources.find('\n'), resources.size());
        std::string_view line = resources.substr(0, end);
        resources.remove_prefix(std::min(end + 1, resources.size()));
        if (line.substr(0, DpiResource.size()) != DpiResource)
            continue;
        line.remove_prefix(DpiResource.size());
        line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
        double dpi = 0;
        const auto [rest, error] = std::from_chars(line.data(), line.data() + line.size(), dpi);
        const std::string_view tail(rest, static_cast<std::size_t>(line.data() + line.size() - rest));
        const bool isNumber = error == std::errc() && tail.find_first_not_of(" \t\r") == std::string_view::npos;
        return isNumber && dpi >= LeastDpi && dpi <= MostDpi ? std::optional(dpi) : std::nullopt;
    }
    return std::nullopt;
}

int SnappedDpi(double wanted, QSize screen, QSize window) {
    int steps = static_cast<int>(std::lround(wanted / StepDpi));
    if (!screen.isEmpty())
        steps = std::min({steps, StepsPerScale * screen.width() / window.width(),
                          StepsPerScale * screen.height() / window.height()});
    return StepDpi * std::max(steps, StepsPerScale);
}

ScreenScale::ScreenScale(QSize window) {
    if (!IsX11() || HasUserScaled())
        return;
    const std::optional<int> dpi = ReadDpi(window);
    if (!dpi)
        return;
    // Qt takes whole numbers alone unless it is told otherwise.
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    qputenv(ForcedDpi, QByteArray::number(*dpi));
    m_set = true;
}

ScreenScale::~ScreenScale() {
    if (m_set)
        qunsetenv(ForcedDpi);
}

} // namespace tfs::tools
