// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/realtime/mark_plan.h>

#include <algorithm>
#include <string_view>

namespace tfs::service::realtime {
namespace {

/// Those whose parts are mounted by themselves are watched with all of their parts.
bool CoversFileSystem(const scan::MountEntry& mount, const std::string& area) {
    return mount.point == area && (mount.root == "/" || mount.type == "btrfs" || area == "/");
}

std::vector<std::string_view> LayersOf(const scan::MountEntry& mount) {
    std::vector<std::string_view> layers;
    std::string_view rest = mount.options;
    while (!rest.empty()) {
        const std::string_view option = rest.substr(0, rest.find(','));
        rest.remove_prefix(std::min(rest.size(), option.size() + 1));
        const std::size_t equals = option.find('=');
        if (equals == option.npos || !option.substr(0, equals).ends_with("dir"))
            continue;
        for (std::string_view paths = option.substr(equals + 1); !paths.empty();) {
            const std::string_view path = paths.substr(0, paths.find(':'));
            paths.remove_prefix(std::min(paths.size(), path.size() + 1));
            if (path.starts_with('/'))
                layers.push_back(path);
        }
    }
    return layers;
}

bool IsWatchedBelow(const scan::MountEntry& overlay, const std::vector<PlannedMark>& marks,
                    const std::vector<scan::MountEntry>& mounts) {
    for (const std::string_view layer : LayersOf(overlay)) {
        const scan::MountEntry* below = scan::MountOf(layer, mounts);
        if (below == nullptr || below->device == overlay.device)
            continue; // the layers lie where this service doesn't see them
        const bool watched = std::any_of(marks.begin(), marks.end(), [&](const PlannedMark& mark) {
            return mark.wholeFileSystem ? mark.device == below->device
                                        : layer == mark.path || scan::IsBelow(layer, mark.path);
        });
        if (watched)
            return true;
    }
    return false;
}

} // namespace

MarkPlan PlanMarks(const std::vector<std::string>& areas, const std::vector<scan::MountEntry>& mounts) {
    MarkPlan plan;
    std::vector<const scan::MountEntry*> overlays;
    std::vector<std::string> overlayAreas;
    for (const std::string& area : areas) {
        const scan::MountEntry* mount = scan::MountOf(area, mounts);
        if (mount == nullptr || !scan::IsLocalType(mount->type)) {
            plan.problems.push_back(area + " doesn't lie on a local file system");
            continue;
        }
        if (mount->type == "overlay") {
            overlays.push_back(mount);
            overlayAreas.push_back(area);
            continue;
        }
        plan.marks.push_back({area, CoversFileSystem(*mount, area), mount->device});
    }
    for (std::size_t i = 0; i < overlays.size(); ++i)
        if (!IsWatchedBelow(*overlays[i], plan.marks, mounts))
            plan.marks.push_back(
                {overlayAreas[i], CoversFileSystem(*overlays[i], overlayAreas[i]), overlays[i]->device});
    return plan;
}

} // namespace tfs::service::realtime
