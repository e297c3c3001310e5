// SPDX-License-Identifier: GPL-2.0-or-later
// The command line of tesl-control: refused with a Failure, or one whole command.
#include <control/command_line.h>
#include <control/escape.h>
#include <control/failure.h>
#include <control/path_arguments.h>
#include <tests/fuzz/input.h>

namespace {

using namespace tfs::control;

void Parse(const std::vector<std::string>& arguments) {
    const CommandLine line = ParseCommandLine(arguments);
    tfs::fuzz::Require(!line.json || AsksForJson(arguments));
    tfs::fuzz::Require((line.command == CommandKind::ScanFile) != line.paths.empty());
    tfs::fuzz::Require(line.command == CommandKind::SetAppSettings ? line.changes.empty() != line.file.empty()
                                                                   : line.changes.empty() && line.file.empty());
    for (const std::string& path : AbsolutePaths(line.paths))
        tfs::fuzz::Require(path.starts_with('/'));
}

} // namespace

void tfs::fuzz::Run(std::string_view input) {
    try {
        Parse(SplitAtNul(input));
    } catch (const Failure& failure) {
        Require(failure.Code() == ExitCode::Usage || failure.Code() == ExitCode::NotFound);
        Require(IsUtf8(failure.what()));
    }
}
