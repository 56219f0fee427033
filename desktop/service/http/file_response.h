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
    std::shared_ptr<BodySource> body; ///< none where the head says it all
};

/// The answer to GET or HEAD of a file as it is now. The body fails as soon as the file is changed.
FileResponse respondFromFile(const HttpRequest& request, const std::filesystem::path& path);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_FILE_RESPONSE_H
