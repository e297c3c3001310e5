// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/application.h>
#include <control/program.h>
#include <control/user_language.h>

#include <csignal>
#include <iostream>

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN); // a reader that goes away is an output failure
    tfs::control::LoadUserLanguage();
    const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    return tfs::control::RunProgram(arguments, std::cout, std::cerr, tfs::control::RunWithService,
                                    tfs::control::StandardTerminal());
}
