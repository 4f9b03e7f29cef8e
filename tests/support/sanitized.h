// SPDX-License-Identifier: Apache-2.0
//
// RIGSYNC_SANITIZED is defined under the address and the thread sanitizer, which make a test many
// times slower and reserve memory that they never use. gcc has a macro for each, clang a feature
// test.
#ifndef RIGSYNC_TESTS_SUPPORT_SANITIZED_H
#define RIGSYNC_TESTS_SUPPORT_SANITIZED_H

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define RIGSYNC_SANITIZED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define RIGSYNC_SANITIZED
#endif
#endif

#ifdef RIGSYNC_SANITIZED
constexpr bool Is_Sanitized = true;
#else
constexpr bool Is_Sanitized = false;
#endif

#endif  // RIGSYNC_TESTS_SUPPORT_SANITIZED_H
