// The platform's message bus, as the client library sees it: a connection that publishes lists of strings on topics,
// reads the current value of a topic, starts the media service, and delivers events.
#ifndef ZUV_MODEL_ACCESS_H
#define ZUV_MODEL_ACCESS_H

#include <memory>
#include <string>
#include <vector>

namespace velmora {

/// Receives what a connection delivers. Implemented by the user of the connection, which keeps it alive for as long as
/// the connection exists.
class ZUVModelAccessClient {
public:
    /// The connection's own state changed. Runs on the connection's delivery thread.
    virtual void onModelAccessStateChanged() = 0;

    /// One event, as the list of strings that its sender published.
    ///
    /// Runs on the connection's only delivery thread, one event at a time; the events of one sender arrive in the order
    /// in which it published them. The connection holds no lock during the call, so every operation of the connection
    /// may be called from inside it. The events that follow wait until the call returns.
    ///
    /// @param params the event. The receiver may change the list: it is not used after the call.
    virtual void onZUVEvent(std::vector<std::string>& params) = 0;

protected:
    ~ZUVModelAccessClient() = default;
};

/// A connection to the bus. All operations may be called from any thread, including from a client's callbacks, and
/// while the caller holds locks of its own: none of them waits for a callback to return.
class IZuvModelAccess {
public:
    /// Defined in the platform's library, so that the vtable of this class is emitted there.
    virtual ~IZuvModelAccess();

    /// Connects. Called once, before any other operation.
    ///
    /// @return 0, or a negative number when there is no bus; all other operations then do nothing and fail.
    virtual int initialize() = 0;

    /// Begins to deliver events to the client. Called once, after initialize().
    ///
    /// @return 0, or a negative number on failure.
    virtual int start() = 0;

    /// Requests the start of the media service, or its restart if it runs but no longer answers. Returns at once; only
    /// the service's events show whether it has started.
    ///
    /// @return 0 when the request was made, or a negative number.
    virtual int startService() = 0;

    /// Reads the current value of `topic`: the list that was last published on it, by any connection. Waits for at most
    /// 100 ms.
    ///
    /// @param values replaced by the value; emptied when there is none.
    /// @return 0 when `values` holds the topic's value, or a negative number.
    virtual int read(const std::string& topic, std::vector<std::string>& values) = 0;

    /// Publishes `values` on `topic` and makes it the topic's current value. Never waits and never starts the service;
    /// if no connection listens to the topic, the list is not kept for later listeners. Strings are bytes: any content
    /// of up to 1 MiB arrives unchanged.
    ///
    /// @return 0 when the list was handed to the bus, or a negative number. The list is then dropped, and not published
    ///     later when there is a bus again.
    virtual int publish(std::string topic, std::vector<std::string> values) = 0;
};

/// The platform's connection. Every platform defines Impl and the operations in its own library.
class ZUVModelAccess final : public IZuvModelAccess {
public:
    /// @param client receives the events; not owned.
    explicit ZUVModelAccess(ZUVModelAccessClient* client);

    /// Ends the delivery of events. On the delivery thread it returns at once; on any other thread it first waits for a
    /// callback in progress. The client is not called afterwards.
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
