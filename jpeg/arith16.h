// Scalar 16-bit arithmetic of the JPEG block family: wrapping, saturating, high multiply. Written
// once here; internal linkage so that copies built for different instruction sets never merge.
#pragma once

#include <lum.h>

#include <cstdint>

namespace lum {

// The low 16 bits of v as a signed value.
static inline Lum16s wrap16(int32_t v) { return static_cast<Lum16s>(static_cast<uint16_t>(static_cast<uint32_t>(v))); }

// v clamped to -32768..32767.
static inline Lum16s sat16(int32_t v) { return static_cast<Lum16s>(v < -32768 ? -32768 : (v > 32767 ? 32767 : v)); }

// v clamped to 0..255.
static inline Lum8u sat8u(int32_t v) { return static_cast<Lum8u>(v < 0 ? 0 : (v > 255 ? 255 : v)); }

// Saturating 16-bit addition and subtraction.
static inline Lum16s sadd(Lum16s a, Lum16s b) { return sat16(int32_t{a} + b); }
static inline Lum16s ssub(Lum16s a, Lum16s b) { return sat16(int32_t{a} - b); }

// The upper 16 bits of the signed 32-bit product.
static inline Lum16s mulh(Lum16s a, Lum16s b) { return static_cast<Lum16s>((int32_t{a} * b) >> 16); }

// 16-bit left shift that wraps.
static inline Lum16s shl(Lum16s a, int n) { return wrap16(static_cast<int32_t>(static_cast<uint32_t>(a) << n)); }

// Wrapping 32-bit addition, subtraction and multiplication, without the undefined signed overflow.
static inline int32_t add32(int32_t a, int32_t b) { return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b)); }
static inline int32_t sub32(int32_t a, int32_t b) { return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b)); }
static inline int32_t mul32(int32_t a, int32_t b) { return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b)); }

}  // namespace lum
