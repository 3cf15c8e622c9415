#ifndef TESTS_SUPPORT_SANITIZED_H
#define TESTS_SUPPORT_SANITIZED_H

#ifndef __has_feature
#define __has_feature(feature) 0
#endif

namespace TestSupport {

/// A sanitizer makes system calls, touches pages and adds instructions of its own.
constexpr bool cIsSanitized =
#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
    true;
#else
    false;
#endif

} // namespace TestSupport

#endif
