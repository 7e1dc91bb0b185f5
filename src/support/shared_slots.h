// SPDX-License-Identifier: MIT
// Values that are made when they are first asked for and then stay for all threads. Threads that ask for a value at the
// same time may each make it; the first one stays.
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <vector>

namespace orvelle {

template <class T>
class SharedSlots {
 public:
  explicit SharedSlots(size_t size) : slots_(size) {}
  ~SharedSlots() {
    for (const std::atomic<const T*>& slot : slots_) delete slot.load(std::memory_order_relaxed);
  }
  SharedSlots(const SharedSlots&) = delete;
  SharedSlots& operator=(const SharedSlots&) = delete;

  size_t size() const { return slots_.size(); }

  // Null before it was put there.
  const T* get(size_t slot) const { return slots_[slot].load(std::memory_order_acquire); }

  // Returns what stays: another thread may have been faster.
  const T& put(size_t slot, std::unique_ptr<const T> value) {
    const T* known = nullptr;
    if (slots_[slot].compare_exchange_strong(known, value.get(), std::memory_order_acq_rel))
      return *value.release();
    return *known;
  }

 private:
  std::vector<std::atomic<const T*>> slots_;
};

}  // namespace orvelle
