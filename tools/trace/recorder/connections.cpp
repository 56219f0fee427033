// The connections to the bus: what goes out by them, and what they deliver.
#include "trace/recorder/event_region.h"
#include "trace/recorder/recorder.h"
#include "trace/recorder/replaced_function.h"
#include "zuv_model_access.h"

#include <atomic>
#include <new>
#include <string>
#include <vector>

namespace velmora::trace {
namespace {

using Texts = std::vector<std::string>;

// The names of the operations, as the compiler has them.
#define ZUV_OPERATION(name) "_ZN7velmora14ZUVModelAccess" name
#define ZUV_STRING "NSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE"
#define ZUV_CONSTRUCT ZUV_OPERATION("C1EPNS_20ZUVModelAccessClientE")
#define ZUV_CONSTRUCT_BASE ZUV_OPERATION("C2EPNS_20ZUVModelAccessClientE")
#define ZUV_DESTROY_AND_FREE ZUV_OPERATION("D0Ev")
#define ZUV_DESTROY ZUV_OPERATION("D1Ev")
#define ZUV_DESTROY_BASE ZUV_OPERATION("D2Ev")
#define ZUV_INITIALIZE ZUV_OPERATION("10initializeEv")
#define ZUV_START ZUV_OPERATION("5startEv")
#define ZUV_START_SERVICE ZUV_OPERATION("12startServiceEv")
#define ZUV_READ ZUV_OPERATION("4readERK" ZUV_STRING "RSt6vectorIS6_SaIS6_EE")
#define ZUV_PUBLISH ZUV_OPERATION("7publishE" ZUV_STRING "St6vectorIS6_SaIS6_EE")

using Construct = void*(void*, ZUVModelAccessClient*); // constructors and destructors return the object on 32-bit ARM
using Destroy = void*(void*);

constinit Replaced<Construct> construct(ZUV_CONSTRUCT);
constinit Replaced<Construct> constructBase(ZUV_CONSTRUCT_BASE);
constinit Replaced<void(void*)> destroyAndFree(ZUV_DESTROY_AND_FREE);
constinit Replaced<Destroy> destroy(ZUV_DESTROY);
constinit Replaced<Destroy> destroyBase(ZUV_DESTROY_BASE);
constinit Replaced<int(void*)> initialize(ZUV_INITIALIZE);
constinit Replaced<int(void*)> start(ZUV_START);
constinit Replaced<int(void*)> startService(ZUV_START_SERVICE);
constinit Replaced<int(void*, const std::string&, Texts&)> read(ZUV_READ);
// Arguments of these types are passed by the addresses of the caller's copies.
constinit Replaced<int(void*, std::string&, Texts&)> publish(ZUV_PUBLISH);

void writeEvent(const char* kind, int connection) {
    JsonLine line(kind);
    line.number("c", connection);
    recording().write(line);
}

/// The delivery of an event, on whatever way the client's callback is left.
class Delivery {
public:
    Delivery(int connection, const Texts& values) : m_connection(connection) {
        JsonLine line("deliver");
        line.number("c", connection).texts("values", values);
        m_begin = line.time();
        recording().write(line);
    }
    ~Delivery() {
        JsonLine line("delivered");
        line.number("c", m_connection).number("d", since(m_begin));
        recording().write(line);
    }
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;

private:
    int m_connection;
    uint64_t m_begin;
};

/// Stands between a connection and its client. Never destroyed: a client may destroy its connection while this calls
/// it, and there are few connections in a process.
class Connection final : public ZUVModelAccessClient {
public:
    /// Adds a connection, which is about to be constructed at this address. @return null when there is no memory.
    static Connection* add(const void* access, ZUVModelAccessClient* client) {
        auto* const added = new (std::nothrow) Connection(access, client);
        if (added == nullptr)
            return nullptr;
        added->m_next = s_newest.load();
        while (!s_newest.compare_exchange_weak(added->m_next, added)) {
        }
        return added;
    }

    /// The latest connection at this address, or null.
    static Connection* find(const void* access) {
        Connection* connection = s_newest.load();
        while (connection != nullptr && connection->m_access != access)
            connection = connection->m_next;
        return connection;
    }

    /// 0 when the connection is not known.
    static int numberOf(const void* access) {
        const Connection* const connection = find(access);
        return connection == nullptr ? 0 : connection->m_number;
    }

    /// What the connection takes for its client.
    ZUVModelAccessClient* client() { return m_client == nullptr ? nullptr : this; }

    void recordBegin() const { writeEvent("connect", m_number); }

    /// Once, although a destructor may call another.
    void recordEnd() {
        if (!m_isEnding.exchange(true))
            writeEvent("disconnect", m_number);
    }

    void onModelAccessStateChanged() override {
        writeEvent("state", m_number);
        m_client->onModelAccessStateChanged();
    }

    void onZUVEvent(Texts& params) override {
        lookAtRegion("deliver");
        const Delivery delivery(m_number, params);
        m_client->onZUVEvent(params);
    }

private:
    Connection(const void* access, ZUVModelAccessClient* client)
        : m_access(access), m_client(client), m_number(++s_count) {}

    static inline constinit std::atomic<Connection*> s_newest{nullptr};
    static inline constinit std::atomic<int> s_count{0};

    const void* const m_access;
    ZUVModelAccessClient* const m_client;
    const int m_number;
    std::atomic<bool> m_isEnding{false};
    Connection* m_next = nullptr;
};

void* constructAndRecord(Replaced<Construct>& constructor, void* access, ZUVModelAccessClient* client) {
    Connection* const connection = Connection::add(access, client);
    if (connection == nullptr)
        return constructor.original()(access, client);
    void* const result = constructor.original()(access, connection->client());
    connection->recordBegin();
    return result;
}

void recordEnd(const void* access) {
    if (Connection* const connection = Connection::find(access))
        connection->recordEnd();
}

int callAndRecord(const char* kind, Replaced<int(void*)>& operation, void* access) {
    CallLine line(kind);
    line->number("c", Connection::numberOf(access));
    const int result = operation.original()(access);
    line->number("r", result);
    return result;
}

} // namespace

void* constructConnection(void*, ZUVModelAccessClient*) ZUV_REPLACES(ZUV_CONSTRUCT);
void* constructConnection(void* access, ZUVModelAccessClient* client) {
    return constructAndRecord(construct, access, client);
}

void* constructConnectionBase(void*, ZUVModelAccessClient*) ZUV_REPLACES(ZUV_CONSTRUCT_BASE);
void* constructConnectionBase(void* access, ZUVModelAccessClient* client) {
    return constructAndRecord(constructBase, access, client);
}

void destroyAndFreeConnection(void*) ZUV_REPLACES(ZUV_DESTROY_AND_FREE);
void destroyAndFreeConnection(void* access) {
    recordEnd(access);
    destroyAndFree.original()(access);
}

void* destroyConnection(void*) ZUV_REPLACES(ZUV_DESTROY);
void* destroyConnection(void* access) {
    recordEnd(access);
    return destroy.original()(access);
}

void* destroyConnectionBase(void*) ZUV_REPLACES(ZUV_DESTROY_BASE);
void* destroyConnectionBase(void* access) {
    recordEnd(access);
    return destroyBase.original()(access);
}

int initializeConnection(void*) ZUV_REPLACES(ZUV_INITIALIZE);
int initializeConnection(void* access) {
    return callAndRecord("initialize", initialize, access);
}

int startConnection(void*) ZUV_REPLACES(ZUV_START);
int startConnection(void* access) {
    return callAndRecord("start", start, access);
}

int startServiceByConnection(void*) ZUV_REPLACES(ZUV_START_SERVICE);
int startServiceByConnection(void* access) {
    return callAndRecord("startService", startService, access);
}

int readByConnection(void*, const std::string&, Texts&) ZUV_REPLACES(ZUV_READ);
int readByConnection(void* access, const std::string& topic, Texts& values) {
    CallLine line("read");
    line->number("c", Connection::numberOf(access)).text("topic", topic);
    const int result = read.original()(access, topic, values);
    line->texts("values", values).number("r", result);
    return result;
}

int publishByConnection(void*, std::string&, Texts&) ZUV_REPLACES(ZUV_PUBLISH);
int publishByConnection(void* access, std::string& topic, Texts& values) {
    lookAtRegion("publish");
    CallLine line("publish");
    line->number("c", Connection::numberOf(access)).text("topic", topic).texts("values", values);
    const int result = publish.original()(access, topic, values);
    line->number("r", result);
    return result;
}

} // namespace velmora::trace
