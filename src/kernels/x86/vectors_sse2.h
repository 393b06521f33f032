// The operations of SSE2 that kernels written for any vector width use. vectors_avx2.h has the same
// names for AVX2. Sums, products and shifts of lanes are operators of the vector types.
#ifndef OZR_VECTORS_SSE2_H
#define OZR_VECTORS_SSE2_H

#include <emmintrin.h>
#include <stdint.h>

namespace ozr::kernels
{

// Unnamed: each file that includes this has its own copy, compiled for its own instruction set.
namespace
{

struct Sse2 {
    static constexpr int32_t kBytes = 16;
    using Vector = __m128i;
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

    static Vector load(const void* src) { return _mm_loadu_si128(static_cast<const __m128i*>(src)); }
    static void store(void* dst, Vector bytes) { _mm_storeu_si128(static_cast<__m128i*>(dst), bytes); }

    // Blocks of 16 bytes, as many as a vector has.
    static Vector load_blocks(const uint8_t* const* blocks, int64_t offset)
    {
        return load(blocks[0] + offset);
    }
    static Vector load_blocks(const uint8_t* src, const int32_t* offsets) { return load(src + offsets[0]); }

    // Loads a vector of words from half as many bytes, zero-extended.
    static Words load_words(const uint8_t* src)
    {
        const Vector bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(src));
        return Words(_mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
    }

    // The bytes of a vector as words, in order.
    static TwoWords widened(Vector bytes)
    {
        const Vector zero = _mm_setzero_si128();
        return {Words(_mm_unpacklo_epi8(bytes, zero)), Words(_mm_unpackhi_epi8(bytes, zero))};
    }

    static Vector all_bytes(uint8_t value) { return _mm_set1_epi8(static_cast<char>(value)); }
    static Words all_words(int16_t value) { return Words(_mm_set1_epi16(value)); }
    static Words all_pairs(int16_t even, int16_t odd)
    {
        return Words(_mm_set1_epi32((odd * 0x10000) | (even & 0xFFFF)));
    }
    static Words low_bytes(Vector words) { return Words(_mm_and_si128(words, _mm_set1_epi16(0xFF))); }
    static Words high_bytes(Vector words) { return Words(_mm_srli_epi16(words, 8)); }

    // Sums of the products of neighbours.
    static Sums multiply_add(Words a, Words b) { return Sums(_mm_madd_epi16(Vector(a), Vector(b))); }

    // Not the operator: with it the compiler runs out of registers on 32 bits.
    static Sums shift_right(Sums sums, int32_t bits) { return Sums(_mm_srli_epi32(Vector(sums), bits)); }

    static __m128i add_halves(Sums sums) { return Vector(sums); }

    // Absolute differences of bytes.
    static Vector difference(Vector a, Vector b)
    {
        return _mm_or_si128(_mm_subs_epu8(a, b), _mm_subs_epu8(b, a));
    }

    static Words lesser(Words a, Words b) { return Words(_mm_min_epi16(Vector(a), Vector(b))); }

    // Unsigned, 0 where b exceeds a.
    static Words subtract_limited(Words a, Words b) { return Words(_mm_subs_epu16(Vector(a), Vector(b))); }

    // Whether a comparison holds anywhere.
    static bool any(Words mask) { return _mm_movemask_epi8(Vector(mask)) != 0; }

    // ~a & b. Not by operators: the compiler would replace the complement of a comparison by
    // a second comparison.
    static Bytes and_not(Bytes a, Bytes b) { return Bytes(_mm_andnot_si128(Vector(a), Vector(b))); }

    // Sums of the absolute differences of eight bytes each; total() adds these up and returns the
    // low 32 bits.
    static Sums64 sad(Vector a, Vector b) { return Sums64(_mm_sad_epu8(a, b)); }
    static uint32_t total(Sums64 sums)
    {
        const Vector halves = Vector(sums);
        return static_cast<uint32_t>(
            _mm_cvtsi128_si32(_mm_add_epi64(halves, _mm_unpackhi_epi64(halves, halves))));
    }

    // Values are clamped to the range of the narrower lanes.
    static Vector pack(Words a, Words b) { return _mm_packus_epi16(Vector(a), Vector(b)); }
    static Words pack(Ints a, Ints b) { return Words(_mm_packs_epi32(Vector(a), Vector(b))); }
    static Bytes pack_signed(Words a, Words b) { return Bytes(_mm_packs_epi16(Vector(a), Vector(b))); }
    static void store_packed(uint8_t* dst, Words words)
    {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(dst), pack(words, words));
    }

    // Interleaves the lanes of `a` and `b`.
    static Vector weave_low_bytes(Vector a, Vector b) { return _mm_unpacklo_epi8(a, b); }
    static Vector weave_high_bytes(Vector a, Vector b) { return _mm_unpackhi_epi8(a, b); }
    static Vector weave_low_words(Words a, Words b) { return _mm_unpacklo_epi16(Vector(a), Vector(b)); }
    static Vector weave_high_words(Words a, Words b) { return _mm_unpackhi_epi16(Vector(a), Vector(b)); }
    static Vector weave_low_ints(Vector a, Vector b) { return _mm_unpacklo_epi32(a, b); }
    static Vector weave_high_ints(Vector a, Vector b) { return _mm_unpackhi_epi32(a, b); }
    static Vector weave_low_quads(Sums a, Sums b) { return _mm_unpacklo_epi64(Vector(a), Vector(b)); }
    static Vector weave_high_quads(Sums a, Sums b) { return _mm_unpackhi_epi64(Vector(a), Vector(b)); }

    // The lanes with even numbers.
    static Vector even_ints(Vector a, Vector b)
    {
        const __m128 even = _mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), _MM_SHUFFLE(2, 0, 2, 0));
        return _mm_castps_si128(even);
    }

    // AVX2 has to reorder its halves of 16 bytes here; a vector of SSE2 is a single one.
    static Two halves(Vector a, Vector b) { return {a, b}; }
    static Vector in_order(Vector packed) { return packed; }
    static Vector in_order_twice(Vector packed) { return packed; }
    static void store_halves(uint8_t* dst, const Two& low, const Two& high)
    {
        store(dst, low.first);
        store(dst + kBytes, low.second);
        store(dst + 2 * kBytes, high.first);
        store(dst + 3 * kBytes, high.second);
    }
};

}  // namespace

}  // namespace ozr::kernels

#endif
