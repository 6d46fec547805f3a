#include "platform/SystemServices.h"

namespace ble {

void CallAtThreadEnd(void (*handler)()) {
  struct Ending {
    void (*const handler)();
    ~Ending() { handler(); }
  };
  thread_local const Ending ending{handler};
}

}  // namespace ble
