// Before everything else: what the C++ library's headers, set up for another C library, name and
// musl does not have. None of it is called.
#pragma once

#include <locale.h>
#include <pthread.h>
#include <time.h>

#define __GLIBC_PREREQ(major, minor) 0
#define __BEGIN_DECLS extern "C" {
#define __END_DECLS }
typedef locale_t __locale_t;
extern "C" int pthread_cond_clockwait(pthread_cond_t*, pthread_mutex_t*, clockid_t,
                                      const struct timespec*);
extern "C" int pthread_mutex_clocklock(pthread_mutex_t*, clockid_t, const struct timespec*);
