// The built shared object, used as an engine uses it: loaded with dlopen, found with dlsym, unloaded, loaded
// again. This program lends it the recording platform: its own symbols come before those of the platform's
// library.
#include "client/journal.h"
#include "client/recording_platform.h"
#include "support/loaded_library.h"
#include "support/processes.h"

#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <sstream>
#include <thread>

namespace velmora::test {
namespace {

using Lines = std::set<std::string>;

/// The built library.
class Library : public LoadedLibrary {
public:
    Library() : LoadedLibrary(ZUV_MEDIA_PROXY_LIBRARY) {}
};

void mainCallback(std::string id, std::string key, std::string value) {
    journal().add(calledBack("main", id, key, value));
}

Strings startedEvent(const char* url) {
    return {"started", "200", "session", "movie", "", "", url, "", "", "main_video"};
}

TEST(SharedObject, PlaysThroughItsEntryPoint) {
    const Library library;
    ZUVMediaProxyManagerInterface* manager = library.manager();
    manager->setZUVCallback(mainCallback);
    const std::shared_ptr<ZUVMediaProxyInterface> proxy = manager->createNewZUVMediaProxy("movie");
    proxy->start("url", 1);
    bus().deliver(startedEvent("local"));

    EXPECT_EQ(proxy->getState(), ZUVMediaProxyState::Started);
    EXPECT_EQ(proxy->localURL(), "local");
    EXPECT_EQ(journal().count(calledBack("main", "movie", "url", "local")), 1u);
    EXPECT_EQ(journal().linesOf("bus: publish").size(), 1u);
}

TEST(SharedObject, CreatesAnObjectThatTheServiceAnnounces) {
    const Library library;
    std::vector<std::thread> service;
    bus().onEveryCommand("create", [&](const Strings& command) {
        service.emplace_back([session = command[2]] { bus().deliver({"created", "200", session, "movie"}); });
    });

    const std::shared_ptr<ZUVMediaProxyInterface> proxy = library.manager()->createNewZUVMediaProxy();

    for (std::thread& answer : service)
        answer.join();
    EXPECT_EQ(proxy->id(), "movie");
}

TEST(SharedObject, ChecksWhetherTheServiceIsAlive) {
    const Library library;
    std::thread service;
    bus().onCommand("inspect", 1, [&](const Strings& command) {
        service = std::thread([session = command[2]] { bus().deliver({"status", "200", session, ""}); });
    });
    const auto check = library.symbol<bool()>("_ZN7velmora29ZUVMediaProxyManagerInterface20checkZUVServiceAliveEv");

    EXPECT_TRUE(check());

    service.join();
}

TEST(SharedObject, LogsThroughThePlatform) {
    const Library library;

    library.manager();

    EXPECT_EQ(journal().lines().front(), entryLog(4000, "requestZUVMediaProxy", "get proxy manager interface.\n"));
}

TEST(SharedObject, GivesTheSameManagerAfterItWasUnloaded) {
    ZUVMediaProxyManagerInterface* first = Library().manager();

    EXPECT_EQ(Library().manager(), first);
    EXPECT_EQ(journal().count(busLine("connection made")), 1u);
}

TEST(SharedObject, HandlesEventsWhileItIsUnloaded) {
    std::shared_ptr<ZUVMediaProxyInterface> proxy;
    {
        const Library library;
        library.manager()->setZUVCallback(mainCallback);
        proxy = library.manager()->createNewZUVMediaProxy("movie");
        proxy->start("url", 1);
    }

    bus().deliver(startedEvent("local"));

    EXPECT_EQ(proxy->localURL(), "local");
    EXPECT_EQ(journal().count(calledBack("main", "movie", "url", "local")), 1u);
}

TEST(SharedObject, FindsItsObjectsAgainAfterItWasUnloaded) {
    std::shared_ptr<ZUVMediaProxyInterface> first = Library().manager()->createNewZUVMediaProxy("movie");
    const Library again;

    bus().deliver(startedEvent("local"));

    EXPECT_EQ(first->localURL(), "local");
}

TEST(SharedObject, HasNoThreadsOfItsOwn) {
    const std::size_t before = threadCount();
    const Library library;
    ZUVMediaProxyManagerInterface* manager = library.manager();
    const std::shared_ptr<ZUVMediaProxyInterface> proxy = manager->createNewZUVMediaProxy("movie");
    proxy->start("url", 1);
    proxy->seek(1.0, "");
    proxy->preload(1.0, "", "", "");
    proxy->stop();
    proxy->startAd("url", 1);
    proxy->stopAd();

    EXPECT_EQ(threadCount(), before);
}

// What the linker made of it.

std::vector<std::string> outputOf(const std::string& program) {
    std::istringstream output(runInShell(program).output);
    std::vector<std::string> lines;
    for (std::string line; std::getline(output, line);)
        lines.push_back(line);
    return lines;
}

/// The first group of every line that `pattern` is found in.
Lines matches(const std::vector<std::string>& lines, const std::string& pattern) {
    Lines found;
    for (std::smatch match; const std::string& line : lines)
        if (std::regex_search(line, match, std::regex(pattern)))
            found.insert(match[1]);
    return found;
}

std::vector<std::string> dynamicSection() {
    return outputOf(ZUV_READELF " --dynamic --wide '" ZUV_MEDIA_PROXY_LIBRARY "'");
}

TEST(SharedObject, ExportsItsPublicSymbolsAlone) {
    Lines exported =
        matches(outputOf(ZUV_NM " --dynamic --defined-only '" ZUV_MEDIA_PROXY_LIBRARY "'"), "^[0-9a-f]+ . (.*)$");
    // Both classes are abstract and define no virtual operation out of line: whether their own tables are
    // there at all is the optimiser's choice.
    exported.erase("_ZTVN7velmora22ZUVMediaProxyInterfaceE");
    exported.erase("_ZTVN7velmora29ZUVMediaProxyManagerInterfaceE");

    EXPECT_EQ(exported, (Lines{"requestZUVMediaProxy", "_ZN7velmora29ZUVMediaProxyManagerInterface11getInstanceEv",
                               "_ZN7velmora29ZUVMediaProxyManagerInterface20checkZUVServiceAliveEv",
                               "_ZN7velmora22ZUVMediaProxyInterface6createEv",
                               "_ZN7velmora22ZUVMediaProxyInterface13getObjectByIdE"
                               "NSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE",
                               "_ZTIN7velmora22ZUVMediaProxyInterfaceE", "_ZTSN7velmora22ZUVMediaProxyInterfaceE",
                               "_ZTIN7velmora29ZUVMediaProxyManagerInterfaceE",
                               "_ZTSN7velmora29ZUVMediaProxyManagerInterfaceE"}));
}

TEST(SharedObject, NeedsJsonUuidThePlatformAndTheRunTimeAlone) {
    Lines needed = matches(dynamicSection(), R"(\(NEEDED\).*\[(.*)\.so)");
    for (const char* runtime : {"libstdc++", "libgcc_s", "libm", "libc", "ld-linux-x86-64", "ld-linux-armhf", "libasan",
                                "libubsan", "libtsan"})
        needed.erase(runtime);

    EXPECT_EQ(needed, (Lines{"libjsoncpp", "libuuid", "libzuv_desktop"}));
}

TEST(SharedObject, StartsNoThreadsOpensNoFilesReadsNoSettingsAndThrowsNothing) {
    const std::string threads = "pthread_create|_ZNSt6thread.*_M_start_thread.*";
    const std::string files = "f?open(?:64)?|.*basic_(?:filebuf|[io]?fstream).*";
    const std::string others = "(?:secure_)?getenv|signal|sigaction|atexit|__cxa_throw";

    const std::vector<std::string> imported =
        outputOf(ZUV_NM " --dynamic --undefined-only '" ZUV_MEDIA_PROXY_LIBRARY "'");

    ASSERT_FALSE(matches(imported, "^ *U (shm_open)").empty());
    EXPECT_EQ(matches(imported, "^ *U (" + threads + "|" + files + "|" + others + ")(?:@.*)?$"), Lines{});
}

TEST(SharedObject, BearsItsMajorVersionInItsName) {
    EXPECT_EQ(matches(dynamicSection(), R"(\(SONAME\).*\[(.*)\])"),
              Lines{"libzuv_media_proxy.so." + std::to_string(ZUV_MEDIA_PROXY_VERSION_MAJOR)});
}

TEST(SharedObject, IsMarkedToStayLoaded) {
    EXPECT_EQ(matches(dynamicSection(), R"(\(FLAGS_1\).*\b(NODELETE)\b)"), Lines{"NODELETE"});
}

} // namespace
} // namespace velmora::test
