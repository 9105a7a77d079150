// Included by each fuzzer once: larger inputs than libFuzzer's default of
// 4096 bytes, so that a reader that is quadratic in some count (keys,
// chunks, nesting) shows up as a timeout instead of hiding below the limit.
// Flags given on the command line win.
#pragma once

#include <cstring>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  static std::vector<char*> args;
  static char maxLen[] = "-max_len=1048576";
  static char timeout[] = "-timeout=10";
  args.assign(*argv, *argv + *argc);
  auto given = [&](const char* flag) {
    for (char* a : args)
      if (std::strncmp(a, flag, std::strlen(flag)) == 0) return true;
    return false;
  };
  if (!given("-max_len=")) args.push_back(maxLen);
  if (!given("-timeout=")) args.push_back(timeout);
  args.push_back(nullptr);
  *argc = static_cast<int>(args.size()) - 1;
  *argv = args.data();
  return 0;
}
