// SPDX-License-Identifier: GPL-2.0-or-later
// tesl-scanner: started by tesl-service only.
#include <scanner/scanner_main.h>

#include <cstdio>
#include <exception>

int main(int argc, char** argv) {
    try {
        return tfs::scanner::ScannerMain(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "tesl-scanner: %s\n", error.what());
        return 1;
    }
}
