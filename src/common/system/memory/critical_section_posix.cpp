#include <pthread.h>

#include "common/system/memory/critical_section.h"

namespace tarnwell {

CCriticalSection::CCriticalSection() noexcept {
    pthread_mutex_init(&As<pthread_mutex_t>(), nullptr);
}

CCriticalSection::~CCriticalSection() {
    pthread_mutex_destroy(&As<pthread_mutex_t>());
}

void CCriticalSection::Enter() noexcept {
    pthread_mutex_lock(&As<pthread_mutex_t>());
}

bool CCriticalSection::TryEnter() noexcept {
    return pthread_mutex_trylock(&As<pthread_mutex_t>()) == 0;
}

void CCriticalSection::Leave() noexcept {
    pthread_mutex_unlock(&As<pthread_mutex_t>());
}

}  // namespace tarnwell
