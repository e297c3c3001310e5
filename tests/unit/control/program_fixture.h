// SPDX-License-Identifier: GPL-2.0-or-later
// The whole program on a service of the test's own.
#pragma once

#include <control/program.h>
#include <control/run_command.h>
#include <tests/unit/control/fake_service.h>

#include <functional>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

namespace tfs::control::test {

/// The service is alive, and nobody asks for an end, unless a test says so.
class ProgramTest : public testing::Test {
protected:
    ProgramTest() {
        locator = ulk::Ptr<FakeLocator>::Adopt(new FakeLocator);
        isAlive = [] { return true; };
        stopRequests = [] { return 0u; };
    }
    ~ProgramTest() override { locator.Reset(); }

    static ExitCode RunOnFake(const CommandLine& line, IReporter& reporter) {
        return RunServiceCommand(line, {locator.Get(), isAlive, stopRequests, reporter});
    }
    int Run(const std::vector<std::string>& arguments, ServiceRunner runner = RunOnFake) {
        m_out.str("");
        m_err.str("");
        return RunProgram(arguments, m_out, m_err, runner);
    }
    nlohmann::json Json() { return nlohmann::json::parse(m_out.str()); }

    // What a runner of the service's commands, a mere function, finds of the test under way.
    inline static ulk::Ptr<FakeLocator> locator;
    inline static std::function<bool()> isAlive;
    inline static std::function<unsigned()> stopRequests;

    std::ostringstream m_out;
    std::ostringstream m_err;
};

} // namespace tfs::control::test
