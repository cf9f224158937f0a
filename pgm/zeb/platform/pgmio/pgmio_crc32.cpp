// SPDX-License-Identifier: Apache-2.0
// CRC-32 (the zlib/IEEE polynomial, bit-reflected). Large spans are folded with carry-less
// multiplication where the processor has it, 64 bytes at a time (256 where it multiplies 64-byte
// registers); the folded remainder and short spans go through zlib, which gives the same result on
// every machine.
#include "pgm/zeb/platform/pgmio/pgmio_container.h"

#include <zlib.h>

#include <algorithm>

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#include <immintrin.h>
#define PGMIO_CRC_FOLD 1
#endif

namespace
{

uint32_t crc32_zlib(const uint8_t* p, size_t size, uint32_t crc)
{
    uLong value = crc;
    // zlib takes a 32-bit length; feed large spans in pieces.
    while (size > 0)
    {
        const uInt piece = uInt(std::min<size_t>(size, 1u << 30));
        value = crc32(value, p, piece);
        p += piece;
        size -= piece;
    }
    return uint32_t(value);
}

#ifdef PGMIO_CRC_FOLD

// Folding constants of the reflected polynomial: folding a 16-byte lane D bits ahead multiplies its
// low half by x^(D+32) and its high half by x^(D-32), both modulo the polynomial, bit-reflected and
// shifted left by one. One pair folds 256 bytes ahead (four 64-byte registers), one 64 bytes ahead
// (four 16-byte lanes), one into the next 16 bytes.
constexpr long long k_fold16_low = 0x11542778a;
constexpr long long k_fold16_high = 0x1322d1430;
constexpr long long k_fold4_low = 0x154442bd4;
constexpr long long k_fold4_high = 0x1c6e41596;
constexpr long long k_fold1_low = 0x1751997d0;
constexpr long long k_fold1_high = 0x0ccaa009e;

__attribute__((target("pclmul,sse4.1"))) __m128i fold(__m128i value, __m128i constants, __m128i next)
{
    const __m128i low = _mm_clmulepi64_si128(value, constants, 0x00);
    const __m128i high = _mm_clmulepi64_si128(value, constants, 0x11);
    return _mm_xor_si128(_mm_xor_si128(low, high), next);
}

__attribute__((target("pclmul,sse4.1"))) __m128i load(const uint8_t* p)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

// Folds whole 16-byte blocks (at least 64 bytes) into 16 bytes whose CRC, computed from a zero
// register, is the CRC of the blocks continued from `crc`. Returns the bytes consumed.
__attribute__((target("pclmul,sse4.1"))) size_t fold_blocks(const uint8_t* p, size_t size, uint32_t crc,
                                                             uint8_t out[16])
{
    __m128i x0 = _mm_xor_si128(load(p), _mm_cvtsi32_si128(int(~crc)));
    __m128i x1 = load(p + 16);
    __m128i x2 = load(p + 32);
    __m128i x3 = load(p + 48);
    size_t done = 64;
    const __m128i fold4 = _mm_set_epi64x(k_fold4_high, k_fold4_low);
    for (; size - done >= 64; done += 64)
    {
        x0 = fold(x0, fold4, load(p + done));
        x1 = fold(x1, fold4, load(p + done + 16));
        x2 = fold(x2, fold4, load(p + done + 32));
        x3 = fold(x3, fold4, load(p + done + 48));
    }
    const __m128i fold1 = _mm_set_epi64x(k_fold1_high, k_fold1_low);
    __m128i x = fold(fold(fold(x0, fold1, x1), fold1, x2), fold1, x3);
    for (; size - done >= 16; done += 16)
        x = fold(x, fold1, load(p + done));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), x);
    return done;
}

bool has_fold()
{
    static const bool has = __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse4.1");
    return has;
}

#define PGMIO_CRC_WIDE_TARGET __attribute__((target("avx512f,vpclmulqdq,pclmul,sse4.1")))

PGMIO_CRC_WIDE_TARGET __m512i fold_wide(__m512i value, __m512i constants, __m512i next)
{
    const __m512i low = _mm512_clmulepi64_epi128(value, constants, 0x00);
    const __m512i high = _mm512_clmulepi64_epi128(value, constants, 0x11);
    return _mm512_ternarylogic_epi64(low, high, next, 0x96); // low ^ high ^ next
}

PGMIO_CRC_WIDE_TARGET __m512i load_wide(const uint8_t* p)
{
    return _mm512_loadu_si512(p);
}

// The same as fold_blocks with four 64-byte registers, 256 bytes a step (at least 256 bytes).
PGMIO_CRC_WIDE_TARGET size_t fold_blocks_wide(const uint8_t* p, size_t size, uint32_t crc, uint8_t out[16])
{
    __m512i x0 = _mm512_xor_si512(load_wide(p), _mm512_maskz_set1_epi32(1, int(~crc)));
    __m512i x1 = load_wide(p + 64);
    __m512i x2 = load_wide(p + 128);
    __m512i x3 = load_wide(p + 192);
    size_t done = 256;
    const __m512i fold16 = _mm512_set_epi64(k_fold16_high, k_fold16_low, k_fold16_high, k_fold16_low, k_fold16_high,
                                            k_fold16_low, k_fold16_high, k_fold16_low);
    for (; size - done >= 256; done += 256)
    {
        x0 = fold_wide(x0, fold16, load_wide(p + done));
        x1 = fold_wide(x1, fold16, load_wide(p + done + 64));
        x2 = fold_wide(x2, fold16, load_wide(p + done + 128));
        x3 = fold_wide(x3, fold16, load_wide(p + done + 192));
    }
    const __m512i fold4 = _mm512_set_epi64(k_fold4_high, k_fold4_low, k_fold4_high, k_fold4_low, k_fold4_high,
                                           k_fold4_low, k_fold4_high, k_fold4_low);
    uint8_t lanes[64];
    _mm512_storeu_si512(lanes, fold_wide(fold_wide(fold_wide(x0, fold4, x1), fold4, x2), fold4, x3));
    // Four 16-byte lanes, each folded into the next.
    const __m128i fold1 = _mm_set_epi64x(k_fold1_high, k_fold1_low);
    __m128i lane = fold(fold(fold(load(lanes), fold1, load(lanes + 16)), fold1, load(lanes + 32)), fold1, load(lanes + 48));
    for (; size - done >= 16; done += 16)
        lane = fold(lane, fold1, load(p + done));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), lane);
    return done;
}

bool has_wide_fold()
{
    static const bool has = has_fold() && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("vpclmulqdq");
    return has;
}

#endif

} // namespace

uint32_t pgmio_crc32(std::span<const uint8_t> data, uint32_t crc)
{
    const uint8_t* p = data.data();
    size_t size = data.size();
#ifdef PGMIO_CRC_FOLD
    if (size >= 256 && has_fold())
    {
        uint8_t folded[16];
        const size_t done =
            size >= 512 && has_wide_fold() ? fold_blocks_wide(p, size, crc, folded) : fold_blocks(p, size, crc, folded);
        // A zero register is the complement of the CRC value 0xffffffff.
        crc = crc32_zlib(folded, sizeof folded, 0xFFFFFFFFu);
        p += done;
        size -= done;
    }
#endif
    return crc32_zlib(p, size, crc);
}

uint32_t pgmio_crc32_combine(uint32_t first, uint32_t second, uint64_t second_size)
{
    return uint32_t(crc32_combine64(first, second, z_off64_t(second_size)));
}
