#pragma once

// QOV_SANITIZED: the address or thread sanitizer has allocator, memory and descriptors to itself.

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define QOV_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define QOV_SANITIZED 1
#endif
#endif
