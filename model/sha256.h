// SHA-256 (FIPS 180-4), carried by the program so that seeds hash the same everywhere.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

std::array<uint8_t, 32> sha256(std::string_view bytes);
