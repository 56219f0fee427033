#ifndef ZUV_MEDIA_PROXY_H
#define ZUV_MEDIA_PROXY_H

#include <memory>
#include <string>

#define ZUV_MEDIA_PROXY_VERSION_MAJOR 1
#define ZUV_MEDIA_PROXY_VERSION_MINOR 0
#define ZUV_MEDIA_PROXY_VERSION_PATCH 0

#endif
