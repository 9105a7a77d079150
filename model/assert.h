// QTX_ASSERT: a check for misuse by the program itself, never for bad input
// (bad input gets a message for the user). The second argument tells the
// caller what to do instead.
//
// A debug build, or any build configured with QTX_STRICT_ASSERTS (the test
// builds), stops at the first failure. A release build prints the failure
// once per place and goes on with the code's safe fallback: a user in the
// middle of a long render should not lose it to our mistake.
#pragma once

namespace qtx {
// Reports a failed check; returns only in a lenient build.
void assertFailed(const char* condition, const char* what, const char* file, int line);
}  // namespace qtx

#define QTX_ASSERT(cond, what) \
  ((cond) ? (void)0 : ::qtx::assertFailed(#cond, what, __FILE__, __LINE__))
