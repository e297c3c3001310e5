// SPDX-License-Identifier: GPL-2.0-or-later
// Every path of the product, in one place. Each begins with a root that is empty in a release build.
#pragma once

#include <contract/product_root.h>

namespace tfs::paths {

inline constexpr char Root[] = TESL_ROOT;

// Programs and modules. The library folder's name is fixed, whatever the processor.
inline constexpr char LibexecFolder[] = TESL_ROOT "/opt/tolvander/tesl/libexec/";
inline constexpr char GuiProgram[] = TESL_ROOT "/opt/tolvander/tesl/libexec/tesl-gui";
inline constexpr char ServiceProgram[] = TESL_ROOT "/opt/tolvander/tesl/libexec/tesl-service";
inline constexpr char ScannerProgram[] = TESL_ROOT "/opt/tolvander/tesl/libexec/tesl-scanner";
inline constexpr char ControlProgram[] = TESL_ROOT "/opt/tolvander/tesl/bin/tesl-control";
inline constexpr char LibraryFolder[] = TESL_ROOT "/opt/tolvander/tesl/libarm64/";

// Read-only data.
inline constexpr char LocalizationFolder[] = TESL_ROOT "/opt/tolvander/tesl/shared/loc/";
inline constexpr char DocumentFolder[] = TESL_ROOT "/opt/tolvander/tesl/doc/";
inline constexpr char CertifiedMarker[] = TESL_ROOT "/opt/tolvander/tesl/doc/cert.info";
inline constexpr char ResourceFolder[] = TESL_ROOT "/opt/tolvander/tesl/resource/";
inline constexpr char SeedBasesFolder[] = TESL_ROOT "/opt/tolvander/tesl/shared/bases/";

// What the administrator of the machine lays down.
inline constexpr char PolicyFolder[] = TESL_ROOT "/etc/opt/tolvander/tesl/policy.d/";

// Variable data.
inline constexpr char Configuration[] = TESL_ROOT "/var/opt/tolvander/tesl/common/tesl.ini";
inline constexpr char ServiceConfiguration[] = TESL_ROOT "/var/opt/tolvander/tesl/common/service.json";
inline constexpr char DumpFolder[] = TESL_ROOT "/var/opt/tolvander/tesl/common/dumps/";
inline constexpr char UserDumpFolder[] = TESL_ROOT "/var/opt/tolvander/tesl/common/dumps-user/";
inline constexpr char BasesFolder[] = TESL_ROOT "/var/opt/tolvander/tesl/common/bases/";
inline constexpr char PrivateFolder[] = TESL_ROOT "/var/opt/tolvander/tesl/private/";
inline constexpr char GuiStorageFolder[] = TESL_ROOT "/var/opt/tolvander/tesl/private/storage/kvdb-user/";
inline constexpr char TaskStateFile[] = TESL_ROOT "/var/opt/tolvander/tesl/private/storage/tasks.json";

// Traces, sockets and locks.
inline constexpr char LogFolder[] = TESL_ROOT "/var/log/tolvander/tesl/";
inline constexpr char UserLogFolder[] = TESL_ROOT "/var/log/tolvander/tesl-user/";
inline constexpr char ServiceSocket[] = TESL_ROOT "/var/run/bl4control";
inline constexpr char ServiceLock[] = TESL_ROOT "/var/run/tesl-service.lock";
inline constexpr char GuiPidFilePrefix[] = TESL_ROOT "/tmp/.tesl-gui-";

} // namespace tfs::paths
