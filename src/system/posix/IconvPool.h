#pragma once

#include <iconv.h>

#include <map>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Mutex.h"

namespace ble::posix {

/// Conversion descriptors kept between uses: opening one costs far more than converting a short
/// text. Any thread; a descriptor belongs to one thread while it is out of the pool. Lives as long
/// as the process.
class IconvPool {
 public:
  /// Two charset names: from, to. They are literals, which outlive the pool.
  using Conversion = std::pair<std::string_view, std::string_view>;

  /// A descriptor out of the pool, in its initial state; it goes back when the loan ends.
  class Loan {
   public:
    Loan(IconvPool& pool, const Conversion& conversion, iconv_t descriptor)
        : pool_(pool), conversion_(conversion), descriptor_(descriptor) {}
    Loan(const Loan&) = delete;
    Loan& operator=(const Loan&) = delete;
    ~Loan();

    bool Succeeded() const;
    iconv_t Get() const { return descriptor_; }

   private:
    IconvPool& pool_;
    const Conversion conversion_;
    const iconv_t descriptor_;
  };

  IconvPool() = default;
  IconvPool(const IconvPool&) = delete;
  IconvPool& operator=(const IconvPool&) = delete;

  /// A descriptor for a conversion; the loan has not succeeded when iconv lacks a charset.
  [[nodiscard]] Loan Borrow(const Conversion& conversion);

 private:
  void GiveBack(const Conversion& conversion, iconv_t descriptor);

  Mutex mutex_;
  std::map<Conversion, std::vector<iconv_t>> idle_ GUARDED_BY(mutex_);
};

}  // namespace ble::posix
