// The number types of the system, by their sizes in bits.
#pragma once

#include <cstdint>

using i32 = std::int32_t;
using u32 = std::uint32_t;
using u8 = std::uint8_t;
using f32 = float;
using f64 = double;
