// An example player: what a web engine does with the media proxy client, on a timeline.
#include "medium.h"
#include "player.h"
#include "proxy_library.h"
#include "spelling.h"
#include "timeline.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

namespace {

constexpr int kUsageError = 2;

struct Arguments {
    std::string medium;
    std::string advertisement; ///< empty: the medium; likewise the next title
    std::string nextTitle;
    std::string viewer;
    std::string library = "libzuv_media_proxy.so.1";
    double seekSeconds = 1.0;
    bool synchronous = false;
};

/// What is wrong with a number of seconds; empty if it is right.
std::string complaintAboutSeconds(const std::string& text) {
    char* end = nullptr;
    const double seconds = std::strtod(text.c_str(), &end);
    const bool right = !text.empty() && *end == '\0' && std::isfinite(seconds) && seconds >= 0;
    return right ? "" : "not a number of seconds from 0: " + text;
}

void addOptions(CLI::App& app, Arguments& arguments) {
    // What is left over is examined after the parse: CLI11 would complain of a missing MEDIUM first.
    app.allow_extras();
    app.set_version_flag("--version", ZUV_VERSION, "Print the version and exit");
    app.add_option("MEDIUM", arguments.medium, "The main video: a file, or a file:, http: or https: URL");
    app.add_option("--ad", arguments.advertisement, "The advertisement (default: the main video)")->type_name("MEDIUM");
    app.add_option("--next", arguments.nextTitle, "The next title (default: the main video)")->type_name("MEDIUM");
    app.add_option("--seek", arguments.seekSeconds, "Where to seek to")
        ->type_name("SECONDS")
        ->check(CLI::Validator(complaintAboutSeconds, ""))
        ->capture_default_str();
    app.add_flag("--sync", arguments.synchronous, "Synchronous mode: every request waits for its answer");
    app.add_option("--viewer", arguments.viewer,
                   "Have a command show the main video: it runs with the local URL as its last argument, and the "
                   "programme goes on when it ends")
        ->type_name("COMMAND");
    app.add_option("--library", arguments.library, "The media proxy library to load")
        ->type_name("FILE")
        ->capture_default_str();
    app.footer("Exits with 0 when all of it happened, with 1 when not, with 2 when the command line is wrong; the\n"
               "last line on stderr then has the reason.");
}

/// @throws UsageError if something is left over or missing.
void checkArguments(const CLI::App& app, const Arguments& arguments) {
    std::vector<std::string> options;
    for (const CLI::Option* option : app.get_options()) {
        if (option->nonpositional())
            options.push_back(option->get_name());
    }
    for (const std::string& word : app.remaining()) {
        if (word.rfind('-', 0) == 0)
            throw UsageError("no such option: " + word + suggestion(word, options));
        throw UsageError("one medium too many: " + word);
    }
    if (arguments.medium.empty())
        throw UsageError("no medium given: zuv-player MEDIUM");
}

Programme programmeOf(const Arguments& arguments) {
    Programme programme;
    programme.mainVideo = resolveMedium(arguments.medium);
    programme.advertisement =
        arguments.advertisement.empty() ? programme.mainVideo : resolveMedium(arguments.advertisement);
    programme.nextTitle = arguments.nextTitle.empty() ? programme.mainVideo : resolveMedium(arguments.nextTitle);
    programme.viewer = arguments.viewer;
    programme.seekSeconds = arguments.seekSeconds;
    return programme;
}

void play(const Arguments& arguments) {
    const Programme programme = programmeOf(arguments);
    const Timeline timeline;
    timeline.note(Timeline::Clock::now(), "player", "loads " + arguments.library);
    Player player(loadProxyLibrary(arguments.library), timeline, arguments.synchronous);
    player.play(programme);
    timeline.show("done");
}

int complain(const char* reason, int status) {
    std::fprintf(stderr, "zuv-player: %s\n", reason);
    return status;
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Plays a main video, an advertisement break, a seek and a preloaded next title through the media\n"
                 "proxy client, and checks that the bytes behind the local URLs are the media's.");
    Arguments arguments;
    addOptions(app, arguments);
    try {
        app.parse(argc, argv);
        checkArguments(app, arguments);
        play(arguments);
        return EXIT_SUCCESS;
    } catch (const CLI::Success& request) { // --help, --version
        return app.exit(request);
    } catch (const CLI::ParseError& error) {
        return complain(error.what(), kUsageError);
    } catch (const UsageError& error) {
        return complain(error.what(), kUsageError);
    } catch (const std::exception& error) {
        return complain(error.what(), EXIT_FAILURE);
    }
}
