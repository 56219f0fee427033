// Access to members that no lock guards. Their readers and writers may run on different threads at the same time.
// std::atomic_ref makes that well defined without changing the types of the members, which the class layout fixes.
#ifndef ZUV_UNGUARDED_MEMBER_H
#define ZUV_UNGUARDED_MEMBER_H

#include <atomic>

namespace velmora {

template <typename T>
T loadUnguarded(T& member) {
    return std::atomic_ref<T>(member).load(std::memory_order_acquire);
}

template <typename T>
void storeUnguarded(T& member, T value) {
    std::atomic_ref<T>(member).store(value, std::memory_order_release);
}

} // namespace velmora

#endif // ZUV_UNGUARDED_MEMBER_H
