// SPDX-License-Identifier: GPL-2.0-or-later
// How old the databases are, in four classes: the rule that the service and the command line go by too.
#pragma once

#include <tfs_common/databases_state.h>

namespace tfs::gui {

using tfs::ClassifyDatabases;
using tfs::DatabasesState;

} // namespace tfs::gui
