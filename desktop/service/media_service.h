// The objects of all clients.
#ifndef ZUV_DESKTOP_SERVICE_MEDIA_SERVICE_H
#define ZUV_DESKTOP_SERVICE_MEDIA_SERVICE_H

#include "service/media_object.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace velmora::desktop {

/// Creates and ends the objects of all clients, and hands each command to its object. One thread, which never waits for
/// media.
class MediaService {
public:
    explicit MediaService(const MediaServices& services);

    /// @param values a command, or any other list, which is refused.
    /// @param client the sender's name on the bus; the objects that it creates end when it leaves the bus.
    void onCommand(const std::vector<std::string>& values, const std::string& client);

    void onClientLeft(const std::string& client);

private:
    struct Entry {
        std::shared_ptr<MediaObject> object;
        std::string session; ///< of the create command
        std::string client;
    };

    void carryOut(const Command& command, const std::string& client);
    void create(const Command& command, const std::string& client);
    void inspect(const Command& command);
    void forward(const Command& command);
    Entry& entryFor(const Command& create, const std::string& client);
    Entry* findSession(const std::string& session);

    const MediaServices m_services;
    std::map<std::string, Entry> m_objects; ///< by object identifier
    Worker m_disposer;                      ///< destroys objects, which can take long
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_MEDIA_SERVICE_H
