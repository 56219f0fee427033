// The calls that a test can let fail: the nth of a kind, or every one. The replaced functions ask here.
// Counted is what the client does on the thread of the test, and not what its recording platform does
// meanwhile.
#ifndef ZUV_TESTS_CLIENT_FAILING_CALLS_H
#define ZUV_TESTS_CLIENT_FAILING_CALLS_H

namespace velmora::test {

enum class Call {
    New,             ///< operator new, also of the libraries that the client uses: std::bad_alloc
    UuidBuffer,      ///< the malloc of a UUID's text: null
    Lock,            ///< the lock of any mutex: std::system_error
    ReadClock,       ///< clock_gettime of the monotonic clock: -1
    OpenRegion,      ///< shm_open: -1
    ResizeRegion,    ///< ftruncate: -1
    MapRegion,       ///< mmap: MAP_FAILED
    MapRegionToNull, ///< mmap: null
};
inline constexpr int kCallKinds = 8;

/// Lets the nth call of this kind from here on (from 1) fail, and that one only.
void failNth(Call call, int nth);
inline void failNext(Call call) {
    failNth(call, 1);
}
void failEvery(Call call);
/// From here on none fails. Whether the nth had come by then.
bool stopFailing(Call call);

/// Work of the test within an operation of the client: nothing on this thread fails or counts meanwhile.
class OwnWork {
public:
    OwnWork();
    ~OwnWork();
    OwnWork(const OwnWork&) = delete;
    OwnWork& operator=(const OwnWork&) = delete;
};
bool isOwnWork();

// The replaced functions report here.
bool isToFail(Call call);

} // namespace velmora::test

#endif // ZUV_TESTS_CLIENT_FAILING_CALLS_H
