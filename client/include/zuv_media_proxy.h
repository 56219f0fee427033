// The media proxy client: plays video in a separate process, the media service, on behalf of a web engine.
//
// This header is the whole interface for applications. It is valid C++11 and later. An engine that loads the library at
// run time does this:
//
//     void* library = dlopen("libzuv_media_proxy.so.1", RTLD_NOW | RTLD_LOCAL);
//     auto request = reinterpret_cast<velmora::ZUVMediaProxyManagerInterface* (*)()>(
//         dlsym(library, "requestZUVMediaProxy"));
//     velmora::ZUVMediaProxyManagerInterface* manager = request();
//     manager->setZUVCallback(onMainVideoChanged);
//     manager->setZUVAdCallback(onAdvertisementChanged);
//     std::shared_ptr<velmora::ZUVMediaProxyInterface> proxy = manager->createNewZUVMediaProxy();
//     if (!proxy->id().empty())
//         proxy->start("file:///media/film.webm", 1);
//
// THREADS
//   Make the first call of requestZUVMediaProxy() from one thread. After that, the operations of a proxy may be called
//   from any thread, with two restrictions: create proxies from one thread at a time, because not every form of
//   creation locks the list of announced identifiers and the registration of the new proxy; and let one synchronous
//   request (see below) finish before the next one begins, for any proxy, because all of them share one buffer for the
//   service's answer. The library has no threads of its own.
//
// CALLBACKS
//   Callbacks run on the bus connection's delivery thread. In synchronous mode, and in start() and startAd() with
//   option 0, they also run on the application's thread that made the call.
//
//   A callback that reports "url" usually runs while its proxy's lock is held. A CALLBACK MUST NOT CALL ANY OPERATION
//   OF ANY PROXY, not even id() or getState(). The lock is not recursive, so a call of the same proxy never returns. In
//   synchronous mode two callbacks can run at the same time on two threads: if each calls the other's proxy, both wait
//   for ever. A callback must not wait for a thread that makes such calls, and it must not throw. It should not block,
//   because the events after it have to wait.
//
//   The recommended pattern: copy the three strings into a queue, wake up a thread of the application and return. That
//   thread may call everything. ZUVMediaProxyInterface::getObjectById() is safe inside a callback as well.
//
//   Nothing ends the bus connection, so callbacks can still run while the process ends and its static objects are
//   destroyed. Let them use only objects that are never destroyed, such as a queue that is made with new and kept.
//   setZUVCallback(nullptr) before the end does not wait for a callback that is already running.
//
// WHAT A CALLBACK DOES NOT SAY
//   A callback names the proxy, but not the call that it answers. That matters in three sequences:
//
//   Stop, and start another title: start(A), stop() and start(B) before A's answer arrives. A's answer then counts as
//   the answer to start(B): "url" reports A's URL, which the service no longer serves, and the state becomes Started.
//   B's answer finds that state and calls nothing; only localURL() has B's URL. Start the other title on a new proxy,
//   or wait for the callback of the first start before you stop it.
//
//   An advertisement before its film: start() and startAd(), and the advertisement's answer arrives first. It sets the
//   main video's state to Started, so the film's answer calls nothing; only localURL() has the film's URL. Start an
//   advertisement after the film's callback.
//
//   Preload, and start with option 0: "definitions" is called at once, with the text that the proxy received last. That
//   can be the text of an earlier title, or an empty text, which is not JSON. "definitions" is called again when the
//   service reports those of the new title. Ignore an empty text, and use the latest one.
//
// ASYNCHRONOUS AND SYNCHRONOUS MODE
//   The library begins in asynchronous mode: the operations of a proxy publish a command on the bus and return. Answers
//   arrive as events, which change getState() and localURL() and call the callbacks.
//
//   The first call of either createNewZUVMediaProxySync() switches the whole process to synchronous mode, permanently.
//   Every start, stop, seek and preload then waits for the service's answer before it returns, for at most 250 ms (five
//   polls, 50 ms apart) plus the time of the reads in between, and the answer's callbacks run on the calling thread.
//   The same answer usually arrives over the bus too; the advertisement's callback is then called once for each. When
//   no answer arrives in time, no result reports it: the state does not change, and there is a line in the log.
//
// EFFECTS ON THE PROCESS
//   The library creates no threads, signal handlers, environment variables, files or exit handlers. The first call
//   creates the platform's bus connection, which may have a delivery thread, and objects that live until the process
//   ends. Each call of createNewZUVMediaProxySync() maps the service's 4096-byte shared-memory object "/ZUV_PROXY" for
//   reading and never unmaps it. Every proxy stays registered, and therefore alive, until the process ends, even after
//   the application has released it; only a newer proxy for the same given identifier replaces it. dlclose() leaves the
//   library loaded.
//
// ERRORS
//   No operation reports an error by an exception or a result code. A failed creation returns a proxy whose id() is
//   empty, and every failure writes a line to the platform's log. The only exceptions that a call can throw are those
//   of memory allocation, of std::mutex::lock (std::system_error), and of the JSON reader when the service has written
//   an event with a nested object or array into shared memory. All locks are released in that case.
//
// COMPATIBILITY
//   Strings and shared pointers cross this interface: build the application with the same C++ runtime (libstdc++) and
//   the same std::string ABI as the library, which uses the C++11 one (_GLIBCXX_USE_CXX11_ABI=1). The order of virtual
//   operations is frozen; new ones are only ever appended.
#ifndef ZUV_MEDIA_PROXY_H
#define ZUV_MEDIA_PROXY_H

#include <memory>
#include <string>

#define ZUV_MEDIA_PROXY_VERSION_MAJOR 1
#define ZUV_MEDIA_PROXY_VERSION_MINOR 1
#define ZUV_MEDIA_PROXY_VERSION_PATCH 0

#if defined(__GNUC__)
#define ZUV_MEDIA_PROXY_EXPORT __attribute__((visibility("default")))
#else
#define ZUV_MEDIA_PROXY_EXPORT
#endif

namespace velmora {

/// The values of ZUVMediaProxyInterface::getState() and getAdState().
namespace ZUVMediaProxyState {
constexpr int Idle = 0;     ///< no start requested, or stopped by the application
constexpr int Starting = 1; ///< start requested, no successful answer received yet
constexpr int Started = 2;  ///< a successful answer to a start was received
} // namespace ZUVMediaProxyState

/// A function of the application that the library notifies of a change of a proxy. There is one for the main video and
/// one for the advertisement.
///
/// Arguments: the identifier of the proxy, what changed, and the new value. What changed is
/// - "url": the medium has started; the value is the local URL from which it can be fetched;
/// - "definitions" (main video only): the available qualities changed; the value is the service's own text.
///
/// Runs on the bus connection's delivery thread or on a thread of the application, and may run with the proxy's lock
/// held. The section CALLBACKS at the top of this file says what it must not do.
using ZUVCallback = void (*)(std::string id, std::string changed, std::string value);

/// One remote media object: a main video, and an advertisement that is played in its breaks.
///
/// Every operation takes the proxy's own lock briefly, so it waits while a callback that holds the lock runs on another
/// thread. An operation that sends a command returns at once in asynchronous mode; in synchronous mode it waits for the
/// answer, for at most 250 ms plus the time of the reads. No operation reports whether its command succeeded: success
/// shows as the callback and the change of state described below, failure only as a line in the log. Arguments are
/// passed on unchecked.
class ZUV_MEDIA_PROXY_EXPORT ZUVMediaProxyInterface {
public:
    /// Equivalent to ZUVMediaProxyManagerInterface::createNewZUVMediaProxy(), for callers without the manager
    /// interface.
    static std::shared_ptr<ZUVMediaProxyInterface> create();

    /// Returns the registered proxy with this identifier, or an empty pointer. Takes the library's lock briefly; a
    /// creation in progress on another thread holds that lock while it sends, but not while it waits. Safe inside a
    /// callback.
    static std::shared_ptr<ZUVMediaProxyInterface> getObjectById(std::string id);

    virtual ~ZUVMediaProxyInterface() = default;

    /// The identifier that the service gave the remote object, or that the application passed on creation. It never
    /// changes. It is empty if the creation failed.
    virtual std::string id() = 0;

    /// The main video's local URL as last reported by the service. Empty before the first report, and after stop() and
    /// preload().
    virtual std::string localURL() = 0;

    /// The main video's state, a value of ZUVMediaProxyState. A successful start of the advertisement also sets it to
    /// Started.
    virtual int getState() = 0;

    /// Starts the main video. The state is Starting when the call returns or a callback runs, and Started after that.
    /// Success: callback "url", followed later by "definitions". Failure: the state stays Starting until stop(). The
    /// section WHAT A CALLBACK DOES NOT SAY at the top of this file has the exceptions.
    ///
    /// @param url what the service is to play; ignored with option 0.
    /// @param option 0 takes over what preload() had the service start; no command is sent. If the preload's answer has
    ///     already arrived, "url" and then "definitions" are called on this thread before the call returns, and the
    ///     state stays Starting. If not, the service's current event is read first, which takes as long as a read of
    ///     the platform's bus. Other values are passed on to the service, which defines their meaning.
    virtual void start(std::string url, int option) = 0;

    /// Stops the main video. The state is Idle and the local URL empty immediately, whatever the service answers.
    virtual void stop() = 0;

    /// Not supported by the service: sends nothing, changes nothing, and writes "NotImplemented" to the log and to
    /// standard output.
    virtual void pause() = 0;

    /// Seeks the main video; does nothing while its state is Idle. Success shows in the log only. The advertisement
    /// cannot be sought.
    ///
    /// @param position the new position in seconds from the beginning.
    /// @param text passed on to the service.
    virtual void seek(double position, std::string text) = 0;

    /// Has the service open and start the next main video in advance. Publishes a neutral event first, empties
    /// localURL(), and leaves the state unchanged. Success: localURL() is set again and, because no start was
    /// requested, the state becomes Started without a callback; start() with option 0 then makes the callbacks.
    ///
    /// @param position where to begin, in seconds.
    /// @param text1 the URL to preload.
    /// @param text2 passed on to the service.
    /// @param text3 passed on to the service.
    virtual void preload(double position, std::string text1, std::string text2, std::string text3) = 0;

    /// The advertisement's local URL. Empty before the service has reported one, and after stopAd() and preloadAd().
    virtual std::string localAdURL() = 0;

    /// The advertisement's state: Idle, or Starting from startAd() until stopAd(). It never becomes Started: a
    /// successful start of the advertisement sets the main video's state to Started instead.
    virtual int getAdState() = 0;

    /// Starts the advertisement: as start(), with the advertisement's state, URL and callback. Success: callback "url".
    /// Advertisements have no definitions.
    virtual void startAd(std::string url, int option) = 0;

    /// Stops the advertisement. Its state is Idle and its local URL empty immediately.
    virtual void stopAd() = 0;

    /// Preloads an advertisement, from its beginning: as preload(), for the advertisement.
    ///
    /// @param text1 the URL to preload.
    /// @param text3 passed on to the service.
    virtual void preloadAd(std::string text1, std::string text3) = 0;
};

/// Creates proxies and takes the application's callbacks. There is one instance for the process, which lives until the
/// process ends and cannot be deleted.
class ZUV_MEDIA_PROXY_EXPORT ZUVMediaProxyManagerInterface {
public:
    /// The one instance; the first call connects to the bus. See requestZUVMediaProxy().
    static ZUVMediaProxyManagerInterface* getInstance();

    /// Asks the service for a sign of life, and waits for it. Restarts nothing.
    ///
    /// Blocks for at most 200 ms. In synchronous mode it first waits up to 250 ms for its own answer in shared memory,
    /// which makes at most 450 ms plus the time of the reads. The platform's time for publishing comes on top; in
    /// asynchronous mode the library's lock is held for that time, and creations, getObjectById() and events wait.
    ///
    /// Call it on a thread of the application, never inside a callback: there it holds up the very event that it waits
    /// for. In synchronous mode it is a synchronous request, of which only one may run at a time, and publishes a
    /// neutral event first, as preload() does. If it is the first call of the library, it connects to the bus: see
    /// requestZUVMediaProxy(). A program that loads the library with dlopen() looks it up as
    /// "_ZN7velmora29ZUVMediaProxyManagerInterface20checkZUVServiceAliveEv".
    ///
    /// @return true if its own answer was found in shared memory, or if any "status" or successful "created" event
    ///     arrived during the 200 ms. The library does not check which request such an event answers: it may belong to
    ///     another request or to another application, and in rare cases the wait ends without any event. False means
    ///     that there was none in time: the service is not running, hangs, or is too busy.
    static bool checkZUVServiceAlive();

    /// Creates a remote media object and its proxy.
    ///
    /// Blocks until the service announces the object: a few milliseconds when the service is running. Without an answer
    /// it sends a new command every 200 ms, restarts the service once after 0.2 s, waits up to 500 ms for it, and gives
    /// up when 2.0 s have passed since the restart. In all that is 2.3 s when no event arrives, and at most 2.6 s when
    /// unrelated events wake it. In synchronous mode each command also waits up to 250 ms for its own answer, which
    /// makes 2.55 s and at most 3.1 s. The longest case: the first command is refused after 0.2 s, the wait after it
    /// lasts 0.2 s, and the next command is not answered, so the restart comes after 0.65 s; a command ends exactly
    /// 2.0 s after that; and another 0.2 s of waiting and 0.25 s for the last command follow. The platform's time for
    /// publishing and for the start request comes on top.
    ///
    /// In asynchronous mode it gives up right after it has sent one more command, usually 2.1 s after the restart. If
    /// the service creates an object for that command, the answer is left to the next creation, which may return it.
    ///
    /// @return the proxy, registered under its identifier; on failure a proxy whose id() is empty. The pointer itself
    ///     is empty only if the library could not be set up.
    virtual std::shared_ptr<ZUVMediaProxyInterface> createNewZUVMediaProxy() = 0;

    /// Makes a proxy for a remote object that already exists. Sends nothing and does not wait. A proxy that was
    /// registered under the same identifier is replaced and receives no more events.
    ///
    /// @param id the remote object's identifier; not checked.
    virtual std::shared_ptr<ZUVMediaProxyInterface> createNewZUVMediaProxy(std::string id) = 0;

    /// As createNewZUVMediaProxy(), and switches the process to synchronous mode permanently.
    ///
    /// Blocks for two requests, because it sends its command twice; a running service answers each within 50 ms. The
    /// worst case is about 3.55 s: twice 1 s while the service's shared memory is missing, 0.8 s after a restart
    /// because of a missing answer, and three requests of 250 ms. The platform's time comes on top.
    virtual std::shared_ptr<ZUVMediaProxyInterface> createNewZUVMediaProxySync() = 0;

    /// As createNewZUVMediaProxy(std::string), and switches the process to synchronous mode permanently. Maps the
    /// service's shared memory if it exists; if not, later requests find no answer until a creation maps it.
    virtual std::shared_ptr<ZUVMediaProxyInterface> createNewZUVMediaProxySync(std::string id) = 0;

    /// Sets the function that is notified of changes of every proxy's main video; null for none. Register it before the
    /// first creation. A call that is already running on another thread may still use the previous function.
    virtual void setZUVCallback(ZUVCallback callback) = 0;

    /// Sets the function that is notified of changes of every proxy's advertisement; otherwise as setZUVCallback().
    virtual void setZUVAdCallback(ZUVCallback callback) = 0;

protected:
    ~ZUVMediaProxyManagerInterface() = default;
};

} // namespace velmora

/// The entry point, to be looked up by this name with dlsym(). The first call sets the library up and connects to the
/// bus, which takes as long as the platform needs; it must not run on two threads at once. Later calls return the same
/// pointer immediately, also after dlclose() and another dlopen().
///
/// @return the manager interface, never null. Exceptions of memory allocation during the set-up pass to the caller; the
///     next call then tries again.
extern "C" ZUV_MEDIA_PROXY_EXPORT velmora::ZUVMediaProxyManagerInterface* requestZUVMediaProxy();

#endif // ZUV_MEDIA_PROXY_H
