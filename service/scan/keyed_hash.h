// SPDX-License-Identifier: GPL-2.0-or-later
// SipHash-2-4 over whole words: nobody who doesn't know the key can find two inputs of one hash. Pure.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <span>

namespace tfs::service::scan {

using HashKey = std::array<std::uint64_t, 2>;

inline std::uint64_t KeyedHash(const HashKey& key, std::span<const std::uint64_t> words) noexcept {
    std::uint64_t a = key[0] ^ 0x736f6d6570736575ull;
    std::uint64_t b = key[1] ^ 0x646f72616e646f6dull;
    std::uint64_t c = key[0] ^ 0x6c7967656e657261ull;
    std::uint64_t d = key[1] ^ 0x7465646279746573ull;
    const auto round = [&] {
        a += b;
        c += d;
        b = std::rotl(b, 13) ^ a;
        d = std::rotl(d, 16) ^ c;
        a = std::rotl(a, 32);
        c += b;
        a += d;
        b = std::rotl(b, 17) ^ c;
        d = std::rotl(d, 21) ^ a;
        c = std::rotl(c, 32);
    };
    const auto take = [&](std::uint64_t word) {
        d ^= word;
        round();
        round();
        a ^= word;
    };
    for (const std::uint64_t word : words)
        take(word);
    take(static_cast<std::uint64_t>(words.size() * 8) << 56); // the length closes the input
    c ^= 0xff;
    for (int i = 0; i < 4; ++i)
        round();
    return a ^ b ^ c ^ d;
}

} // namespace tfs::service::scan
