// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/escape.h>
#include <control/failure.h>
#include <control/path_arguments.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace tfs::control {

namespace {

std::string AbsolutePath(const std::string& argument) {
    if (argument.empty())
        throw Failure(ExitCode::Usage, "An empty path was given.");
    if (argument.find('\0') != std::string::npos)
        throw Failure(ExitCode::Usage, "A path with a NUL character was given.");

    std::error_code error;
    const std::filesystem::path resolved = std::filesystem::canonical(argument, error);
    if (!error)
        return resolved.native();
    if (error == std::errc::permission_denied) {
        const std::filesystem::path absolute = std::filesystem::absolute(argument, error);
        if (!error)
            return absolute.native();
    }
    throw Failure(ExitCode::NotFound, "Cannot scan \"" + EscapeForTerminal(argument) + "\": " + error.message() + ".");
}

} // namespace

std::vector<std::string> AbsolutePaths(const std::vector<std::string>& arguments) {
    std::vector<std::string> paths;
    paths.reserve(arguments.size());
    for (const std::string& argument : arguments) {
        std::string path = AbsolutePath(argument);
        if (std::find(paths.begin(), paths.end(), path) == paths.end())
            paths.push_back(std::move(path));
    }
    return paths;
}

} // namespace tfs::control
