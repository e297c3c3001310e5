// SPDX-License-Identifier: GPL-2.0-or-later
// The scanner's command line: refused with its own exception or taken with every number in range.
#include <scanner/settings.h>
#include <tests/fuzz/input.h>

#include <stdexcept>

void tfs::fuzz::Run(std::string_view input) {
    const std::vector<std::string> arguments = SplitAtNul(input);
    std::vector<const char*> words{"tesl-scanner"};
    for (const std::string& argument : arguments)
        words.push_back(argument.c_str());
    try {
        const auto settings = scanner::ParseArguments(static_cast<int>(words.size()), words.data());
        Require(settings.maxFileSize > 0 && settings.maxScanSize > 0 && settings.timeLimitMs > 0 &&
                settings.maxRecursion > 0 && settings.maxFiles > 0);
    } catch (const std::invalid_argument&) {
        // told as promised
    }
}
