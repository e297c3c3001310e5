// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/escape.h>

#include <gtest/gtest.h>

namespace tfs::control {
namespace {

struct EscapeCase {
    std::string bytes;
    std::string shown;
    bool isUtf8;
};

class Escape : public testing::TestWithParam<EscapeCase> {};

TEST_P(Escape, ShowsWhatIsSafeAndNumbersTheRest) {
    EXPECT_EQ(EscapeForTerminal(GetParam().bytes), GetParam().shown);
    EXPECT_EQ(IsUtf8(GetParam().bytes), GetParam().isUtf8);
}

INSTANTIATE_TEST_SUITE_P(
    Names, Escape,
    testing::Values(EscapeCase{"/tmp/plain name.txt", "/tmp/plain name.txt", true},
                    EscapeCase{"\xD0\xBF\xD1\x83\xD1\x82\xD1\x8C \xE6\x97\xA5 \xF0\x9F\x94\x92",
                               "\xD0\xBF\xD1\x83\xD1\x82\xD1\x8C \xE6\x97\xA5 \xF0\x9F\x94\x92", true},
                    EscapeCase{"a\nb\tc\r", "a\\nb\\tc\\r", true}, EscapeCase{"\x1b[2J", "\\x1b[2J", true},
                    EscapeCase{"back\\slash", "back\\\\slash", true}, EscapeCase{"\x7f", "\\x7f", true},
                    EscapeCase{"\xC2\x9b", "\\u{9b}", true},                     // one-character CSI
                    EscapeCase{"\xE2\x80\xAEgpj.exe", "\\u{202e}gpj.exe", true}, // reversed writing
                    EscapeCase{"\xff\xfe", "\\xff\\xfe", false}, EscapeCase{"\xC0\xAF", "\\xc0\\xaf", false},
                    EscapeCase{"\xED\xA0\x80", "\\xed\\xa0\\x80", false},
                    EscapeCase{"cut\xE2\x80", "cut\\xe2\\x80", false},
                    EscapeCase{"\xF4\x90\x80\x80", "\\xf4\\x90\\x80\\x80", false},
                    EscapeCase{std::string("nul\0!", 5), "nul\\x00!", true}));

} // namespace
} // namespace tfs::control
