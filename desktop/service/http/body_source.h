// Where the body of a response comes from.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_BODY_SOURCE_H
#define ZUV_DESKTOP_SERVICE_HTTP_BODY_SOURCE_H

#include <sys/types.h>

#include <cstddef>

namespace velmora::desktop {

class BodySource {
public:
    static constexpr ssize_t kNothingYet = 0; ///< Exchange::resume() is called when more has arrived
    static constexpr ssize_t kEnd = -1;
    static constexpr ssize_t kFailed = -2; ///< the response is cut short, so that the reader notices

    virtual ~BodySource() = default;

    /// Copies the next bytes of the body. Does not wait for the network. Called on the server's thread.
    /// @return the number of bytes, at most `size`, or one of the constants.
    virtual ssize_t read(char* bytes, std::size_t size) = 0;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_BODY_SOURCE_H
