#include "system/posix/IconvPool.h"

#include <cstdint>

namespace ble::posix {
namespace {

constexpr std::size_t kMaxIdlePerConversion = 4;

bool IsOpen(iconv_t descriptor) {
  return reinterpret_cast<std::intptr_t>(descriptor) != -1;
}

}  // namespace

IconvPool::Loan::~Loan() {
  if (Succeeded()) pool_.GiveBack(conversion_, descriptor_);
}

bool IconvPool::Loan::Succeeded() const {
  return IsOpen(descriptor_);
}

IconvPool::Loan IconvPool::Borrow(const Conversion& conversion) {
  {
    const MutexLock lock(mutex_);
    auto& idle = idle_[conversion];
    idle.reserve(kMaxIdlePerConversion);  // so that giving back allocates nothing
    if (!idle.empty()) {
      const iconv_t descriptor = idle.back();
      idle.pop_back();
      return {*this, conversion, descriptor};
    }
  }
  return {*this, conversion, iconv_open(conversion.second.data(), conversion.first.data())};
}

void IconvPool::GiveBack(const Conversion& conversion, iconv_t descriptor) {
  iconv(descriptor, nullptr, nullptr, nullptr, nullptr);  // back to the initial state
  {
    const MutexLock lock(mutex_);
    auto& idle = idle_[conversion];
    if (idle.size() < kMaxIdlePerConversion) {
      idle.push_back(descriptor);
      return;
    }
  }
  iconv_close(descriptor);
}

}  // namespace ble::posix
