#pragma once

#include <pthread.h>

/// Runs `work` on a thread with 512 KB of stack, which is enough for each operation of the
/// library. Under a sanitizer, whose frames are larger, the stack has the usual size.
template <class Work>
void onSmallStack(Work work) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
#ifndef ZEIBREKU_SANITIZED
    pthread_attr_setstacksize(&attributes, 512 * 1024);
#endif
    pthread_t thread;
    pthread_create(
        &thread, &attributes,
        [](void* argument) -> void* {
            (*static_cast<Work*>(argument))();
            return nullptr;
        },
        &work);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}
