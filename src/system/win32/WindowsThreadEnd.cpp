#include <pthread.h>

#include "platform/SystemServices.h"

namespace ble {
namespace {

using Handler = void (*)();

pthread_key_t MakeKey() {
  pthread_key_t key = 0;
  pthread_key_create(&key, [](void* handler) { reinterpret_cast<Handler>(handler)(); });
  return key;
}

}  // namespace

// MinGW-w64 has POSIX threads, and takes every thread of the process for one. The destructor of a
// thread_local object would keep the library loaded for as long as the thread lives.
void CallAtThreadEnd(Handler handler) {
  static const pthread_key_t key = MakeKey();
  pthread_setspecific(key, reinterpret_cast<void*>(handler));
}

}  // namespace ble
