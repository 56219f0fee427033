// Media proxy client: plays video that a separate media service process really plays.
//
// This header is all that an application sees. It is valid C++11 and later. An engine that loads the library
// at run time does this:
//
//     void* library = dlopen("libzuv_media_proxy.so.1", RTLD_NOW | RTLD_LOCAL);
//     auto request = reinterpret_cast<velmora::ZUVMediaProxyManagerInterface* (*)()>(
//         dlsym(library, "requestZUVMediaProxy"));
//     velmora::ZUVMediaProxyManagerInterface* manager = request();
//     manager->setZUVCallback(onMainVideoNews);
//     manager->setZUVAdCallback(onAdvertisementNews);
//     std::shared_ptr<velmora::ZUVMediaProxyInterface> proxy = manager->createNewZUVMediaProxy();
//     if (!proxy->id().empty())
//         proxy->start("file:///media/film.webm", 1);
//
// THREADS AND CALLBACKS
//   Call requestZUVMediaProxy() for the first time from one thread. Afterwards the operations of a proxy may
//   be called from any thread. Create proxies from one thread at a time, and let one synchronous request (see
//   below) end before the next begins, whichever proxies they concern: they share one buffer for the
//   service's answer, and the list of announced identifiers and the registration of a new proxy are not
//   locked in every form of creation. The library has no threads of its own. Callbacks run on the bus
//   connection's delivery thread; in synchronous mode and in start() and startAd() with option 0 also on the
//   thread of the application that made the call. A callback that brings an "url" runs while the proxy's own
//   lock is held. IT MUST NOT CALL ANY OPERATION OF THE SAME PROXY, not even id() or getState(): the lock is
//   not recursive and the call would hang for ever. It must not wait for a thread that makes such a call, it
//   must not throw, and it should not block: the events behind it wait. The right way out: copy the three
//   strings into a queue, wake a thread of the application's own, return. That thread may then call
//   everything. ZUVMediaProxyInterface::getObjectById() is safe inside a callback as well.
//
// ASYNCHRONOUS AND SYNCHRONOUS MODE
//   The library begins in asynchronous mode: operations of a proxy publish a command on the bus and return;
//   answers arrive as events, seen as changes of getState() and localURL() and as callbacks. The first call
//   of either createNewZUVMediaProxySync() switches the whole process to synchronous mode, for good: every
//   start, stop, seek and preload then waits for the service's answer before it returns, for at most 250 ms
//   (five polls, 50 ms apart) plus the time of the reads between them, and the answer's callbacks run on the
//   calling thread. The same answer usually also arrives over the bus: the advertisement's callback is then
//   called once for each. A request that gets no answer in time shows as a missing change of state and a line
//   in the log, not as a result.
//
// WHAT THE LIBRARY DOES TO THE PROCESS
//   No threads, signal handlers, environment variables, files or exit handlers of its own; the platform's bus
//   connection, made by the first call, may have a delivery thread. The first call creates objects that live
//   until the process ends. Each call of createNewZUVMediaProxySync() maps the service's 4096-byte
//   shared-memory object "/ZUV_PROXY" for reading and never unmaps it. Every proxy stays registered, and so
//   alive, for the life of the process, also when the application has let go of it; a proxy for a given
//   identifier is replaced only by a newer one for the same identifier. dlclose() leaves the library loaded.
//
// FAILURES
//   Nothing here reports an error by exception or result code. A creation that failed gives a proxy whose
//   id() is empty, and every failure writes a line to the platform's log. The only exceptions that can leave
//   a call are those of memory allocation, of std::mutex::lock (std::system_error), and of the JSON reader
//   when the service leaves an event with a nested object or array in shared memory; all locks are free
//   afterwards.
//
// COMPATIBILITY
//   Strings and shared pointers cross this interface: build the application with the same C++ runtime
//   (libstdc++) and the same std::string ABI as the library, which is built with the C++11 one
//   (_GLIBCXX_USE_CXX11_ABI=1). The order of virtual operations is frozen; new ones are only ever appended.
#ifndef ZUV_MEDIA_PROXY_H
#define ZUV_MEDIA_PROXY_H

#include <memory>
#include <string>

#define ZUV_MEDIA_PROXY_VERSION_MAJOR 1
#define ZUV_MEDIA_PROXY_VERSION_MINOR 0
#define ZUV_MEDIA_PROXY_VERSION_PATCH 0

#if defined(__GNUC__)
#define ZUV_MEDIA_PROXY_EXPORT __attribute__((visibility("default")))
#else
#define ZUV_MEDIA_PROXY_EXPORT
#endif

namespace velmora {

/// The values of ZUVMediaProxyInterface::getState() and getAdState().
namespace ZUVMediaProxyState {
constexpr int Idle = 0;     ///< nothing requested, or stopped by the application
constexpr int Starting = 1; ///< start requested; no successful answer handled since
constexpr int Started = 2;  ///< a successful answer to a start was handled
} // namespace ZUVMediaProxyState

/// News from the service, one function for the main video and one for the advertisement.
///
/// Arguments: the identifier of the proxy concerned, what changed, and the new value. What changed is
/// - "url": the medium has started; the value is the local URL from which it can be fetched;
/// - "definitions" (main video only): the available qualities changed; the value is the service's own text.
///
/// Runs on the bus delivery thread or on a thread of the application, with the proxy's lock held: what it
/// must not do stands at the top of this file.
using ZUVCallback = void (*)(std::string id, std::string changed, std::string value);

/// One remote media object: a main video, and an advertisement that is played in its breaks.
///
/// Every operation takes the proxy's own lock for a moment. An operation therefore waits while a callback for
/// the same proxy runs on another thread. Operations that send a command return at once in asynchronous mode
/// and wait for the answer, for at most 250 ms and the reads, in synchronous mode. None of them reports
/// whether the command succeeded: success shows as the callback and change of state named below, failure as a
/// line in the log and nothing else. Arguments are passed on unchecked.
class ZUV_MEDIA_PROXY_EXPORT ZUVMediaProxyInterface {
public:
    /// The same as ZUVMediaProxyManagerInterface::createNewZUVMediaProxy(), without the manager interface at
    /// hand.
    static std::shared_ptr<ZUVMediaProxyInterface> create();

    /// The registered proxy with this identifier, or an empty pointer. Takes the library's lock for a moment;
    /// a creation under way on another thread holds it while it sends, not while it waits. Safe inside a
    /// callback.
    static std::shared_ptr<ZUVMediaProxyInterface> getObjectById(std::string id);

    virtual ~ZUVMediaProxyInterface() = default;

    /// The identifier that the service gave the remote object, or that the application passed on creation. It
    /// never changes. Empty: the creation got no answer.
    virtual std::string id() = 0;

    /// The main video's local URL as the service last reported it; empty before that and after stop() and
    /// preload().
    virtual std::string localURL() = 0;

    /// The main video's state, one of ZUVMediaProxyState. The successful start of an advertisement makes it
    /// Started as well.
    virtual int getState() = 0;

    /// Starts the main video. The state is Starting when the call returns or a callback runs, and Started
    /// afterwards; success: callback "url", then later "definitions". Failure: the state stays Starting until
    /// stop().
    /// @param url what the service is to play; ignored with option 0.
    /// @param option 0 attaches to what preload() had the service start: no command is sent. If the preload's
    /// answer
    ///        is here already, "url" and then "definitions" are called on this thread before the call
    ///        returns, and the state stays Starting; if not, the service's current event is read first, which
    ///        takes as long as a read of the platform's bus. Other values are passed on to the service, which
    ///        knows what they mean.
    virtual void start(std::string url, int option) = 0;

    /// Stops the main video. The state is Idle and the local URL empty at once, whatever the service answers.
    virtual void stop() = 0;

    /// Not offered by the service: sends nothing, changes nothing, writes "NotImplemented" to the log and to
    /// the standard output.
    virtual void pause() = 0;

    /// Seeks the main video; does nothing while its state is Idle. Success shows in the log only. There is no
    /// seek for the advertisement.
    /// @param position the new position in seconds from the beginning.
    /// @param text passed on to the service.
    virtual void seek(double position, std::string text) = 0;

    /// Has the service open and start the next main video ahead of its time. Publishes a neutral event first,
    /// empties localURL(), and leaves the state alone. Success: localURL() is set again and, as no start was
    /// asked for, the state becomes Started without a callback; start() with option 0 then delivers it.
    /// @param position where to begin, in seconds.
    /// @param text1 the URL to preload.
    /// @param text2 passed on to the service.
    /// @param text3 passed on to the service.
    virtual void preload(double position, std::string text1, std::string text2, std::string text3) = 0;

    /// The advertisement's local URL; empty before the service reported one and after stopAd() and
    /// preloadAd().
    virtual std::string localAdURL() = 0;

    /// The advertisement's state: Idle, or Starting from startAd() until stopAd(). It never becomes Started:
    /// a successful start of the advertisement makes the main state Started instead.
    virtual int getAdState() = 0;

    /// Starts the advertisement; as start(), with the advertisement's state, URL and callback. Success:
    /// callback "url"; there are no definitions for advertisements.
    virtual void startAd(std::string url, int option) = 0;

    /// Stops the advertisement. Its state is Idle and its local URL empty at once.
    virtual void stopAd() = 0;

    /// Preloads an advertisement, from its beginning; as preload().
    /// @param text1 the URL to preload.
    /// @param text3 passed on to the service.
    virtual void preloadAd(std::string text1, std::string text3) = 0;
};

/// The library's front door, one for the process; it lives until the process ends and cannot be deleted.
class ZUV_MEDIA_PROXY_EXPORT ZUVMediaProxyManagerInterface {
public:
    /// The one instance; the first call connects to the bus. See requestZUVMediaProxy().
    static ZUVMediaProxyManagerInterface* getInstance();

    /// Creates a remote media object and its proxy.
    ///
    /// Blocks until the service announces the object: a few milliseconds with a living service. Without an
    /// answer it sends a new command every 200 ms, restarts the service once, after 0.2 s, waits up to 500 ms
    /// for it, and gives up when 2.0 s have passed since the restart: 2.3 s after the call when nothing
    /// arrives at all, 2.6 s when other events keep waking it. In synchronous mode each command also waits
    /// for its own answer: 2.55 s and 2.9 s. The platform's time for publishing and for the start request
    /// comes on top.
    ///
    /// @return the proxy, registered under its identifier and never empty. Failure: a proxy whose id() is
    /// empty. (An
    ///         empty pointer only if the library could not set itself up.)
    virtual std::shared_ptr<ZUVMediaProxyInterface> createNewZUVMediaProxy() = 0;

    /// Makes a proxy for a remote object that exists already. Sends nothing and does not wait. A proxy
    /// registered under the same identifier before is replaced and gets no more events.
    /// @param id the remote object's identifier; not checked.
    virtual std::shared_ptr<ZUVMediaProxyInterface> createNewZUVMediaProxy(std::string id) = 0;

    /// As createNewZUVMediaProxy(), and switches the process to synchronous mode for good.
    ///
    /// Blocks for two requests, answered within 50 ms each by a living service, for it sends its command
    /// twice. At worst about 3.55 s: 1 s and 1 s again while the service's shared memory is missing, 0.8 s
    /// after a restart for a missing answer, and three requests of 250 ms; the platform's time comes on top.
    virtual std::shared_ptr<ZUVMediaProxyInterface> createNewZUVMediaProxySync() = 0;

    /// As createNewZUVMediaProxy(std::string), and switches the process to synchronous mode for good. Maps
    /// the service's shared memory if it is there; if not, later requests find no answer until a creation
    /// maps it.
    virtual std::shared_ptr<ZUVMediaProxyInterface> createNewZUVMediaProxySync(std::string id) = 0;

    /// Sets the function that receives the main videos' news, of all proxies; null for none. Register it
    /// before the first creation. A call under way on another thread may still use the function set before.
    virtual void setZUVCallback(ZUVCallback callback) = 0;

    /// Sets the function that receives the advertisements' news; as setZUVCallback().
    virtual void setZUVAdCallback(ZUVCallback callback) = 0;

protected:
    ~ZUVMediaProxyManagerInterface() = default;
};

} // namespace velmora

/// The entry point, to be found with dlsym() by this name. The first call sets the library up and connects to
/// the bus, which takes as long as the platform takes; it must not run on two threads at once. Later calls
/// return the same pointer at once, also after dlclose() and a new dlopen().
/// @return the manager interface, never null. Exceptions of memory allocation during the set-up pass to the
/// caller,
///         and the next call tries again.
extern "C" ZUV_MEDIA_PROXY_EXPORT velmora::ZUVMediaProxyManagerInterface* requestZUVMediaProxy();

#endif // ZUV_MEDIA_PROXY_H
