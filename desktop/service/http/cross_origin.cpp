#include "service/http/cross_origin.h"

namespace velmora::desktop {

void addCrossOriginFields(HttpFields& fields) {
    fields["Access-Control-Allow-Origin"] = "*";
    fields["Access-Control-Expose-Headers"] = "Accept-Ranges, Content-Length, Content-Range, ETag, Last-Modified";
    fields["Cross-Origin-Resource-Policy"] = "cross-origin";
    fields["Timing-Allow-Origin"] = "*";
}

ResponseHead optionsResponse(const HttpRequest& request) {
    ResponseHead head{204};
    head.fields["Allow"] = kAllowedMethods;
    head.fields["Access-Control-Allow-Methods"] = kAllowedMethods;
    head.fields["Access-Control-Allow-Headers"] =
        "Range, If-Range, If-Match, If-None-Match, If-Modified-Since, If-Unmodified-Since, Cache-Control";
    head.fields["Access-Control-Max-Age"] = "600";
    // Browsers ask this when a page from the network accesses this machine's addresses.
    if (!request.field("Access-Control-Request-Private-Network").empty())
        head.fields["Access-Control-Allow-Private-Network"] = "true";
    return head;
}

} // namespace velmora::desktop
