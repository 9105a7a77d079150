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
  EXPECT_EQ(hex(sha256("")), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(hex(sha256("abc")), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(hex(sha256("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq")),
            "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
  EXPECT_EQ(hex(sha256("abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmnoijklmnopjklmnop"
                       "qklmnopqrlmnopqrsmnopqrstnopqrstu")),
            "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1");
  EXPECT_EQ(hex(sha256(std::string(1000000, 'a'))),
            "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(Sha256, PaddingBoundaries) {
  // 55, 56 and 64 bytes put the length in the first block, force a second
  // block, and fill a block exactly.
  EXPECT_EQ(hex(sha256(std::string(55, 'a'))),
            "9f4390f8d30c2dd92ec9f095b65e2b9ae9b0a925a5258e241c9f1e910f734318");
  EXPECT_EQ(hex(sha256(std::string(56, 'a'))),
            "b35439a4ac6f0948b6d6f9e3c6af0f5f590ce20f1bde7090ef7970686ec6738a");
  EXPECT_EQ(hex(sha256(std::string(64, 'a'))),
            "ffe054fe7ae0cb6dc65c3af9b61d5209f439851db43d0ba5997337df154668eb");
  // Non-ASCII text hashes as its UTF-8 bytes.
  EXPECT_EQ(hex(sha256("seedmap_v3:мир")),
            "d41716b7ec2cd0b5c9b65823bdf7cba7e61a10921aa00fc12f69075e47b69003");
}
