// The CRC-32 implementations behind tmp_crc32, reachable by the tests.
// Each takes and returns the running (inverted) register.
#pragma once

#include <cstddef>
#include <cstdint>

namespace aputil::ds {

// Portable: eight bytes per step with slicing tables.
uint32_t crc32_slice8(uint32_t crc, const uint8_t *p, size_t n);

// The ARMv8 CRC32 instructions; nullptr where the CPU or build lacks them.
using Crc32Fn = uint32_t (*)(uint32_t crc, const uint8_t *p, size_t n);
Crc32Fn crc32_armv8();

// x86-64 carry-less multiply folding (PCLMULQDQ + SSE4.1); nullptr where the
// CPU or build lacks them. Short inputs and tails go through slicing.
Crc32Fn crc32_clmul();

// The same folding 256 bytes a step with AVX-512 and VPCLMULQDQ; nullptr
// where the CPU, the OS or the build lacks them.
Crc32Fn crc32_vclmul();

}  // namespace aputil::ds
