// SHA-256 against the standard test vectors.
#include "model/sha256.h"

#include <gtest/gtest.h>

#include <string>

namespace {
std::string hex(const std::array<uint8_t, 32>& d) {
  static const char* digits = "0123456789abcdef";
  std::string s;
  for (uint8_t b : d) s += {digits[b >> 4], digits[b & 15]};
  return s;
}
}  // namespace

TEST(Sha256, StandardVectors) {
  // The 56-byte vector leaves no room for the length: padding spills into a second block.
  EXPECT_EQ(hex(sha256("")), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(hex(sha256("abc")), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(hex(sha256("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq")),
            "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
  EXPECT_EQ(hex(sha256(std::string(1000000, 'a'))),
            "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

