// Which kernels this build uses: the one place that looks at the compiler's target macros.
#pragma once

#if defined(__x86_64__) || defined(__i386__)
#define ZELDC_X86 1
#else
#define ZELDC_X86 0
#endif

#if defined(__SSE2__)
#define ZELDC_SSE2 1
#else
#define ZELDC_SSE2 0
#endif

#if defined(__SSSE3__)
#define ZELDC_SSSE3 1
#else
#define ZELDC_SSSE3 0
#endif

#if defined(__SSE4_1__)
#define ZELDC_SSE41 1
#else
#define ZELDC_SSE41 0
#endif

#if defined(__AVX2__)
#define ZELDC_AVX2 1
#else
#define ZELDC_AVX2 0
#endif

#if defined(__BMI2__)
#define ZELDC_BMI2 1
#else
#define ZELDC_BMI2 0
#endif

// Carry-less multiplication, with the byte shuffles that go with it.
#if defined(__PCLMUL__) && defined(__SSSE3__) && defined(__SSE4_1__)
#define ZELDC_PCLMUL 1
#else
#define ZELDC_PCLMUL 0
#endif

#if defined(__VPCLMULQDQ__) && defined(__AVX2__)
#define ZELDC_VPCLMUL 1
#else
#define ZELDC_VPCLMUL 0
#endif

#define ZELDC_LIKELY(x) __builtin_expect(!!(x), 1)
#define ZELDC_UNLIKELY(x) __builtin_expect(!!(x), 0)
#define ZELDC_ALWAYS_INLINE inline __attribute__((always_inline))
// Behind the parameters of a lambda.
#define ZELDC_LAMBDA_INLINE __attribute__((always_inline))
#define ZELDC_NOINLINE __attribute__((noinline))
// The address may be any, and come from memory that nobody has written: the memory sanitizer takes that for a use.
#if defined(__has_feature)
#if __has_feature(memory_sanitizer)
#define ZELDC_PREFETCH(address) (void)(address)
#endif
#endif
#ifndef ZELDC_PREFETCH
#define ZELDC_PREFETCH(address) __builtin_prefetch(address)
#endif
// Before a loop whose steps hang on each other through an array: Clang 14 takes a counter that is read, stored and
// raised in one step for four of the same value at once.
#if defined(__clang__)
#define ZELDC_STEP_BY_STEP _Pragma("clang loop vectorize(disable) interleave(disable)")
#else
#define ZELDC_STEP_BY_STEP
#endif
