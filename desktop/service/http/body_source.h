// Where the body of a response comes from.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_BODY_SOURCE_H
#define ZUV_DESKTOP_SERVICE_HTTP_BODY_SOURCE_H

#include <sys/types.h>

#include <cstddef>

namespace velmora::desktop {

class BodySource {
public:
    static constexpr ssize_t kNothingYet = 0; ///< Exchange::resume() is called when there is something
    static constexpr ssize_t kEnd = -1;
    static constexpr ssize_t kFailed = -2; ///< the reader sees a body that is cut short, never a wrong one

    virtual ~BodySource() = default;

    /// The bytes that follow. Never blocks for a network. On the server's thread.
    /// @return how many, at most `size`, or one of the constants.
    virtual ssize_t read(char* bytes, std::size_t size) = 0;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_BODY_SOURCE_H
