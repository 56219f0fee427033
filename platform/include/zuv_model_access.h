// The platform's message bus, as the client library sees it: a connection that publishes lists of strings on
// topics, reads the value that a topic last carried, starts the media service, and delivers events.
#ifndef ZUV_MODEL_ACCESS_H
#define ZUV_MODEL_ACCESS_H

#include <memory>
#include <string>
#include <vector>

namespace velmora {

/// Receives what a connection delivers. Implemented by the user of the connection, which keeps it alive for
/// as long as the connection lives.
class ZUVModelAccessClient {
public:
    /// The connection's own state changed. Runs on the connection's delivery thread.
    virtual void onModelAccessStateChanged() = 0;

    /// One event, as the list of strings that its sender published.
    ///
    /// Runs on the connection's one delivery thread, one event at a time, in the order in which a sender
    /// published them. The connection holds no lock during the call, so every operation of the connection may
    /// be called from inside. A blocking call holds up the events behind it.
    ///
    /// @param params the event; the receiver may change the list, nobody reads it afterwards.
    virtual void onZUVEvent(std::vector<std::string>& params) = 0;

protected:
    ~ZUVModelAccessClient() = default;
};

/// A connection to the bus. All operations may be called from any thread, also from a client's callbacks, and
/// with locks of the caller's own held: none of them waits for a callback to return.
class IZuvModelAccess {
public:
    /// Defined by the platform's library, which so becomes the home of this class's vtable.
    virtual ~IZuvModelAccess();

    /// Connects. Called once, before any other operation.
    /// @return 0, or a negative number when there is no bus; the other operations then do nothing and fail.
    virtual int initialize() = 0;

    /// Events are delivered to the client from here on. Called once, after initialize().
    /// @return 0, or a negative number.
    virtual int start() = 0;

    /// Asks for the media service to be started, or to be started anew when it runs but no longer answers.
    /// Returns at once; whether the service came up shows by its events only.
    /// @return 0 when the request was made, or a negative number.
    virtual int startService() = 0;

    /// Reads the value that `topic` last carried, whoever published it. Waits for at most 100 ms.
    /// @param values replaced by the value; emptied when there is none.
    /// @return 0 when `values` holds the topic's value, or a negative number.
    virtual int read(const std::string& topic, std::vector<std::string>& values) = 0;

    /// Publishes `values` on `topic` and makes it the topic's current value. Never waits, never starts the
    /// service; when nobody listens the list is dropped. Strings are bytes: any content and length up to 1
    /// MiB arrives whole.
    /// @return 0 when the list was handed to the bus, or a negative number; the list is dropped then, not
    ///     kept for when there is a bus again.
    virtual int publish(std::string topic, std::vector<std::string> values) = 0;
};

/// The platform's connection. Every platform defines Impl and the operations in a library of its own.
class ZUVModelAccess final : public IZuvModelAccess {
public:
    /// @param client receives the events; not owned.
    explicit ZUVModelAccess(ZUVModelAccessClient* client);

    /// Ends delivery. Called on the delivery thread it returns at once, from elsewhere it waits for a
    /// callback that is under way; afterwards the client is not called any more.
    ~ZUVModelAccess() override;

    int initialize() override;
    int start() override;
    int startService() override;
    int read(const std::string& topic, std::vector<std::string>& values) override;
    int publish(std::string topic, std::vector<std::string> values) override;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace velmora

#endif // ZUV_MODEL_ACCESS_H
