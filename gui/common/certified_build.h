// SPDX-License-Identifier: GPL-2.0-or-later
// The marker of a certified build.
#pragma once

#include <contract/product_paths.h>

#include <string>

namespace tfs::gui {

/// True where the file opens and its first line is exactly "Certified product".
bool IsCertifiedBuild(const std::string& marker = paths::CertifiedMarker);

} // namespace tfs::gui
