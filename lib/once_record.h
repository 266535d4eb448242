// The library's once-only records (the engine's capability record, the decoder's query
// result, the parameter constraint table) are each built under boost::call_once.
//
// boost::call_once keeps the acquire and release of its flag inside libboost_thread, which a
// ThreadSanitizer build does not instrument: it then reports every first read of a record
// that another thread built as a race. BuildOnce publishes the record through an atomic of
// its own as well, so that the ordering call_once already guarantees is visible to it; after
// the first call that costs one acquire load.
#ifndef DOLBYDIGITAL_ONCE_RECORD_H
#define DOLBYDIGITAL_ONCE_RECORD_H

#include <atomic>

#include <boost/thread/once.hpp>

namespace dolbydigital {

struct OnceRecord {
  boost::once_flag flag = BOOST_ONCE_INIT;
  std::atomic<bool> built{false};
};

template <typename Build>
void BuildOnce(OnceRecord& once, Build build) {
  boost::call_once(once.flag, [&once, &build] {
    build();
    once.built.store(true, std::memory_order_release);
  });
  static_cast<void>(once.built.load(std::memory_order_acquire));
}

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_ONCE_RECORD_H
