// An example player: what a web engine does with the media proxy client, on a timeline.
#include "player.h"
#include "proxy_library.h"
#include "timeline.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace {

/// Makes a path absolute, because the service is another process with its own working directory.
std::string resolveMedium(const std::string& medium) {
    if (medium.rfind("http://", 0) == 0)
        return medium;
    if (medium.find("://") != std::string::npos)
        throw std::runtime_error("not a file and not an http URL: " + medium);
    if (!std::filesystem::is_regular_file(medium))
        throw std::runtime_error("no such media file: " + medium);
    return std::filesystem::canonical(medium).string();
}

} // namespace

int main(int argc, char** argv) {
    std::string medium;
    std::string advertisement;
    std::string nextTitle;
    std::string library = "libzuv_media_proxy.so.1";
    Programme programme;
    programme.seekSeconds = 1.0;

    CLI::App app{"Plays a main video, an advertisement break, a seek and a preloaded next title through the media\n"
                 "proxy client, and proves that the bytes behind the local URLs are the media's. Ends with 0 when\n"
                 "all of it happened, with 1 and a message when not."};
    app.add_option("MEDIUM", medium, "the main video: a media file, or an http URL")->required();
    app.add_option("--ad", advertisement, "the advertisement (default: the main video)")->type_name("FILE");
    app.add_option("--next", nextTitle, "the next title (default: the main video)")->type_name("FILE");
    app.add_option("--seek", programme.seekSeconds, "where to seek to")
        ->type_name("SECONDS")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    app.add_flag("--sync", programme.synchronous, "synchronous mode: every request waits for its answer");
    app.add_option("--library", library, "the media proxy library to load")->capture_default_str();
    CLI11_PARSE(app, argc, argv);

    try {
        programme.mainVideo = resolveMedium(medium);
        programme.advertisement = advertisement.empty() ? programme.mainVideo : resolveMedium(advertisement);
        programme.nextTitle = nextTitle.empty() ? programme.mainVideo : resolveMedium(nextTitle);

        const Timeline timeline;
        timeline.show("player", "loads " + library);
        Player player(loadProxyLibrary(library), timeline, programme.synchronous);
        player.play(programme);
        timeline.show("player", "done");
    } catch (const std::exception& error) {
        std::fprintf(stderr, "zuv-player: %s\n", error.what());
        return 1;
    }
    return 0;
}
