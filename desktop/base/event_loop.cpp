#include "base/event_loop.h"

#include <system_error>

namespace velmora::desktop {

void requireSuccess(int result, const char* what) {
    if (result < 0)
        throw std::system_error(-result, std::generic_category(), what);
}

} // namespace velmora::desktop
