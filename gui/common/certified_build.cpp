// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/common/certified_build.h>

#include <fstream>

namespace tfs::gui {

bool IsCertifiedBuild(const std::string& marker) {
    std::ifstream file(marker);
    std::string line;
    return file && std::getline(file, line) && line == "Certified product";
}

} // namespace tfs::gui
