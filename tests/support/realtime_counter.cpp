#include "support/realtime_counter.h"

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

thread_local bool inSection = false;
std::atomic<long> allocationCount{0};
std::atomic<long> freeCount{0};
std::atomic<long> lockCount{0};

void countAllocation()
{
    if (inSection) allocationCount.fetch_add(1, std::memory_order_relaxed);
}

void countFree(void* p)
{
    if (inSection && p) freeCount.fetch_add(1, std::memory_order_relaxed);
}

} // namespace

namespace test_rt {

Audio_Section::Audio_Section() { inSection = true; }
Audio_Section::~Audio_Section() { inSection = false; }

Counts counts()
{
    return {allocationCount.load(), freeCount.load(), lockCount.load()};
}

void reset()
{
    allocationCount = 0;
    freeCount = 0;
    lockCount = 0;
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
bool available() { return false; }
#else
bool available() { return true; }
#endif

} // namespace test_rt

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

// The C library's own entries, which glibc exports under these names.
extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);
void __libc_free(void*);

#define TEST_RT_EXPORT __attribute__((visibility("default")))

TEST_RT_EXPORT void* malloc(size_t size)
{
    countAllocation();
    return __libc_malloc(size);
}

TEST_RT_EXPORT void* calloc(size_t count, size_t size)
{
    countAllocation();
    return __libc_calloc(count, size);
}

TEST_RT_EXPORT void* realloc(void* p, size_t size)
{
    countAllocation();
    return __libc_realloc(p, size);
}

TEST_RT_EXPORT void* memalign(size_t alignment, size_t size)
{
    countAllocation();
    return __libc_memalign(alignment, size);
}

TEST_RT_EXPORT int posix_memalign(void** out, size_t alignment, size_t size)
{
    countAllocation();
    void* p = __libc_memalign(alignment, size);
    if (p == nullptr) return 12; // ENOMEM
    *out = p;
    return 0;
}

TEST_RT_EXPORT void* aligned_alloc(size_t alignment, size_t size)
{
    countAllocation();
    return __libc_memalign(alignment, size);
}

TEST_RT_EXPORT void free(void* p)
{
    countFree(p);
    __libc_free(p);
}

using Lock = int (*)(pthread_mutex_t*);
static Lock realLock = nullptr;

// Found before main, while the process has one thread: a lock taken while
// the C library looks it up is let through unlocked.
__attribute__((constructor)) static void findRealLock()
{
    realLock = reinterpret_cast<Lock>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
}

TEST_RT_EXPORT int pthread_mutex_lock(pthread_mutex_t* mutex)
{
    if (inSection) lockCount.fetch_add(1, std::memory_order_relaxed);
    return realLock ? realLock(mutex) : 0;
}
}

// operator new and delete of every library lead here too, so that an
// allocation through them counts even where the C++ library would not call
// malloc through its public entry.
TEST_RT_EXPORT void* operator new(size_t size)
{
    if (void* p = malloc(size ? size : 1)) return p;
    throw std::bad_alloc();
}
TEST_RT_EXPORT void* operator new[](size_t size) { return operator new(size); }
TEST_RT_EXPORT void* operator new(size_t size, const std::nothrow_t&) noexcept { return malloc(size ? size : 1); }
TEST_RT_EXPORT void* operator new[](size_t size, const std::nothrow_t&) noexcept { return malloc(size ? size : 1); }
TEST_RT_EXPORT void operator delete(void* p) noexcept { free(p); }
TEST_RT_EXPORT void operator delete[](void* p) noexcept { free(p); }
TEST_RT_EXPORT void operator delete(void* p, size_t) noexcept { free(p); }
TEST_RT_EXPORT void operator delete[](void* p, size_t) noexcept { free(p); }

#endif
