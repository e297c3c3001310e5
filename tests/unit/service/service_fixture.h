// SPDX-License-Identifier: GPL-2.0-or-later
// A whole service in a test's own folder.
#pragma once

#include <service/app/service_app.h>
#include <tests/unit/service/temp_folder.h>
#include <tests/unit/service/waiting.h>

#include <algorithm>
#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace tfs::service::app {

inline ServicePaths PathsIn(const tests::TempFolder& folder) {
    ServicePaths paths;
    paths.root = folder.Path();
    paths.libraryFolder = folder.File("lib/");
    paths.userTraceFolder = folder.File("var/traces-user/");
    paths.userDumpFolder = folder.File("var/dumps-user/");
    paths.serviceProgram = folder.File("no-service");
    paths.scannerProgram = folder.File("no-scanner");
    paths.seedBasesFolder = folder.File("seeds/");
    paths.basesFolder = folder.File("var/bases/");
    paths.privateFolder = folder.File("var/private/");
    paths.configuration = folder.File("var/service.json");
    paths.policyFolder = folder.File("policy.d/");
    paths.statement = folder.File("statement");
    paths.taskStateFile = folder.File("var/private/storage/tasks.json");
    paths.socket = folder.File("run/socket");
    paths.lock = folder.File("run/lock");
    return paths;
}

/// In one step, so that the service never reads half of it.
inline void WritePolicy(const tests::TempFolder& folder, const std::string& name, const std::string& content) {
    ::mkdir(folder.File("policy.d").c_str(), 0755);
    const std::string hidden = folder.Write("policy.d/." + name, content);
    ASSERT_EQ(::chmod(hidden.c_str(), 0600), 0);
    ASSERT_EQ(::rename(hidden.c_str(), folder.File("policy.d/" + name).c_str()), 0);
}

inline std::vector<types::EventName::Type> TypesOf(store::EventBus& events) {
    std::vector<Event> stored;
    EXPECT_EQ(events.ReadStored(0, events.End().lastStoredId, 1000, stored), ulk::sOk);
    std::vector<types::EventName::Type> list;
    for (const Event& event : stored)
        list.push_back(event.type);
    return list;
}

inline std::size_t CountOf(store::EventBus& events, types::EventName::Type type) {
    const auto list = TypesOf(events);
    return static_cast<std::size_t>(std::count(list.begin(), list.end(), type));
}

} // namespace tfs::service::app
