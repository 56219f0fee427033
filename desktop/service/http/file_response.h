// Responses from local files.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_FILE_RESPONSE_H
#define ZUV_DESKTOP_SERVICE_HTTP_FILE_RESPONSE_H

#include "service/http/body_source.h"
#include "service/http/http_message.h"

#include <filesystem>
#include <memory>

namespace velmora::desktop {

struct FileResponse {
    ResponseHead head;
    std::shared_ptr<BodySource> body; ///< null if the response has no body
};

/// The response to GET or HEAD of a file in its current state. The body fails once the file has changed.
FileResponse respondFromFile(const HttpRequest& request, const std::filesystem::path& path);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_FILE_RESPONSE_H
