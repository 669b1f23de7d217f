// SPDX-License-Identifier: MIT
#include "util/sha256.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <functional>

namespace {

constexpr size_t kBlockSize = 64;
constexpr size_t kLengthSize = 8;  // of the length in the last block: bits, big-endian

// Fractions of the cube roots of the first 64 primes, and of the square roots of the first 8.
constexpr std::array<uint32_t, 64> kRoundConstants = {
    0x428A2F98, 0x71374491, 0xB5C0FBCF, 0xE9B5DBA5, 0x3956C25B, 0x59F111F1, 0x923F82A4, 0xAB1C5ED5,
    0xD807AA98, 0x12835B01, 0x243185BE, 0x550C7DC3, 0x72BE5D74, 0x80DEB1FE, 0x9BDC06A7, 0xC19BF174,
    0xE49B69C1, 0xEFBE4786, 0x0FC19DC6, 0x240CA1CC, 0x2DE92C6F, 0x4A7484AA, 0x5CB0A9DC, 0x76F988DA,
    0x983E5152, 0xA831C66D, 0xB00327C8, 0xBF597FC7, 0xC6E00BF3, 0xD5A79147, 0x06CA6351, 0x14292967,
    0x27B70A85, 0x2E1B2138, 0x4D2C6DFC, 0x53380D13, 0x650A7354, 0x766A0ABB, 0x81C2C92E, 0x92722C85,
    0xA2BFE8A1, 0xA81A664B, 0xC24B8B70, 0xC76C51A3, 0xD192E819, 0xD6990624, 0xF40E3585, 0x106AA070,
    0x19A4C116, 0x1E376C08, 0x2748774C, 0x34B0BCB5, 0x391C0CB3, 0x4ED8AA4A, 0x5B9CCA4F, 0x682E6FF3,
    0x748F82EE, 0x78A5636F, 0x84C87814, 0x8CC70208, 0x90BEFFFA, 0xA4506CEB, 0xBEF9A3F7, 0xC67178F2,
};
constexpr std::array<uint32_t, 8> kStart = {0x6A09E667, 0xBB67AE85, 0x3C6EF372, 0xA54FF53A,
                                            0x510E527F, 0x9B05688C, 0x1F83D9AB, 0x5BE0CD19};

using State = std::array<uint32_t, 8>;

uint32_t get_be32(const uint8_t* bytes) {
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

void add_block(State& state, const uint8_t* block) {
    std::array<uint32_t, 64> w{};
    for (size_t i = 0; i < 16; ++i) {
        w[i] = get_be32(block + 4 * i);
    }
    for (size_t i = 16; i < w.size(); ++i) {
        const uint32_t s0 = std::rotr(w[i - 15], 7) ^ std::rotr(w[i - 15], 18) ^ w[i - 15] >> 3;
        const uint32_t s1 = std::rotr(w[i - 2], 17) ^ std::rotr(w[i - 2], 19) ^ w[i - 2] >> 10;
        w[i] = w[i - 16] + s0 + w[i - 7] + s1;
    }
    auto [a, b, c, d, e, f, g, h] = state;
    for (size_t i = 0; i < w.size(); ++i) {
        const uint32_t s1 = std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25);
        const uint32_t t1 = h + s1 + ((e & f) ^ (~e & g)) + kRoundConstants[i] + w[i];
        const uint32_t s0 = std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22);
        const uint32_t t2 = s0 + ((a & b) ^ (a & c) ^ (b & c));
        h = g;
        g = f;
        f = e;
        e = d + t1;
        d = c;
        c = b;
        b = a;
        a = t1 + t2;
    }
    const State mixed = {a, b, c, d, e, f, g, h};
    std::transform(state.begin(), state.end(), mixed.begin(), state.begin(), std::plus<>());
}

}  // namespace

std::string sha256_hex(const uint8_t* data, size_t size) {
    State state = kStart;
    const size_t whole = size / kBlockSize * kBlockSize;
    for (size_t done = 0; done < whole; done += kBlockSize) {
        add_block(state, data + done);
    }
    // The rest, a 1 bit, zeros, the length: one block, or two if the length does not fit after the rest.
    std::array<uint8_t, 2 * kBlockSize> end{};
    const size_t rest = size - whole;
    std::copy_n(data + whole, rest, end.begin());
    end[rest] = 0x80;
    const size_t end_size = rest + 1 + kLengthSize <= kBlockSize ? kBlockSize : 2 * kBlockSize;
    const uint64_t bits = uint64_t{size} * 8;
    for (size_t i = 0; i < kLengthSize; ++i) {
        end[end_size - 1 - i] = static_cast<uint8_t>(bits >> 8 * i);
    }
    for (size_t done = 0; done < end_size; done += kBlockSize) {
        add_block(state, end.data() + done);
    }
    std::string digits;
    for (const uint32_t word : state) {
        char text[9];
        std::snprintf(text, sizeof text, "%08x", word);
        digits += text;
    }
    return digits;
}
