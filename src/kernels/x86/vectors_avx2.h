// The operations of AVX2 that kernels written for any vector width use; vectors_sse2.h and
// vectors_ssse3.h describe them. Packing, weaving and shuffling work within each half of 16 bytes:
// the operation of SSE2, twice side by side.
#ifndef OZR_VECTORS_AVX2_H
#define OZR_VECTORS_AVX2_H

#include <immintrin.h>
#include <stdint.h>

namespace ozr::kernels
{

// Unnamed: each file that includes this has its own copy, compiled for its own instruction set.
namespace
{

struct Avx2 {
    static constexpr int32_t kBytes = 32;
    using Vector = __m256i;
    using Bytes = int8_t __attribute__((vector_size(kBytes)));
    using Words = int16_t __attribute__((vector_size(kBytes)));
    using Counts = uint16_t __attribute__((vector_size(kBytes)));  // words that wrap
    using WordSums = uint16_t __attribute__((vector_size(kBytes)));
    using Ints = int32_t __attribute__((vector_size(kBytes)));
    using Sums = uint32_t __attribute__((vector_size(kBytes)));
    using Sums64 = uint64_t __attribute__((vector_size(kBytes)));
    struct Two {
        Vector first;
        Vector second;
    };
    struct TwoWords {
        Words first;
        Words second;
    };

    static Vector load(const void* src) { return _mm256_loadu_si256(static_cast<const __m256i*>(src)); }
    static void store(void* dst, Vector bytes) { _mm256_storeu_si256(static_cast<__m256i*>(dst), bytes); }

    static Vector load_halves(const void* first, const void* second)
    {
        const __m128i low = _mm_loadu_si128(static_cast<const __m128i*>(first));
        const __m128i high = _mm_loadu_si128(static_cast<const __m128i*>(second));
        return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
    }
    static Vector load_blocks(const uint8_t* const* blocks, int64_t offset)
    {
        return load_halves(blocks[0] + offset, blocks[1] + offset);
    }
    static Vector load_blocks(const uint8_t* src, const int32_t* offsets)
    {
        return load_halves(src + offsets[0], src + offsets[1]);
    }

    // The same 16 bytes in both halves.
    static Vector twice(__m128i half) { return _mm256_broadcastsi128_si256(half); }
    static Vector load_twice(const void* half)
    {
        return twice(_mm_loadu_si128(static_cast<const __m128i*>(half)));
    }

    static Words load_words(const uint8_t* src)
    {
        return Words(_mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(src))));
    }

    static TwoWords widened(Vector bytes)
    {
        return {Words(_mm256_cvtepu8_epi16(_mm256_castsi256_si128(bytes))),
                Words(_mm256_cvtepu8_epi16(_mm256_extracti128_si256(bytes, 1)))};
    }

    static Vector all_bytes(uint8_t value) { return _mm256_set1_epi8(static_cast<char>(value)); }
    static Words all_words(int16_t value) { return Words(_mm256_set1_epi16(value)); }
    static Words all_pairs(int16_t even, int16_t odd)
    {
        return Words(_mm256_set1_epi32((odd * 0x10000) | (even & 0xFFFF)));
    }
    static Words low_bytes(Vector words) { return Words(_mm256_and_si256(words, _mm256_set1_epi16(0xFF))); }
    static Words high_bytes(Vector words) { return Words(_mm256_srli_epi16(words, 8)); }

    static Sums multiply_add(Words a, Words b) { return Sums(_mm256_madd_epi16(Vector(a), Vector(b))); }
    static Words multiply_add_bytes(Vector a, Words b) { return Words(_mm256_maddubs_epi16(a, Vector(b))); }

    static Sums shift_right(Sums sums, int32_t bits) { return Sums(_mm256_srli_epi32(Vector(sums), bits)); }

    static __m128i add_halves(Sums sums)
    {
        return _mm_add_epi32(_mm256_castsi256_si128(Vector(sums)), _mm256_extracti128_si256(Vector(sums), 1));
    }

    static Vector difference(Vector a, Vector b)
    {
        return _mm256_or_si256(_mm256_subs_epu8(a, b), _mm256_subs_epu8(b, a));
    }

    static Words lesser(Words a, Words b) { return Words(_mm256_min_epi16(Vector(a), Vector(b))); }
    static Words subtract_limited(Words a, Words b) { return Words(_mm256_subs_epu16(Vector(a), Vector(b))); }
    static bool any(Words mask) { return _mm256_movemask_epi8(Vector(mask)) != 0; }

    static Bytes and_not(Bytes a, Bytes b) { return Bytes(_mm256_andnot_si256(Vector(a), Vector(b))); }

    static Sums64 sad(Vector a, Vector b) { return Sums64(_mm256_sad_epu8(a, b)); }
    static uint32_t total(Sums64 sums)
    {
        const __m128i halves =
            _mm_add_epi64(_mm256_castsi256_si128(Vector(sums)), _mm256_extracti128_si256(Vector(sums), 1));
        return static_cast<uint32_t>(
            _mm_cvtsi128_si32(_mm_add_epi64(halves, _mm_unpackhi_epi64(halves, halves))));
    }

    static Vector pack(Words a, Words b) { return _mm256_packus_epi16(Vector(a), Vector(b)); }
    static Words pack(Ints a, Ints b) { return Words(_mm256_packs_epi32(Vector(a), Vector(b))); }
    static Bytes pack_signed(Words a, Words b) { return Bytes(_mm256_packs_epi16(Vector(a), Vector(b))); }
    static void store_packed(uint8_t* dst, Words words)
    {
        const Vector bytes = in_order(pack(words, words));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), _mm256_castsi256_si128(bytes));
    }

    static Words shuffled(Vector bytes, Words order)
    {
        return Words(_mm256_shuffle_epi8(bytes, Vector(order)));
    }

    static Vector weave_low_bytes(Vector a, Vector b) { return _mm256_unpacklo_epi8(a, b); }
    static Vector weave_high_bytes(Vector a, Vector b) { return _mm256_unpackhi_epi8(a, b); }
    static Vector weave_low_words(Words a, Words b) { return _mm256_unpacklo_epi16(Vector(a), Vector(b)); }
    static Vector weave_high_words(Words a, Words b) { return _mm256_unpackhi_epi16(Vector(a), Vector(b)); }
    static Vector weave_low_ints(Vector a, Vector b) { return _mm256_unpacklo_epi32(a, b); }
    static Vector weave_high_ints(Vector a, Vector b) { return _mm256_unpackhi_epi32(a, b); }
    static Vector weave_low_quads(Sums a, Sums b) { return _mm256_unpacklo_epi64(Vector(a), Vector(b)); }
    static Vector weave_high_quads(Sums a, Sums b) { return _mm256_unpackhi_epi64(Vector(a), Vector(b)); }

    static Vector even_ints(Vector a, Vector b)
    {
        const __m256 even =
            _mm256_shuffle_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b), _MM_SHUFFLE(2, 0, 2, 0));
        return _mm256_castps_si256(even);
    }

    // The lower halves of both vectors, then the upper ones.
    static Two halves(Vector a, Vector b)
    {
        return {_mm256_permute2x128_si256(a, b, 0x20), _mm256_permute2x128_si256(a, b, 0x31)};
    }

    // Packing two vectors leaves their quarters in the order 0 2 1 3, packing four their eighths in
    // 0 2 4 6 1 3 5 7.
    static Vector in_order(Vector packed)
    {
        return _mm256_permute4x64_epi64(packed, _MM_SHUFFLE(3, 1, 2, 0));
    }
    static Vector in_order_twice(Vector packed)
    {
        return _mm256_permutevar8x32_epi32(packed, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    }

    // Stores the lower halves of the four vectors, then the upper ones.
    static void store_halves(uint8_t* dst, const Two& low, const Two& high)
    {
        const Two first = halves(low.first, low.second);
        const Two second = halves(high.first, high.second);
        store(dst, first.first);
        store(dst + kBytes, second.first);
        store(dst + 2 * kBytes, first.second);
        store(dst + 3 * kBytes, second.second);
    }
};

}  // namespace

}  // namespace ozr::kernels

#endif
