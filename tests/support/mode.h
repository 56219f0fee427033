// The modes of the library, for tests that are the same in both.
#ifndef ZUV_TESTS_SUPPORT_MODE_H
#define ZUV_TESTS_SUPPORT_MODE_H

#include "zuv_media_proxy.h"

#include <memory>
#include <ostream>

namespace velmora {

enum class Mode { Asynchronous, Synchronous };

inline void PrintTo(Mode mode, std::ostream* stream) {
    *stream << (mode == Mode::Synchronous ? "Synchronous" : "Asynchronous");
}

/// By the creation function of the mode.
inline std::shared_ptr<ZUVMediaProxyInterface> createProxy(ZUVMediaProxyManagerInterface& manager, Mode mode) {
    return mode == Mode::Synchronous ? manager.createNewZUVMediaProxySync() : manager.createNewZUVMediaProxy();
}

} // namespace velmora

#endif // ZUV_TESTS_SUPPORT_MODE_H
